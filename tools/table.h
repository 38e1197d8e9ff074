// Rows of cells in the forms that a person or a program wants them in. Every command that prints
// rows prints them by this.

#ifndef VU_TOOLS_TABLE_H_
#define VU_TOOLS_TABLE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/buffer.h"

namespace vu::tool {

enum class Format { table, tsv, csv, jsonl };

/// What a person may choose about the rows of a command.
struct RowOptions {
  RowOptions();

  Format format;  ///< An aligned table where standard output is a terminal, tsv elsewhere.
  bool header = false;
};

/// A view without data is no value: "-" in an aligned table, null in jsonl, empty elsewhere.
using Cell = std::string_view;

struct Column {
  std::string title;      ///< In lower case, as csv, tsv and jsonl have it.
  std::size_t width = 0;  ///< Of its cells in an aligned table, where the last column needs none.
  bool isNumber = false;  ///< Written without quotes in jsonl.
};

/// Writes rows. Threads: one table may serve several at once.
class Table {
 public:
  Table(std::vector<Column> columns, const RowOptions& options);

  Format format() const { return options_.format; }

  /// The line of titles, if there is to be one. Bold where `isBold` in an aligned table.
  void appendTitles(Buffer& out, bool isBold = false) const;

  /// Adds a row. Cells beyond the columns have their number for a title. A colour is of the first
  /// two cells in an aligned table.
  void append(Buffer& out, const std::vector<Cell>& cells, std::string_view colour = {}) const;

 private:
  void appendAligned(Buffer& out, const std::vector<Cell>& cells, std::string_view colour) const;
  void appendObject(Buffer& out, const std::vector<Cell>& cells) const;

  std::vector<Column> columns_;
  RowOptions options_;
  std::vector<std::string> keys_;  ///< Of jsonl, with the punctuation around them.
};

}  // namespace vu::tool

#endif  // VU_TOOLS_TABLE_H_
