// Lines of `vu classify`: a row for each, in order, in every format, that can be read back; the
// reader of blocks and the summary on the way.
//
// Input: which choices for the rows; then the lines.

#include <algorithm>
#include <iomanip>

#include <nlohmann/json.hpp>

#include "fuzz/support.h"
#include "tools/input.h"
#include "tools/rows.h"
#include "tools/summary.h"
#include "vu/domain.h"
#include "vu/url.h"

namespace vu::fuzz {
namespace {

using tool::Buffer;
using tool::Format;
using tool::RowWriter;
using tool::Tally;

const vu_cctld& table() {
  static const auto made = [] {
    const test::TemporaryFile file("co.xy 3\nb.co.xy 4\n*.ck 3\n!www.ck 2\n");
    return std::make_unique<vu_cctld>(file.path(), "corp.xy");
  }();
  return *made;
}

/// A text cut at its line ends, told plainly.
std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

/// What the tool's reader gives, block by block.
std::string readBack(const std::string& text) {
  static const test::TemporaryFile file;
  file.rewrite(text);
  tool::LineBlocks blocks(file.path());
  std::string all;
  for (Buffer block; blocks.next(block); all += block.text()) {
    check(block.size() > 0, "no block is empty");
  }
  return all;
}

/// What a row shows, but for the way in which its format shows it.
std::vector<std::string> shown(const std::string& url, const vu_domain& found) {
  const bool isCompleted = found.status == VU_SUCCESS && found.domain.data() == nullptr;
  std::string address;
  if (found.kind == vu_host_kind::ipv6) address = found.domain.substr(1, found.domain.size() - 2);
  for (int shift = 24; found.kind == vu_host_kind::ipv4 && shift >= 0; shift -= 8) {
    address += std::to_string(found.ipAddress() >> shift & 255U) + (shift > 0 ? "." : "");
  }
  return {std::to_string(found.status), statusText(found.status),
          isCompleted ? std::string(found.host) + "." + table().defaultDomain()
                      : std::string(found.domain),
          address, url};
}

/// The same as another writer of JSON has it.
std::string asJson(const std::vector<std::string>& fields) {
  using Json = nlohmann::ordered_json;
  const auto orNull = [](const std::string& text) { return text.empty() ? Json() : Json(text); };
  return Json({{"status", std::stoul(fields[0])},
               {"text", fields[1]},
               {"domain", orNull(fields[2])},
               {"address", orNull(fields[3])},
               {"url", fields[4]}})
      .dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// A carriage return ends a row for many a reader, too.
std::string asCsv(const std::vector<std::string>& fields) {
  std::ostringstream row;
  for (const std::string& field : fields) {
    row << (&field == &fields[0] ? "" : ",");
    if (field.find_first_of("\",\r\n") == std::string::npos) {
      row << field;
    } else {
      row << std::quoted(field, '"', '"');
    }
  }
  return row.str();
}

std::string asTsv(const std::vector<std::string>& fields) {
  std::string row;
  for (const std::string& field : fields) {
    row += &field == &fields[0] ? "" : "\t";
    for (const char c : field) {
      const std::size_t kind = std::string_view("\t\n\r\\").find(c);
      row += kind == std::string_view::npos ? std::string(1, c) : std::string("\\") + "tnr\\"[kind];
    }
  }
  return row;
}

void checkRow(Format format, const std::string& row, const std::vector<std::string>& fields) {
  if (format == Format::tsv) return expectEqual(asTsv(fields), row, "row");
  if (format == Format::csv) return expectEqual(asCsv(fields), row, "row");
  if (format == Format::jsonl) return expectEqual(asJson(fields), row, "row");
  const auto isPrintable = [](char c) { return c >= 0x20 && c < 0x7f; };
  check(std::all_of(row.begin(), row.end(), isPrintable), "a terminal obeys nothing in a row");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::size_t choices = input.choice(64);
  std::string text = input.rest();
  // Lines with so much behind them are cut by masks.
  if ((choices & 32) == 0) text += "\n" + std::string(100, '-');
  expectEqual(text, readBack(text), "what is read");

  RowWriter::Choices wanted;
  wanted.rows.format = static_cast<Format>(choices % 4);
  wanted.onlyFailed = (choices & 4) != 0;
  wanted.countDomains = true;
  if ((choices & 8) != 0) wanted.match = vu_match::publicSuffix;
  if ((choices & 16) == 0) wanted.host = tool::HostRule::service;
  const RowWriter writer(table(), wanted);
  Buffer rows;
  Tally tally;
  const test::ExactCopy copy(text);
  writer.writeLines(copy.view(), {}, rows, tally);

  const std::vector<std::string> lines = linesOf(text);
  std::string_view rest = rows.text();
  std::uint64_t refused = 0;
  for (const std::string& line : lines) {
    std::string room(browserHostBound(line.size()), '\0');
    const bool byBrowser = (choices & 16) != 0 && !line.empty();
    vu_domain found = table().classify(line, wanted.match);
    if (byBrowser) {
      found = table().classify(browserHost(line, room.data(), room.size(), vu_url_text::typed),
                               wanted.match);
    }
    // The service's own rule doubles a dot in front of the default domain.
    if (byBrowser && !found.host.empty() && found.host.back() == '.') found.host.remove_suffix(1);
    if (found.status != VU_SUCCESS) ++refused;
    if (wanted.onlyFailed && found.status == VU_SUCCESS) continue;
    Buffer alone;
    Tally one;
    writer.write(line, {}, alone, one);
    check(rest.substr(0, alone.size()) == alone.text(), "a row is the same in a block and alone");
    rest.remove_prefix(alone.size());
    check(alone.size() > 0 && alone.text().back() == '\n', "a row ends");
    const std::string row(alone.text().substr(0, alone.size() - 1));
    check(row.find('\n') == std::string::npos, "a line makes one row");
    checkRow(wanted.rows.format, row, shown(line, found));
  }
  check(rest.empty(), "no line makes two rows");

  tool::Summary summary;
  summary.add(tally);
  expectEqual(lines.size(), summary.urls(), "URLs counted");
  expectEqual(refused, summary.refused(), "refused URLs counted");
  check(!summary.text(1).empty(), "there is a summary");
  return 0;
}

}  // namespace vu::fuzz
