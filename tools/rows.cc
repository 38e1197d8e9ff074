#include "tools/rows.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <utility>

#include "tools/terminal.h"
#include "vu/c.h"

namespace vu::tool {
namespace {

/// Longer names exist nowhere and would only fill the memory of those that count them.
constexpr std::size_t kLongestCounted = 253;

constexpr std::size_t kLongestAddress = 15;

/// Of each RowColumn, with the width that its cells mostly fit into.
const std::array<Column, kRowColumns> kColumns = {{{"status", 6, true},
                                                   {"text", 27},
                                                   {"domain", 28},
                                                   {"address", 15},
                                                   {"url", 28},
                                                   {"subdomain", 12},
                                                   {"suffix", 8},
                                                   {"rule", 12},
                                                   {"section", 7},
                                                   {"file", 12},
                                                   {"line", 4, true}}};

std::vector<Column> columnsOf(const std::vector<RowColumn>& chosen) {
  std::vector<Column> columns;
  columns.reserve(chosen.size());
  for (const RowColumn each : chosen) columns.push_back(kColumns[static_cast<std::size_t>(each)]);
  return columns;
}

void countDomain(std::string_view domain, Tally& tally) {
  if (domain.size() <= kLongestCounted) ++tally.domains[std::string(domain)];
}

std::size_t placeOf(vu_status status) {
  return static_cast<std::size_t>(
      std::find(countedStatuses.begin(), countedStatuses.end(), status) - countedStatuses.begin());
}

/// Writes an address in dotted form and returns where it ends, `kLongestAddress` behind at the
/// most.
char* putDotted(char* at, std::uint32_t address) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    at = std::to_chars(at, at + 3, address >> shift & 255U).ptr;
    if (shift > 0) *at++ = '.';
  }
  return at;
}

/// The labels of a host in front of its domain.
Cell subdomainOf(const vu_domain& found) {
  if (found.isAddress() || found.domain.empty() || found.domain.data() == found.host.data()) {
    return {};
  }
  // The service's rule also skips what is no label, without a dot.
  const auto length = static_cast<std::size_t>(found.domain.data() - found.host.data());
  return found.host.substr(0, found.host[length - 1] == '.' ? length - 1 : length);
}

/// What a domain is registered under: all but its first label.
Cell suffixOf(const vu_domain& found, std::string_view domain) {
  vu_record record{};
  record.kind = static_cast<std::uint8_t>(found.kind);
  record.domain_length = static_cast<std::uint32_t>(domain.size());
  const vu_text suffix = vu_suffix(domain.data(), &record);
  if (suffix.size == 0) return {};
  return std::string_view(suffix.data, suffix.size);
}

Cell sectionOf(const vu_reason& reason) {
  switch (reason.section) {
    case vu_section::icann:
      return "icann";
    case vu_section::privateDomains:
      return "private";
    default:
      return {};
  }
}

/// What each format writes in another way; of csv all that it quotes for.
Unsafe unsafeIn(Format format) {
  switch (format) {
    case Format::csv:
      return {{',', '"', '\r', '\n'}};
    case Format::jsonl:
      return {{'"', '\\', '\r', '\n'}, 0x20};
    default:
      return {{'\t', '\\', '\r', '\n'}};
  }
}

/// Whether a host is a name that has a domain of its own.
bool isOrdinary(const vu_record& found) {
  return found.status == VU_SUCCESS && found.kind == static_cast<int>(vu_host_kind::name) &&
         found.domain_length > 0;
}

/// The host of each plain line where it stands in it as browsers write it; elsewhere no text.
void findHosts(const LineChunk& chunk, HostReader& hosts, vu_text* found) {
  for (std::size_t i = 0; i < chunk.count; ++i) {
    found[i] = {nullptr, 0};
    if (!chunk.isPlain[i]) continue;
    const vu_host host = hosts.read({chunk.lines[i].data, chunk.lines[i].size});
    if (host.kind == vu_host_kind::name && host.text.data() == host.source.data()) {
      found[i] = {host.text.data(), host.text.size()};
    }
  }
}

}  // namespace

