#include "domain/definition_file.h"

#include <algorithm>

#include "domain/bytes.h"
#include "vu/foundation.h"

namespace vu::detail {
namespace {

bool isBlankOrControl(char c) { return static_cast<unsigned char>(c) <= ' '; }

/// The first such byte, or `end`: eight bytes at a time as long as there are so many.
const char* findBlankOrControl(const char* at, const char* end) {
  constexpr std::uint64_t kEach = 0x0101010101010101U;
  for (; end - at >= 8; at += 8) {
    // Borrowing from its neighbours changes none but the bytes behind the first one found.
    const std::uint64_t bytes = load64(at);
    const std::uint64_t found = (bytes - kEach * (' ' + 1)) & ~bytes & kEach * 0x80;
    if (found != 0) return at + __builtin_ctzll(found) / 8;
  }
  return std::find_if(at, end, isBlankOrControl);
}

}  // namespace

long long DefinitionFile::line() {
  line_ += std::count(counted_, record_, '\n');
  counted_ = record_;
  return line_;
}

void DefinitionFile::skipSpace() {
  at_ = std::find_if_not(at_, end_, isSpace);
  met_ = at_ == end_;
}

bool DefinitionFile::read() {
  record_ = at_;
  if (readLine()) return true;
  skipSpace();
  record_ = at_;
  if (!readToken()) return false;
  skipSpace();
  if (!readLabels()) return false;
  skipSpace();
  return true;
}

/// Reads a record as they usually are, "token labels\n" with another behind it; otherwise reads
/// nothing.
bool DefinitionFile::readLine() {
  const char* const tokenEnd = findBlankOrControl(at_, end_);
  const auto size = static_cast<std::size_t>(tokenEnd - at_);
  if (size == 0 || size > kLongestToken || tokenEnd == end_ || *tokenEnd != ' ') return false;
  const char* const digits = tokenEnd + 1;
  const char* at = digits;
  int labels = 0;
  for (; at != end_ && at - digits < 4 && isDigit(*at); ++at) labels = labels * 10 + (*at - '0');
  if (at == digits || end_ - at < 2 || *at != '\n' || isBlankOrControl(at[1])) return false;
  token_ = {at_, size};
  labels_ = static_cast<std::int16_t>(labels);
  at_ = at + 1;
  return true;
}

bool DefinitionFile::readToken() {
  const char* const tokenEnd = std::find_if(at_, end_, isSpace);
  token_ = {at_, static_cast<std::size_t>(tokenEnd - at_)};
  if (token_.empty() || token_.size() > kLongestToken) return false;
  token_ = token_.substr(0, token_.find('\0'));
  at_ = tokenEnd;
  return true;
}

/// A decimal number: held within 32 bits as it is read, then cut to 16.
bool DefinitionFile::readLabels() {
  const bool negative = at_ != end_ && *at_ == '-';
  if (at_ != end_ && (negative || *at_ == '+')) ++at_;
  if (at_ == end_ || !isDigit(*at_)) return false;
  constexpr std::int64_t most = std::int64_t{1} << 31;
  std::int64_t value = 0;
  for (; at_ != end_ && isDigit(*at_); ++at_) value = std::min(value * 10 + (*at_ - '0'), most);
  value = negative ? -value : std::min(value, most - 1);
  labels_ = static_cast<std::int16_t>(value & 0xFFFF);
  return true;
}

}  // namespace vu::detail
