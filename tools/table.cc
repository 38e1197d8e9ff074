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
  Look look;
  look.colour = colour;
  append(out, cells.data(), cells.size(), look);
}

void Table::append(Buffer& out, const Cell* cells, std::size_t count, const Look& look) const {
  switch (format()) {
    case Format::table:
      appendAligned(out, cells, count, look);
      break;
    case Format::tsv:
      appendTabbed(out, cells, count, look);
      break;
    case Format::csv:
      appendCommas(out, cells, count, look);
      break;
    case Format::jsonl:
      appendObject(out, cells, count, look);
      break;
  }
}

std::string Table::front(const Cell* cells, std::size_t count) const {
  Buffer row;
  append(row, cells, count, {});
  // Less what ends a row.
  return std::string(row.text().substr(0, row.size() - (format() == Format::jsonl ? 2 : 1)));
}

void Table::appendAligned(Buffer& out, const Cell* cells, std::size_t count,
                          const Look& look) const {
  out += look.colour;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t start = out.size();
    isNone(cells[i]) ? out += '-' : appendVisible(out, cells[i]);
    if (i + 1 < count) {
      const std::size_t width = i < columns_.size() ? columns_[i].width : 0;
      out.append(std::max(width, out.size() - start) - (out.size() - start) + 2, ' ');
    }
    if (!look.colour.empty() && i + 1 == std::min(kColoured, count)) out += colour::none;
  }
  out += '\n';
}

void Table::appendTabbed(Buffer& out, const Cell* cells, std::size_t count,
                         const Look& look) const {
  std::uint64_t room = count + 1;
  for (std::size_t i = look.inFront; i < count; ++i) room += cells[i].size();
  char* at = put(out.room(look.front.size() + (look.isTabSafe ? room : 2 * room)), look.front);
  for (std::size_t i = look.inFront; i < count; ++i) {
    if (i > 0) *at++ = '\t';
    at = look.isTabSafe ? put(at, cells[i]) : putTabSafe(at, cells[i]);
  }
  *at++ = '\n';
  out.setEnd(at);
}

void Table::appendCommas(Buffer& out, const Cell* cells, std::size_t count,
                         const Look& look) const {
  out += look.front;
  for (std::size_t i = look.inFront; i < count; ++i) {
    if (i > 0) out += ',';
    appendCommaSafe(out, cells[i]);
  }
  out += '\n';
}

void Table::appendObject(Buffer& out, const Cell* cells, std::size_t count,
                         const Look& look) const {
  out += look.front;
  for (std::size_t i = look.inFront; i < count; ++i) {
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