RowWriter::RowWriter(const vu_cctld& table, Choices choices)
    : table_(table),
      choices_(std::move(choices)),
      rows_(columnsOf(choices_.columns), choices_.rows),
      unsafe_(unsafeIn(choices_.rows.format)) {
  for (std::size_t i = 0; i < numbers_.size(); ++i) numbers_[i] = val2str(countedStatuses[i] + 0U);
  explains_ = has(RowColumn::rule) || has(RowColumn::section) || choices_.narrowing != 0;
  const bool isUsual = std::all_of(choices_.columns.begin(), choices_.columns.end(),
                                   [](RowColumn each) { return each <= RowColumn::url; });
  if (isUsual && !explains_ && !choices_.isSilent && rows_.format() != Format::table) makeFrame();
}

bool RowWriter::has(RowColumn column) const {
  const auto& columns = choices_.columns;
  return std::find(columns.begin(), columns.end(), column) != columns.end();
}

Cell RowWriter::statusCell(RowColumn column, std::size_t place) const {
  return column == RowColumn::status ? Cell(numbers_[place]) : statusText(countedStatuses[place]);
}

void RowWriter::makeFrame() {
  vu_reason ordinary{};
  ordinary.domain = {VU_SUCCESS, vu_host_kind::name, RowFrame::kDomain, RowFrame::kDomain, {}};
  Buffer row;
  Tally none;
  write(ordinary, {RowFrame::kUrl, {}}, row, none);
  frame_.emplace(row.text());
}

void RowWriter::count(std::string_view domain, std::size_t place, Tally& tally) const {
  ++tally.urls;
  ++tally.byStatus[place];
  if (domain.empty()) {
    ++tally.withoutDomain;
  } else if (choices_.countDomains) {
    countDomain(domain, tally);
  }
}

/// A rule costs more to tell than the domain alone. An empty line is no URL that somebody refuses.
vu_reason RowWriter::find(std::string_view url, HostReader& hosts) const {
  const vu_match match = choices_.match;
  if (choices_.host == HostRule::service || url.empty()) {
    if (explains_) return table_.explain(url, match, choices_.narrowing);
    return {table_.classify(url, match), vu_rule_kind::none, vu_section::none, {}};
  }
  const vu_host host = hosts.read(url);
  if (explains_) return table_.explain(host, match, choices_.narrowing);
  return {table_.classify(host, match), vu_rule_kind::none, vu_section::none, {}};
}

void RowWriter::write(std::string_view url, UrlPlace place, Buffer& out, Tally& tally) const {
  HostReader hosts(vu_url_text::typed);
  write(find(url, hosts), {url, place}, out, tally);
}

void RowWriter::writeMalformed(std::string_view text, UrlPlace place, Buffer& out,
                               Tally& tally) const {
  vu_reason none{};
  none.domain.status = VU_MALFORMED_URL;
  write(none, {text, place}, out, tally);
}

void RowWriter::writeSkipped(std::uint64_t length, UrlPlace place, Buffer& out,
                             Tally& tally) const {
  writeMalformed("(a line of " + std::to_string(length) + " bytes)", place, out, tally);
}

