#include "tools/rows.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>

#include <nlohmann/json.hpp>

#include "tools/input.h"
#include "tools/terminal.h"

namespace vu::tool {
namespace {

/// Longer names exist nowhere and would only fill the memory of those that count them.
constexpr std::size_t kLongestCounted = 253;

constexpr std::size_t kLongestAddress = 15;

/// A classified URL, as every form of row shows it.
struct Row {
  vu_status status;
  std::string_view domain;   ///< Empty: none.
  std::string_view address;  ///< In dotted form; empty: none.
  std::string_view url;
};

std::size_t placeOf(vu_status status) {
  return static_cast<std::size_t>(
      std::find(countedStatuses.begin(), countedStatuses.end(), status) - countedStatuses.begin());
}

std::string numberOf(vu_status status) { return val2str(static_cast<unsigned int>(status)); }

/// Writes an address in dotted form and returns where it ends, `kLongestAddress` behind at the
/// most.
char* putDotted(char* at, std::uint32_t address) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    at = std::to_chars(at, at + 3, address >> shift & 255U).ptr;
    if (shift > 0) *at++ = '.';
  }
  return at;
}

/// Writes a field between tabs, twice as long as `text` at the most, and returns where it ends.
char* putTabSafe(char* at, std::string_view text) {
  for (const char c : text) {
    char letter = c;
    switch (c) {
      case '\t':
        letter = 't';
        break;
      case '\n':
        letter = 'n';
        break;
      case '\r':
        letter = 'r';
        break;
      case '\\':
        break;
      default:
        *at++ = c;
        continue;
    }
    *at++ = '\\';
    *at++ = letter;
  }
  return at;
}

/// Tells of each line of a block whether a field between tabs can have it as it is. Bytes that it
/// cannot have are rare: each kind is looked for far ahead of the lines, at memchr's speed.
class EscapeFinder {
 public:
  explicit EscapeFinder(std::string_view block) : end_(block.data() + block.size()) {
    next_.fill(block.data());
    if (!block.empty()) findFrom(block.data());
  }

  /// Lines, less their line ends, are asked for in their order.
  bool isClean(std::string_view line) {
    const char* const lineEnd = line.data() + line.size();
    if (first_ >= lineEnd) return true;
    findFrom(line.data());
    return first_ >= lineEnd;
  }

 private:
  static constexpr std::array<char, 3> kinds = {'\t', '\r', '\\'};

  void findFrom(const char* start) {
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      if (next_[i] > start) continue;
      const void* const found =
          std::memchr(start, kinds[i], static_cast<std::size_t>(end_ - start));
      next_[i] = found != nullptr ? static_cast<const char*>(found) : end_;
    }
    first_ = *std::min_element(next_.begin(), next_.end());
  }

  const char* end_;
  std::array<const char*, kinds.size()> next_{};  ///< Where the next byte of each kind stands.
  const char* first_ = end_;                      ///< The first of them.
};

/// The columns behind the front: domain, address and URL.
void appendTabSeparated(Buffer& out, std::string_view front, const Row& row, bool isClean) {
  const std::uint64_t fields = std::uint64_t{row.domain.size()} + row.url.size();
  char* at = out.room(front.size() + (isClean ? fields : 2 * fields) + row.address.size() + 2);
  const auto putField = [isClean](char* to, std::string_view text) {
    return isClean ? put(to, text) : putTabSafe(to, text);
  };
  at = putField(put(at, front), row.domain);
  *at++ = '\t';
  at = put(at, row.address);
  *at++ = '\t';
  out.setEnd(putField(at, row.url));
}

void appendQuoted(Buffer& out, std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    out += text;
    return;
  }
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

void appendCommaSeparated(Buffer& out, const Row& row) {
  out += numberOf(row.status);
  out += ',';
  out += statusText(row.status);
  out += ',';
  appendQuoted(out, row.domain);
  out += ',';
  out += row.address;
  out += ',';
  appendQuoted(out, row.url);
}

void appendJson(Buffer& out, const Row& row) {
  using Json = nlohmann::ordered_json;
  const auto textOrNull = [](std::string_view text) { return text.empty() ? Json() : Json(text); };
  const Json object = {{"status", static_cast<std::uint32_t>(row.status)},
                       {"text", statusText(row.status)},
                       {"domain", textOrNull(row.domain)},
                       {"address", textOrNull(row.address)},
                       {"url", row.url}};
  // A URL is bytes and JSON is Unicode: what is not UTF-8 is replaced.
  out += object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void appendStatus(Buffer& out, std::string_view status, std::string_view text) {
  appendColumn(out, status, 6);
  appendColumn(out, text, 27);
}

void appendDomain(Buffer& out, std::string_view domain, std::string_view address) {
  appendColumn(out, domain, 28);
  appendColumn(out, address, 15);
}

void appendAligned(Buffer& out, const Row& row, bool colours) {
  if (colours) out += row.status == VU_SUCCESS ? colour::green : colour::red;
  appendStatus(out, numberOf(row.status), statusText(row.status));
  if (colours) out += colour::none;
  appendDomain(out, row.domain.empty() ? "-" : visible(row.domain),
               row.address.empty() ? "-" : row.address);
  appendVisible(out, row.url);
}

}  // namespace

