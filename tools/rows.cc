#include "tools/rows.h"

#include <algorithm>
#include <charconv>

#include <nlohmann/json.hpp>

#include "tools/input.h"

namespace vu::tool {
namespace {

/// Longer names exist nowhere and would only fill the memory of those that count them.
constexpr std::size_t kLongestCounted = 253;

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

void appendNumber(std::string& out, std::uint32_t number) {
  char digits[10];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

std::string dotted(std::uint32_t address) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    appendNumber(text, address >> shift & 255U);
    if (shift > 0) text += '.';
  }
  return text;
}

void appendTabSeparated(std::string& out, const Row& row) {
  appendNumber(out, row.status);
  out += '\t';
  out += statusText(row.status);
  out += '\t';
  appendTabSafe(out, row.domain);
  out += '\t';
  out += row.address;
  out += '\t';
  appendTabSafe(out, row.url);
}

void appendQuoted(std::string& out, std::string_view text) {
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

void appendCommaSeparated(std::string& out, const Row& row) {
  appendNumber(out, row.status);
  out += ',';
  out += statusText(row.status);
  out += ',';
  appendQuoted(out, row.domain);
  out += ',';
  out += row.address;
  out += ',';
  appendQuoted(out, row.url);
}

void appendJson(std::string& out, const Row& row) {
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

/// The columns in front of the URL.
void appendColumns(std::string& out, std::string_view status, std::string_view text,
                   std::string_view domain, std::string_view address) {
  appendColumn(out, status, 6);
  appendColumn(out, text, 27);
  appendColumn(out, domain, 28);
  appendColumn(out, address, 15);
}

void appendAligned(std::string& out, const Row& row) {
  appendColumns(out, val2str(static_cast<unsigned int>(row.status)), statusText(row.status),
                row.domain.empty() ? "-" : visible(row.domain),
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

void appendColumn(std::string& out, std::string_view cell, std::size_t width) {
  out += cell;
  out.append(cell.size() < width ? width - cell.size() : 0, ' ');
  out += "  ";
}

void appendTabSafe(std::string& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '\t':
        out += "\\t";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\\':
        out += "\\\\";
        break;
      default:
        out += c;
    }
  }
}

void appendVisible(std::string& out, std::string_view text) {
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

std::string visible(std::string_view text) {
  std::string shown;
  appendVisible(shown, text);
  return shown;
}

std::string RowWriter::titles() {
  std::string line;
  appendColumns(line, "STATUS", "TEXT", "DOMAIN", "ADDRESS");
  return line + "URL\n";
}

void RowWriter::write(std::string_view url, std::string& out, Tally& tally) const {
  const vu_domain found = table_.classify(url, choices_.match);
  ++tally.urls;
  ++tally.byStatus[placeOf(found.status)];

  std::string completed;
  std::string address;
  Row row{found.status, found.domain, {}, url};
  if (found.status == VU_SUCCESS && found.domain.data() == nullptr) {
    completed = std::string(found.host) + "." + table_.defaultDomain();
    row.domain = completed;
  }
  if (found.isAddress) row.address = address = dotted(found.ipAddress);
  if (choices_.countDomains && !row.domain.empty() && row.domain.size() <= kLongestCounted) {
    ++tally.domains[std::string(row.domain)];
  }
  if (choices_.onlyFailed && found.status == VU_SUCCESS) return;

  switch (choices_.format) {
    case RowFormat::table:
      appendAligned(out, row);
      break;
    case RowFormat::tsv:
      appendTabSeparated(out, row);
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

void RowWriter::writeLines(std::string_view block, std::string& out, Tally& tally) const {
  while (!block.empty()) write(takeLine(block), out, tally);
}

}  // namespace vu::tool
