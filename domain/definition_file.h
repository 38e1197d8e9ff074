// Reading the records of a top-level-domain definition file.

#ifndef VU_DOMAIN_DEFINITION_FILE_H_
#define VU_DOMAIN_DEFINITION_FILE_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "domain/table_format.h"

namespace vu::detail {

/// Reads records as `fscanf(file, "%s %hd\n", ...)` does in the classic locale, but bounded: a
/// token longer than kLongestToken is a bad record. Like a C string, a token ends at a NUL in it.
class DefinitionFile {
 public:
  /// Reads the file whose bytes these are, which must outlive it. `whole` is false for one whose
  /// end could not be read.
  explicit DefinitionFile(std::string_view bytes, bool whole = true)
      : at_(bytes.data()), end_(at_ + bytes.size()), whole_(whole) {}

  /// Whether the end of the file has been met. Not so before the first `read`.
  bool atEnd() const { return met_ && whole_; }

  /// Reads the next record with the white space behind it; false when there is no whole one.
  bool read();

  // The last record.
  std::string_view token() const { return token_; }
  std::int16_t labels() const { return labels_; }
  /// The line, counted from 1, where it begins, or where one was looked for.
  long long line();

 private:
  bool readLine();
  void skipSpace();
  bool readToken();
  bool readLabels();

  const char* at_;
  const char* end_;
  const char* record_ = at_;   ///< Where the last record begins.
  const char* counted_ = at_;  ///< Up to where `line_` has counted lines.
  long long line_ = 1;
  bool whole_;
  bool met_ = false;
  std::string_view token_;
  std::int16_t labels_ = 0;
};

}  // namespace vu::detail

#endif  // VU_DOMAIN_DEFINITION_FILE_H_