const char* statusText(vu_status status) {
  static const auto texts = [] {
    std::array<const char*, countedStatuses.size()> all{};
    for (std::size_t i = 0; i < all.size(); ++i) {
      all[i] = findStringByValue(countedStatuses[i], statusTable, VU_WEB_UNKNOWN_ERROR + 1);
    }
    return all;
  }();
  return texts[placeOf(status)];
}

template <class Text>
void appendColumn(Text& out, std::string_view cell, std::size_t width) {
  out += cell;
  out.append(cell.size() < width ? width - cell.size() : 0, ' ');
  out += "  ";
}
template void appendColumn(std::string&, std::string_view, std::size_t);
template void appendColumn(Buffer&, std::string_view, std::size_t);

void appendTabSafe(std::string& out, std::string_view text) {
  const std::size_t had = out.size();
  if (text.size() > (out.max_size() - had) / 2) throw std::bad_alloc();
  out.resize(had + 2 * text.size());
  out.resize(static_cast<std::size_t>(putTabSafe(out.data() + had, text) - out.data()));
}

template <class Text>
void appendVisible(Text& out, std::string_view text) {
  static constexpr char digits[] = "0123456789abcdef";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\') {
      out += "\\\\";
    } else if (byte >= 0x20 && byte < 0x7F) {
      out += c;
    } else {
      out += "\\x";
      out += digits[byte >> 4];
      out += digits[byte & 15];
    }
  }
}
template void appendVisible(std::string&, std::string_view);
template void appendVisible(Buffer&, std::string_view);

std::string visible(std::string_view text) {
  std::string shown;
  appendVisible(shown, text);
  return shown;
}

RowWriter::RowWriter(const vu_cctld& table, Choices choices) : table_(table), choices_(choices) {
  for (std::size_t i = 0; i < fronts_.size(); ++i) {
    fronts_[i] = numberOf(countedStatuses[i]) + '\t' + statusText(countedStatuses[i]) + '\t';
  }
}

std::string RowWriter::titles(bool colours) {
  Buffer line;
  if (colours) line += colour::bold;
  appendStatus(line, "STATUS", "TEXT");
  appendDomain(line, "DOMAIN", "ADDRESS");
  line += "URL";
  if (colours) line += colour::none;
  line += '\n';
  return std::string(line.text());
}

void RowWriter::write(std::string_view url, Buffer& out, Tally& tally) const {
  write(table_.classify(url, choices_.match), url, mayNeedEscapes, out, tally);
}

void RowWriter::write(const vu_domain& found, std::string_view url, Escapes escapes, Buffer& out,
                      Tally& tally) const {
  const std::size_t place = placeOf(found.status);
  ++tally.urls;
  ++tally.byStatus[place];

  std::string completed;
  std::array<char, kLongestAddress> address;
  Row row{found.status, found.domain, {}, url};
  if (found.status == VU_SUCCESS && found.domain.data() == nullptr) {
    completed.append(found.host).append(".").append(table_.defaultDomain());
    row.domain = completed;
  }
  if (found.isAddress()) {
    const char* const end = putDotted(address.data(), found.ipAddress());
    row.address = {address.data(), static_cast<std::size_t>(end - address.data())};
  }
  if (choices_.countDomains && !row.domain.empty() && row.domain.size() <= kLongestCounted) {
    ++tally.domains[std::string(row.domain)];
  }
  if (choices_.onlyFailed && found.status == VU_SUCCESS) return;

  switch (choices_.format) {
    case RowFormat::table:
      appendAligned(out, row, choices_.colours);
      break;
    case RowFormat::tsv:
      appendTabSeparated(out, fronts_[place], row, escapes == noEscapes);
      break;
    case RowFormat::csv:
      appendCommaSeparated(out, row);
      break;
    case RowFormat::jsonl:
      appendJson(out, row);
      break;
  }
  out += '\n';
}

void RowWriter::writeLines(std::string_view block, Buffer& out, Tally& tally) const {
  EscapeFinder finder(block);
  while (!block.empty()) {
    const std::string_view url = takeLine(block);
    const Escapes escapes = finder.isClean(url) ? noEscapes : mayNeedEscapes;
    write(table_.classify(url, choices_.match), url, escapes, out, tally);
  }
}

}  // namespace vu::tool
