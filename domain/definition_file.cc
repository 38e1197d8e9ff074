#include "domain/definition_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "vu/foundation.h"

namespace vu::detail {
namespace {

bool isDigit(int c) { return c >= 0 && vu::detail::isDigit(static_cast<char>(c)); }
bool isSpace(int c) { return c >= 0 && vu::detail::isSpace(static_cast<char>(c)); }

}  // namespace

DefinitionFile::DefinitionFile(const char* path) {
  if (path == nullptr) {
    errno = EFAULT;
    return;
  }
  file_.reset(std::fopen(path, "r"));
}

/// The next byte, or -1 at the end of the file and after an error.
int DefinitionFile::peek() {
  if (at_ == size_) {
    if (atEnd_ || error_ != 0) return -1;
    at_ = 0;
    size_ = std::fread(block_.data(), 1, block_.size(), file_.get());
    if (size_ < block_.size() && std::ferror(file_.get()) != 0) error_ = errno;
    if (size_ == 0) {
      atEnd_ = error_ == 0;
      return -1;
    }
  }
  return static_cast<unsigned char>(block_[at_]);
}

void DefinitionFile::advance() {
  if (block_[at_] == '\n') ++currentLine_;
  ++at_;
}

void DefinitionFile::skipSpace() {
  while (isSpace(peek())) advance();
}

bool DefinitionFile::read() {
  skipSpace();
  line_ = currentLine_;
  if (!readToken()) return false;
  skipSpace();
  if (!readLabels()) return false;
  skipSpace();
  return true;
}

bool DefinitionFile::readToken() {
  std::size_t length = 0;
  while (peek() >= 0) {  // what of the token is in this block
    const char* const begin = block_.data() + at_;
    const char* const blockEnd = block_.data() + size_;
    const char* const end = std::find_if(begin, blockEnd, vu::detail::isSpace);
    const auto count = static_cast<std::size_t>(end - begin);
    if (count > token_.size() - length) return false;
    std::copy(begin, end, token_.begin() + length);
    length += count;
    at_ += count;
    if (end != blockEnd) break;
  }
  const void* const nul = std::memchr(token_.data(), '\0', length);
  length_ = nul != nullptr ? static_cast<std::size_t>(static_cast<const char*>(nul) - token_.data())
                           : length;
  return length > 0;
}

/// A decimal number: held within 32 bits as it is read, then cut to 16.
bool DefinitionFile::readLabels() {
  const bool negative = peek() == '-';
  if (negative || peek() == '+') advance();
  if (!isDigit(peek())) return false;
  constexpr std::int64_t most = std::int64_t{1} << 31;
  std::int64_t value = 0;
  for (; isDigit(peek()); advance()) value = std::min(value * 10 + (peek() - '0'), most);
  value = negative ? -value : std::min(value, most - 1);
  labels_ = static_cast<std::int16_t>(value & 0xFFFF);
  return true;
}

}  // namespace vu::detail
