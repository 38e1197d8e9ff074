// A URL is looked at 64 bytes at a time, as sets of bits, one for each class of bytes. Most hosts
// end within the first 64 bytes of their URL, and then a few operations on sets tell all there is
// to know.

#include "domain/plain_host.h"

#include <cstdint>
#include <limits>

#include "domain/byte_classes.h"
#include "domain/host.h"

namespace vu::detail {
namespace {

constexpr std::size_t kStride = 64;

/// The lowest and highest members of a set that is not empty, and all members below a place.
std::size_t lowest(std::uint64_t set) { return static_cast<std::size_t>(__builtin_ctzll(set)); }
std::size_t highest(std::uint64_t set) {
  return 63 - static_cast<std::size_t>(__builtin_clzll(set));
}
std::uint64_t below(std::size_t place) {
  return place < 64 ? (std::uint64_t{1} << place) - 1 : ~std::uint64_t{0};
}

bool beginsWithLetter(std::string_view label) {
  const unsigned letter = static_cast<unsigned char>(label[0]) | 0x20U;
  return letter - 'a' < 26;
}

/// Where the host begins, told from the first byte that may end one; false when that is not enough.
bool findStart(std::string_view url, std::uint64_t ends, std::size_t& start) {
  start = 0;
  if ((ends & below(kLastSchemeStart + 1)) == 0) return true;
  const std::size_t colon = lowest(ends);
  if (url.size() > colon + 2 && url[colon] == ':' && url[colon + 1] == '/' &&
      url[colon + 2] == '/') {
    start = colon + 3;
    return true;
  }
  return url.substr(0, kLastSchemeStart + 3).find("://") == std::string_view::npos;
}

/// What may not stand in a plain host: bytes that are no part of names, and dots or marks that
/// begin a label. `first` is a place where a label begins beside those behind dots; 64 and more for
/// none.
std::uint64_t faults(const ByteClasses& bytes, std::size_t first) {
  const std::uint64_t beginnings =
      bytes.dots << 1 | (first < kStride ? std::uint64_t{1} << first : 0);
  return ~bytes.name | ((bytes.dots | bytes.marks) & beginnings);
}

/// Goes on where the host is longer than a stride: `end` becomes where it ends.
bool findEnd(std::string_view url, std::size_t& end, bool afterDot) {
  for (std::size_t at = kStride; at < url.size(); at += kStride) {
    const ByteClasses bytes = classifyBytes(url.data() + at, url.size() - at);
    const std::size_t left = url.size() - at;
    const bool ended = bytes.ends != 0;
    const std::size_t stop = ended ? lowest(bytes.ends) : left < kStride ? left : kStride;
    if ((faults(bytes, afterDot ? 0 : kStride) & below(stop)) != 0) return false;
    end = at + stop;
    if (ended) break;
    afterDot = (bytes.dots >> (kStride - 1)) != 0;
  }
  return true;
}

/// The last two labels of a plain host of more than a stride.
bool findLastTwo(PlainHost& found) {
  LabelsFromRight labels(found.host);
  std::string_view label;
  if (!labels.next(found.last) || !labels.next(label)) return false;
  const char* const end = found.last.data() + found.last.size();
  found.lastTwo = {label.data(), static_cast<std::size_t>(end - label.data())};
  return beginsWithLetter(found.last);
}

}  // namespace

bool findPlainHost(std::string_view url, PlainHost& found) noexcept {
  const ByteClasses bytes = classifyBytes(url.data(), url.size());
  std::size_t start = 0;
  if (!findStart(url, bytes.ends, start)) return false;
  const std::uint64_t ends = bytes.ends & ~below(start);
  std::size_t end = url.size() < kStride ? url.size() : kStride;
  if (ends != 0) end = lowest(ends);
  if (end <= start) return false;

  const std::uint64_t host = below(end) & ~below(start);
  if ((faults(bytes, start) & host) != 0) return false;
  const std::uint64_t dots = bytes.dots & host;

  if (ends == 0 && url.size() > kStride) {
    if (!findEnd(url, end, (dots >> (kStride - 1)) != 0)) return false;
    found.host = url.substr(start, end - start);
    return found.host.size() <= std::numeric_limits<int>::max() && findLastTwo(found);
  }
  const std::size_t nameEnd = (dots >> (end - 1)) != 0 ? end - 1 : end;
  const std::uint64_t inner = dots & below(nameEnd);
  if (inner == 0) return false;
  const std::size_t lastDot = highest(inner);
  const std::uint64_t before = inner & below(lastDot);
  const std::size_t lastTwo = before != 0 ? highest(before) + 1 : start;
  found.host = {url.data() + start, end - start};
  found.lastTwo = {url.data() + lastTwo, nameEnd - lastTwo};
  found.last = {url.data() + lastDot + 1, nameEnd - lastDot - 1};
  return beginsWithLetter(found.last);
}

}  // namespace vu::detail
