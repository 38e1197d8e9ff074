// Rows of csv or tsv with a URL in one of their fields. Their bytes stay as they are: what is known
// of the URL is added behind them.

#ifndef VU_TOOLS_FIELDS_H_
#define VU_TOOLS_FIELDS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tools/buffer.h"
#include "tools/input.h"
#include "tools/rows.h"

namespace vu::tool {

/// What the rows of a file are, where a field of them is asked for.
enum class FieldForm { none, byContent, tsv, csv };

/// Reads a file in blocks like `LineBlocks`, but csv in blocks of whole rows: within quotes a line
/// end is a byte like any other.
class RowBlocks {
 public:
  /// With `form` none, rows are what `end` ends. By content they are tsv where the first line has a
  /// tab, csv elsewhere.
  RowBlocks(const std::string& path, EntryEnd end, FieldForm form)
      : name_(displayName(path)), lines_(path, end), form_(form) {}

  /// As that of `LineBlocks`. Throws Refusal, also for quotes that nothing closes.
  bool next(Buffer& block);
  std::uint64_t skipped() const { return lines_.skipped(); }
  bool wasFull() const { return lines_.wasFull(); }

  /// Not by content any more, once there is a block.
  FieldForm form() const { return form_; }

 private:
  enum class State { fieldStart, plain, quoted, quoteInQuotes };

  std::size_t scan(std::string_view piece);
  bool nextRows(Buffer& block);
  [[noreturn]] void refuseQuotes() const;

  std::string name_;
  LineBlocks lines_;
  FieldForm form_;
  State state_ = State::fieldStart;  ///< Behind what has been scanned.
  Buffer piece_;
  Buffer rest_;             ///< The beginning of a row whose end has not been read.
  std::uint64_t line_ = 1;  ///< Where the next block begins.
};

/// Which field of a row has the URL, counted from 0, and how many there are in the first row.
struct FieldShape {
  std::size_t at = 0;
  std::size_t count = 0;
};

/// The lines of the first rows that are seldom meant so; 0: none.
struct OddRows {
  std::uint64_t uneven = 0;     ///< With another number of fields than the first row.
  std::size_t unevenCount = 0;  ///< And how many that is.
  std::uint64_t blanks = 0;     ///< With blanks around the URL.
};

class FieldRows {
 public:
  /// `writer` writes in the form of the rows, and must outlive this.
  FieldRows(FieldForm form, const RowWriter& writer)
      : isCsv_(form == FieldForm::csv), writer_(writer) {}

  /// The field that `wanted` means, a name in the first row of `block` or a number counted from 1.
  /// `name` stands for the file in messages. Throws Refusal.
  FieldShape shape(std::string_view block, const std::string& wanted,
                   const std::string& name) const;

  /// Cuts the row of titles off `block`, its line end included.
  std::string_view takeTitles(std::string_view& block) const;
  /// Adds such a row, with our titles behind it.
  void writeTitles(std::string_view titles, Buffer& out) const;

  /// Adds every row of `block` with the columns for its URL behind it.
  void write(std::string_view block, UrlPlace place, const FieldShape& shape, Buffer& out,
             Tally& tally, OddRows& odd) const;
  /// Adds a row in place of a line of `length` bytes that was skipped.
  void writeSkipped(std::uint64_t length, const UrlPlace& place, const FieldShape& shape,
                    Buffer& out, Tally& tally) const;

 private:
  char separator() const { return isCsv_ ? ',' : '\t'; }

  bool isCsv_;
  const RowWriter& writer_;
};

/// Whether a text is a number of a field, which needs no titles.
bool isFieldNumber(std::string_view text);

}  // namespace vu::tool

#endif  // VU_TOOLS_FIELDS_H_