void RowWriter::write(const vu_reason& reason, const Entry& entry, Buffer& out,
                      Tally& tally) const {
  const vu_domain& found = reason.domain;
  const std::size_t status = placeOf(found.status);
  std::string_view domain = found.domain;
  std::string completed;
  if (found.status == VU_SUCCESS && domain.data() == nullptr) {
    completed = found.host;
    // The service's own rule doubles a dot at the end.
    if (choices_.host == HostRule::browser && completed.back() == '.') completed.pop_back();
    completed.append(".").append(table_.defaultDomain());
    domain = completed;
  }
  count(domain, status, tally);
  if (choices_.isSilent || (choices_.onlyFailed && found.status == VU_SUCCESS)) return;

  // Everything that a row may tell, by RowColumn; then what it is to tell.
  std::array<Cell, kRowColumns> all;
  const auto cell = [&all](RowColumn column) -> Cell& {
    return all[static_cast<std::size_t>(column)];
  };
  cell(RowColumn::status) = statusCell(RowColumn::status, status);
  cell(RowColumn::text) = statusCell(RowColumn::text, status);
  if (!domain.empty()) cell(RowColumn::domain) = domain;
  std::array<char, kLongestAddress> dotted;
  if (found.kind == vu_host_kind::ipv6) {
    cell(RowColumn::address) = domain.substr(1, domain.size() - 2);  // without its brackets
  } else if (found.isAddress()) {
    const char* const end = putDotted(dotted.data(), found.ipAddress());
    cell(RowColumn::address) = {dotted.data(), static_cast<std::size_t>(end - dotted.data())};
  }
  cell(RowColumn::url) = entry.url;
  cell(RowColumn::subdomain) = subdomainOf(found);
  cell(RowColumn::suffix) = suffixOf(found, domain);
  const std::string rule = reason.text();
  if (!rule.empty()) cell(RowColumn::rule) = rule;
  cell(RowColumn::section) = sectionOf(reason);
  const std::string line = std::to_string(entry.place.line);
  if (entry.place.line > 0) {
    cell(RowColumn::file) = entry.place.file;
    cell(RowColumn::line) = line;
  }
  std::vector<Cell> chosen;
  chosen.reserve(choices_.columns.size());
  for (const RowColumn each : choices_.columns) chosen.push_back(cell(each));
  const std::string_view shade = status == 0 ? colour::green : colour::red;
  rows_.append(out, chosen, choices_.colours ? shade : std::string_view());
}

void RowWriter::writeLines(std::string_view block, UrlPlace place, Buffer& out,
                           Tally& tally) const {
  LineCutter cutter(block, choices_.entryEnd, unsafe_);
  Rows rows{HostReader(vu_url_text::typed), place, out, tally};
  for (LineChunk chunk; cutter.next(chunk); rows.place.line += chunk.count) {
    if (frame_) {
      writeFramed(chunk, rows);
      continue;
    }
    for (std::size_t i = 0; i < chunk.count; ++i) writeLine(chunk, i, rows);
  }
}

void RowWriter::writeLine(const LineChunk& chunk, std::size_t i, Rows& rows) const {
  const std::string_view url(chunk.lines[i].data, chunk.lines[i].size);
  const UrlPlace place{rows.place.file, rows.place.line + i};
  write(find(url, rows.hosts), {url, place}, rows.out, rows.tally);
}

void RowWriter::writeFramed(const LineChunk& chunk, Rows& rows) const {
  const vu_text* asked = chunk.lines.data();
  std::array<vu_text, LineChunk::kRoom> hosts;
  if (choices_.host == HostRule::browser) {
    findHosts(chunk, rows.hosts, hosts.data());
    asked = hosts.data();
  }
  std::array<vu_record, LineChunk::kRoom> found;
  table_.classify(asked, chunk.count, found.data(), choices_.match);
  const vu_text& last = chunk.lines[chunk.count - 1];
  const auto bytes = static_cast<std::size_t>(last.data + last.size - chunk.lines[0].data);
  char* at = rows.out.room(frame_->room(chunk.count, bytes));
  std::uint64_t ordinary = 0;
  for (std::size_t i = 0; i < chunk.count; ++i) {
    const vu_text& line = chunk.lines[i];
    if (!chunk.isPlain[i] || !isOrdinary(found[i])) {
      rows.out.setEnd(at);
      writeLine(chunk, i, rows);
      at = rows.out.room(frame_->room(chunk.count, bytes));
      continue;
    }
    ++ordinary;
    const std::string_view domain(asked[i].data + found[i].domain_start, found[i].domain_length);
    if (choices_.countDomains) countDomain(domain, rows.tally);
    if (!choices_.onlyFailed) at = frame_->write(at, {line.data, line.size}, domain);
  }
  rows.out.setEnd(at);
  rows.tally.urls += ordinary;
  rows.tally.byStatus[0] += ordinary;
}

}  // namespace vu::tool
