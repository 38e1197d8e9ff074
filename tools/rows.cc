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

}  // namespace

/// A URL as it was read.
struct RowWriter::Entry {
  std::string_view url;
  bool isTabSafe = false;
  UrlPlace place;
};

RowWriter::RowWriter(const vu_cctld& table, Choices choices)
    : table_(table),
      choices_(std::move(choices)),
      rows_(columnsOf(choices_.columns), choices_.rows) {
  for (std::size_t i = 0; i < numbers_.size(); ++i) numbers_[i] = val2str(countedStatuses[i] + 0U);
  if (rows_.format() != Format::table) makeFronts();
  isUsual_ = inFront_ == 2 && choices_.columns == Choices().columns;
  explains_ = has(RowColumn::rule) || has(RowColumn::section) || choices_.narrowing != 0;
}

bool RowWriter::has(RowColumn column) const {
  const auto& columns = choices_.columns;
  return std::find(columns.begin(), columns.end(), column) != columns.end();
}

Cell RowWriter::statusCell(RowColumn column, std::size_t place) const {
  return column == RowColumn::status ? Cell(numbers_[place]) : statusText(countedStatuses[place]);
}

void RowWriter::makeFronts() {
  const auto& columns = choices_.columns;
  while (inFront_ < columns.size() && columns[inFront_] <= RowColumn::text) ++inFront_;
  for (std::size_t i = 0; inFront_ > 0 && i < fronts_.size(); ++i) {
    std::vector<Cell> cells;
    cells.reserve(inFront_);
    for (std::size_t j = 0; j < inFront_; ++j) cells.push_back(statusCell(columns[j], i));
    fronts_[i] = rows_.front(cells.data(), cells.size());
  }
}

void RowWriter::count(std::string_view domain, std::size_t place, Tally& tally) const {
  ++tally.urls;
  ++tally.byStatus[place];
  if (domain.empty()) {
    ++tally.withoutDomain;
  } else if (choices_.countDomains && domain.size() <= kLongestCounted) {
    ++tally.domains[std::string(domain)];
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
  write(find(url, hosts), {url, false, place}, out, tally);
}

void RowWriter::writeMalformed(std::string_view text, UrlPlace place, Buffer& out,
                               Tally& tally) const {
  vu_reason none{};
  none.domain.status = VU_MALFORMED_URL;
  write(none, {text, false, place}, out, tally);
}

void RowWriter::writeSkipped(std::uint64_t length, UrlPlace place, Buffer& out,
                             Tally& tally) const {
  writeMalformed("(a line of " + std::to_string(length) + " bytes)", place, out, tally);
}

void RowWriter::write(const vu_reason& reason, const Entry& entry, Buffer& out,
                      Tally& tally) const {
  const vu_domain& found = reason.domain;
  const std::size_t place = placeOf(found.status);
  std::string_view domain = found.domain;
  std::string completed;
  if (found.status == VU_SUCCESS && domain.data() == nullptr) {
    completed = found.host;
    // The service's own rule doubles a dot at the end.
    if (choices_.host == HostRule::browser && completed.back() == '.') completed.pop_back();
    completed.append(".").append(table_.defaultDomain());
    domain = completed;
  }
  count(domain, place, tally);
  if (choices_.isSilent || (choices_.onlyFailed && found.status == VU_SUCCESS)) return;

  // Everything that a row may tell, by RowColumn; then what it is to tell.
  std::array<Cell, kRowColumns> all;
  const auto cell = [&all](RowColumn column) -> Cell& {
    return all[static_cast<std::size_t>(column)];
  };
  std::array<char, kLongestAddress> dotted;
  if (!domain.empty()) cell(RowColumn::domain) = domain;
  if (found.kind == vu_host_kind::ipv6) {
    cell(RowColumn::address) = domain.substr(1, domain.size() - 2);  // without its brackets
  } else if (found.isAddress()) {
    const char* const end = putDotted(dotted.data(), found.ipAddress());
    cell(RowColumn::address) = {dotted.data(), static_cast<std::size_t>(end - dotted.data())};
  }
  cell(RowColumn::url) = entry.url;
  Table::Look look{{}, fronts_[place], inFront_, entry.isTabSafe};
  if (choices_.colours) look.colour = place == 0 ? colour::green : colour::red;
  if (isUsual_) {
    rows_.append(out, all.data(), choices_.columns.size(), look);
    return;
  }
  cell(RowColumn::status) = statusCell(RowColumn::status, place);
  cell(RowColumn::text) = statusCell(RowColumn::text, place);
  cell(RowColumn::subdomain) = subdomainOf(found);
  cell(RowColumn::suffix) = suffixOf(found, domain);
  const std::string rule = reason.text();
  if (!rule.empty()) cell(RowColumn::rule) = rule;
  cell(RowColumn::section) = sectionOf(reason);
  const std::string line = std::to_string(entry.place.line);
  if (entry.place.line > 0) {
    cell(RowColumn::file) = entry.place.file;
    cell(RowColumn::line) = line;
    look.isTabSafe = false;  // nobody has looked at the name of the file
  }
  std::vector<Cell> chosen;
  chosen.reserve(choices_.columns.size());
  for (const RowColumn each : choices_.columns) chosen.push_back(cell(each));
  rows_.append(out, chosen.data(), chosen.size(), look);
}

void RowWriter::writeLines(std::string_view block, UrlPlace place, Buffer& out,
                           Tally& tally) const {
  EscapeFinder finder(block);
  HostReader hosts(vu_url_text::typed);
  for (; !block.empty(); ++place.line) {
    const std::string_view url = takeLine(block, choices_.entryEnd);
    // Only of lines is known that there is no line end in them.
    const bool isTabSafe = choices_.entryEnd == EntryEnd::line && finder.isClean(url);
    write(find(url, hosts), {url, isTabSafe, place}, out, tally);
  }
}

}  // namespace vu::tool
