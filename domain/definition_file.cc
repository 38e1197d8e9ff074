#include "domain/definition_file.h"

#include <algorithm>
#include <cerrno>

#include "domain/text_key.h"
#include "vu/foundation.h"

namespace vu::detail {
namespace {

bool isDigit(int c) { return c >= 0 && vu::detail::isDigit(static_cast<char>(c)); }
bool isSpace(int c) { return c >= 0 && vu::detail::isSpace(static_cast<char>(c)); }

bool isBlankOrControl(char c) { return static_cast<unsigned char>(c) <= ' '; }

/// The first such byte, or `end`: eight bytes at a time as long as there are so many.
const char* findBlankOrControl(const char* at, const char* end) {
  constexpr std::uint64_t kEach = 0x0101010101010101U;
  for (; end - at >= 8; at += 8) {
    // Borrowing from its neighbours changes none but the bytes behind the first one found.
    const std::uint64_t bytes = loadBytes<8>(at);
    const std::uint64_t found = (bytes - kEach * (' ' + 1)) & ~bytes & kEach * 0x80;
    if (found != 0) return at + __builtin_ctzll(found) / 8;
  }
  return std::find_if(at, end, isBlankOrControl);
}

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
  if (readLine()) return true;
  skipSpace();
  line_ = currentLine_;
  if (!readToken()) return false;
  skipSpace();
  if (!readLabels()) return false;
  skipSpace();
  return true;
}

/// Reads a record as they usually are, "token labels\n", when the block has it whole with the byte
/// behind it; otherwise reads nothing.
bool DefinitionFile::readLine() {
  if (at_ == size_) return false;
  const char* const begin = block_.data() + at_;
  const char* const last = block_.data() + size_ - 1;
  const char* const tokenEnd = findBlankOrControl(begin, last);
  const std::string_view token(begin, static_cast<std::size_t>(tokenEnd - begin));
  if (token.empty() || token.size() > copy_.size() || *tokenEnd != ' ') return false;
  const char* const digits = tokenEnd + 1;
  const char* at = digits;
  int labels = 0;
  for (; at < last && at - digits < 4 && isDigit(*at); ++at) labels = labels * 10 + (*at - '0');
  if (at == digits || at >= last || *at != '\n' || isBlankOrControl(at[1])) return false;
  token_ = token;
  labels_ = static_cast<std::int16_t>(labels);
  line_ = currentLine_++;
  at_ = static_cast<std::size_t>(at + 1 - block_.data());
  return true;
}

bool DefinitionFile::readToken() {
  std::size_t length = 0;
  while (peek() >= 0) {  // what of the token is in this block
    const char* const begin = block_.data() + at_;
    const char* const blockEnd = block_.data() + size_;
    const char* const end = std::find_if(begin, blockEnd, vu::detail::isSpace);
    const auto count = static_cast<std::size_t>(end - begin);
    if (count > copy_.size() - length) return false;
    std::copy(begin, end, copy_.begin() + length);
    length += count;
    at_ += count;
    if (end != blockEnd) break;
  }
  token_ = std::string_view(copy_.data(), length);
  token_ = token_.substr(0, token_.find('\0'));
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
