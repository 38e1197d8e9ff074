#include "tools/table.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "tools/terminal.h"
#include "tools/text.h"

namespace vu::tool {
namespace {

constexpr std::size_t kColoured = 2;

bool isNone(Cell cell) { return cell.data() == nullptr; }

std::string inCapitals(std::string title) {
  for (char& c : title) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return title;
}

/// The key of a column in jsonl, with what stands in front of it and behind.
std::string keyOf(std::string_view title, bool isFirst) {
  Buffer key;
  key += isFirst ? '{' : ',';
  appendJson(key, title);
  key += ':';
  return std::string(key.text());
}

void appendTabbed(Buffer& out, const std::vector<Cell>& cells) {
  std::uint64_t room = cells.size() + 1;
  for (const Cell cell : cells) room += 2 * std::uint64_t{cell.size()};
  char* at = out.room(room);
  for (const Cell& cell : cells) {
    if (&cell != cells.data()) *at++ = '\t';
    at = putTabSafe(at, cell);
  }
  *at++ = '\n';
  out.setEnd(at);
}

void appendCommas(Buffer& out, const std::vector<Cell>& cells) {
  for (const Cell& cell : cells) {
    if (&cell != cells.data()) out += ',';
    appendCommaSafe(out, cell);
  }
  out += '\n';
}

}  // namespace

RowOptions::RowOptions() : format(isatty(STDOUT_FILENO) == 1 ? Format::table : Format::tsv) {}

Table::Table(std::vector<Column> columns, const RowOptions& options)
    : columns_(std::move(columns)), options_(options) {
  for (Column& each : columns_) {
    keys_.push_back(keyOf(each.title, keys_.empty()));
    if (options_.header) each.width = std::max(each.width, each.title.size());
  }
}

void Table::appendTitles(Buffer& out, bool isBold) const {
  if (!options_.header || format() == Format::jsonl) return;
  const bool isAligned = format() == Format::table;
  std::vector<std::string> titles;
  for (const Column& each : columns_) {
    titles.push_back(isAligned ? inCapitals(each.title) : each.title);
  }
  if (isBold && isAligned) out += colour::bold;
  append(out, {titles.begin(), titles.end()});
  if (!isBold || !isAligned) return;
  out.truncate(out.size() - 1);
  out += colour::none;
  out += '\n';
}

void Table::append(Buffer& out, const std::vector<Cell>& cells, std::string_view colour) const {
  switch (format()) {
    case Format::table:
      appendAligned(out, cells, colour);
      break;
    case Format::tsv:
      appendTabbed(out, cells);
      break;
    case Format::csv:
      appendCommas(out, cells);
      break;
    case Format::jsonl:
      appendObject(out, cells);
      break;
  }
}

void Table::appendAligned(Buffer& out, const std::vector<Cell>& cells,
                          std::string_view colour) const {
  const std::size_t count = cells.size();
  out += colour;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t start = out.size();
    isNone(cells[i]) ? out += '-' : appendVisible(out, cells[i]);
    if (i + 1 < count) {
      const std::size_t width = i < columns_.size() ? columns_[i].width : 0;
      out.append(std::max(width, out.size() - start) - (out.size() - start) + 2, ' ');
    }
    if (!colour.empty() && i + 1 == std::min(kColoured, count)) out += colour::none;
  }
  out += '\n';
}

void Table::appendObject(Buffer& out, const std::vector<Cell>& cells) const {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const bool isKnown = i < columns_.size();
    out += isKnown ? keys_[i] : keyOf(std::to_string(i + 1), i == 0);
    if (isNone(cells[i])) {
      out += "null";
    } else if (isKnown && columns_[i].isNumber) {
      out += cells[i];
    } else {
      appendJson(out, cells[i]);
    }
  }
  out += "}\n";
}

}  // namespace vu::tool
