#include "tools/fields.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "domain/suffix_list.h"
#include "tools/command.h"
#include "tools/options.h"
#include "tools/usage.h"

namespace vu::tool {
namespace {

constexpr std::uint32_t kMostFields = 1000000;

/// A row where it lies.
struct Row {
  std::string_view text;
  std::string_view lineEnd;  ///< "\n" or "\r\n"; the last row may have none.
  std::size_t fields = 0;
  std::string_view field;  ///< The wanted one as it stands; without data where there is none.
};

/// Behind the quotes that a field begins with; the end of the text where they are not closed.
std::size_t quotesEnd(std::string_view text, std::size_t at) {
  do {
    at = text.find('"', at + 1);
    if (at == std::string_view::npos) return text.size();
    ++at;
  } while (at < text.size() && text[at] == '"');
  return at;
}

/// Cuts the first row off `rest`.
Row takeRow(std::string_view& rest, bool isCsv, std::size_t wanted) {
  const char separator = isCsv ? ',' : '\t';
  Row row;
  std::size_t at = 0;
  for (std::size_t start = 0;; start = ++at) {
    if (isCsv && at < rest.size() && rest[at] == '"') at = quotesEnd(rest, at);
    while (at < rest.size() && rest[at] != separator && rest[at] != '\n') ++at;
    if (row.fields++ == wanted) row.field = rest.substr(start, at - start);
    if (at == rest.size() || rest[at] == '\n') break;
  }
  row.text = rest.substr(0, at);
  rest.remove_prefix(at);
  if (!rest.empty()) rest.remove_prefix(1);
  if (!row.text.empty() && row.text.back() == '\r') {
    row.text.remove_suffix(1);
    if (wanted + 1 == row.fields) row.field.remove_suffix(1);
  }
  row.lineEnd = {row.text.data() + row.text.size(),
                 static_cast<std::size_t>(rest.data() - row.text.data()) - row.text.size()};
  return row;
}

/// What a field says: without the quotes around it, and with one quote for two within. Put together
/// in `room`, where there are any.
std::string_view valueOf(std::string_view field, bool isCsv, std::string& room) {
  if (!isCsv || field.empty() || field.front() != '"') return field;
  const std::size_t end = quotesEnd(field, 0);
  room.clear();
  for (std::size_t i = 1; i < field.size(); ++i) {
    if (field[i] != '"' || i >= end) {
      room += field[i];
    } else if (i + 1 < end) {
      room += field[i++];
    }
  }
  return room;
}

std::vector<std::string> valuesOf(std::string_view titles, bool isCsv) {
  std::vector<std::string> values;
  std::string room;
  for (std::size_t count = 1; values.size() < count;) {
    std::string_view rest = titles;
    const Row row = takeRow(rest, isCsv, values.size());
    count = row.fields;
    values.emplace_back(valueOf(row.field, isCsv, room));
  }
  return values;
}

std::string_view withoutMark(std::string_view block) {
  const bool hasMark =
      block.substr(0, vu::detail::kByteOrderMark.size()) == vu::detail::kByteOrderMark;
  return block.substr(hasMark ? vu::detail::kByteOrderMark.size() : 0);
}

/// By the first line of a file.
FieldForm formOf(std::string_view block) {
  const bool hasTab = block.substr(0, block.find('\n')).find('\t') != std::string_view::npos;
  return hasTab ? FieldForm::tsv : FieldForm::csv;
}

std::uint64_t lineEndsIn(std::string_view text) {
  return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

/// Gives what follows a row its line end.
void endRow(const Row& row, Buffer& out) {
  if (row.lineEnd.size() < 2) return;
  out.truncate(out.size() - 1);
  out += row.lineEnd;
}

}  // namespace

bool isFieldNumber(std::string_view text) {
  std::uint32_t number = 0;
  return readDecimal(text, kMostFields, number) && number > 0;
}

bool RowBlocks::next(Buffer& block) {
  const bool areLines = form_ == FieldForm::none || form_ == FieldForm::tsv;
  return areLines ? lines_.next(block) : nextRows(block);
}

bool RowBlocks::nextRows(Buffer& block) {
  block.clear();
  block += rest_.text();
  rest_.clear();
  while (lines_.next(piece_)) {
    if (form_ == FieldForm::byContent) form_ = formOf(piece_.text());
    if (block.size() + lines_.skipped() > kLongestEntry) {
      if (block.size() > 0) refuseQuotes();
      ++line_;
      return true;
    }
    const std::size_t before = block.size();
    block += piece_.text();
    if (form_ == FieldForm::tsv) return true;
    const std::size_t whole = scan(piece_.text());
    if (whole == 0) continue;
    rest_ += block.text().substr(before + whole);
    block.truncate(before + whole);
    line_ += lineEndsIn(block.text());
    return true;
  }
  if (state_ == State::quoted) refuseQuotes();
  return block.size() > 0;
}

/// Goes on behind what was scanned before, and returns where the last row in `piece` ends; 0 where
/// none does.
std::size_t RowBlocks::scan(std::string_view piece) {
  if (state_ == State::fieldStart && piece.find('"') == std::string_view::npos) {
    return piece.rfind('\n') + 1;
  }
  std::size_t end = 0;
  for (std::size_t i = 0; i < piece.size(); ++i) {
    const char c = piece[i];
    if (state_ == State::quoted) {
      if (c == '"') state_ = State::quoteInQuotes;
    } else if (c == '"' && state_ != State::plain) {
      state_ = State::quoted;
    } else {
      state_ = c == ',' || c == '\n' ? State::fieldStart : State::plain;
      if (c == '\n') end = i + 1;
    }
  }
  return end;
}

void RowBlocks::refuseQuotes() const {
  throw Refusal(name_ + ":" + std::to_string(line_) +
                ": quotes begin in this row that nothing closes within 64 MiB");
}

FieldShape FieldRows::shape(std::string_view block, const std::string& wanted,
                            const std::string& name) const {
  const std::vector<std::string> titles = valuesOf(withoutMark(block), isCsv_);
  FieldShape shape;
  shape.count = titles.size();
  if (isFieldNumber(wanted)) {
    shape.at = std::stoul(wanted) - 1;
    if (shape.at < shape.count) return shape;
    throw Refusal(name + " has no field " + wanted + ": its first row ends with field " +
                  std::to_string(shape.count));
  }
  const auto found = std::find(titles.begin(), titles.end(), wanted);
  if (found == titles.end()) {
    throw Refusal(name + " has no field " + wanted + " in its first row: " +
                  CLI::detail::join(titles, ", ").substr(0, 1000) + didYouMean(wanted, titles));
  }
  shape.at = static_cast<std::size_t>(found - titles.begin());
  return shape;
}

std::string_view FieldRows::takeTitles(std::string_view& block) const {
  const std::string_view whole = block;
  takeRow(block, isCsv_, 0);
  return whole.substr(0, whole.size() - block.size());
}

void FieldRows::writeTitles(std::string_view titles, Buffer& out) const {
  const Row row = takeRow(titles, isCsv_, 0);
  out += row.text;
  out += separator();
  writer_.writeTitles(out);
  endRow(row, out);
}

void FieldRows::write(std::string_view block, UrlPlace place, const FieldShape& shape, Buffer& out,
                      Tally& tally, OddRows& odd) const {
  std::string room;
  while (!block.empty()) {
    const Row row = takeRow(block, isCsv_, shape.at);
    const std::string_view url = valueOf(row.field, isCsv_, room);
    if (row.fields != shape.count && odd.uneven == 0) {
      odd.uneven = place.line;
      odd.unevenCount = row.fields;
    }
    if (odd.blanks == 0 && hasBlankAround(url)) odd.blanks = place.line;
    const std::size_t start = out.size();
    out += row.text;
    out.append(shape.count - std::min(shape.count, row.fields) + 1, separator());
    const std::size_t ours = out.size();
    if (row.fields > shape.count) {
      writer_.writeMalformed(url, place, out, tally);
    } else {
      writer_.write(url, place, out, tally);
    }
    if (out.size() == ours) {
      out.truncate(start);  // not asked for
    } else {
      endRow(row, out);
    }
    place.line += 1 + lineEndsIn(row.text);
  }
}

void FieldRows::writeSkipped(std::uint64_t length, const UrlPlace& place, const FieldShape& shape,
                             Buffer& out, Tally& tally) const {
  out.append(shape.at, separator());
  out += "(a line of " + std::to_string(length) + " bytes)";
  out.append(shape.count - shape.at, separator());
  writer_.writeSkipped(length, place, out, tally);
}

}  // namespace vu::tool
