// Reading the records of a top-level-domain definition file.

#ifndef VU_DOMAIN_DEFINITION_FILE_H_
#define VU_DOMAIN_DEFINITION_FILE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

namespace vu::detail {

/// Reads records as `fscanf(file, "%s %hd\n", ...)` does in the classic locale, but bounded: a
/// token of more than 1023 bytes is a bad record. Like a C string, a token ends at a NUL inside it.
class DefinitionFile {
 public:
  /// Opens `path` for reading. `isOpen` tells whether that worked, with errno set if not; a null
  /// path is a bad address.
  explicit DefinitionFile(const char* path);

  bool isOpen() const { return file_ != nullptr; }

  /// Whether the end of the file has been met. Not so before the first `read`, nor after an error.
  bool atEnd() const { return atEnd_; }

  /// What went wrong when the system could not read the file, as errno; 0 when it could.
  int error() const { return error_; }

  /// Reads the next record with the white space behind it; false when there is no whole one.
  bool read();

  // The last record.
  /// Until the next `read`.
  std::string_view token() const { return token_; }
  std::int16_t labels() const { return labels_; }
  /// The line, counted from 1, where it begins, or where one was looked for.
  long long line() const { return line_; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  bool readLine();
  int peek();
  void advance();
  void skipSpace();
  bool readToken();
  bool readLabels();

  std::unique_ptr<std::FILE, Close> file_;
  std::array<char, 16384> block_;
  std::size_t at_ = 0;
  std::size_t size_ = 0;
  bool atEnd_ = false;
  int error_ = 0;
  std::string_view token_;  ///< In the block, or copied where that does not have it whole.
  std::array<char, 1023> copy_;
  std::int16_t labels_ = 0;
  long long currentLine_ = 1;
  long long line_ = 1;
};

}  // namespace vu::detail

#endif  // VU_DOMAIN_DEFINITION_FILE_H_
