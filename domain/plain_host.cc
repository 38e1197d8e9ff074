// Ordinary hosts that are longer than what is looked at in one go.

#include "domain/plain_host.h"

#include <algorithm>

#include "domain/plain_host_core.h"

namespace vu::detail {
namespace {

/// Whether a stride from there on lies in one page of memory, so that reading all of it faults only
/// where reading its first byte does.
bool staysInPage(const char* text) {
  constexpr std::uintptr_t kSmallestPage = 4096;
  return VU_READS_WITHIN_PAGE != 0 &&
         reinterpret_cast<std::uintptr_t>(text) % kSmallestPage <= kSmallestPage - kStride;
}

/// The classes of what is left of a text from a place on.
ByteClasses classesAt(std::string_view url, std::size_t at) {
  const std::size_t left = url.size() - at;
  if (left >= kStride) return classifyBytes(url.data() + at);
  return classifyBytes(PaddedBytes(url.data() + at, left).data());
}

/// Where the host that begins at `start` ends; npos when it is no plain one.
std::size_t findEnd(std::string_view url, std::size_t start) {
  bool begins = true;
  for (std::size_t at = start; at < url.size(); at += kStride) {
    const ByteClasses bytes = classesAt(url, at);
    const std::uint64_t places = bytes.dots << 1 | (begins ? 1 : 0);
    const std::uint64_t faults = places & ~bytes.beginnings;
    const std::size_t stop = lowest(bytes.others);
    if (lowest(faults) < stop) return std::string_view::npos;
    const std::size_t end = at + stop;
    if (stop < kStride) {
      const bool ended = end == url.size() || url[end] == '/' || url[end] == ':';
      return ended ? end : std::string_view::npos;
    }
    begins = (bytes.dots >> (kStride - 1)) != 0;
  }
  return url.size();
}

[[gnu::noinline]] PlainHost findInCopy(const char* text, std::size_t size) {
  return findPlainHostIn(PaddedBytes(text, size).data(), size);
}

}  // namespace

std::size_t sizeUpToNul(const char* text) noexcept {
  if (staysInPage(text)) return kUpToNul;
  const std::size_t size = strnlen(text, kStride);
  return size < kStride ? size : kUpToNul;
}

PlainHost findPlainHost(const char* text, std::size_t size) noexcept {
  // No branch by the size: those of URLs lie about a stride's, so that it would be mispredicted.
  const bool isLong = size >= kStride;
  const bool isReadable =
      (static_cast<unsigned>(isLong) | static_cast<unsigned>(staysInPage(text))) != 0;
  return size != 0 && isReadable ? findPlainHostIn(text, size) : findInCopy(text, size);
}

PlainHost findLongHost(const char* text, std::size_t size, std::size_t start) noexcept {
  if (size == kUpToNul) return {};
  const std::string_view url(text, std::min(size, PlainHost::kMostBytes));
  const std::size_t end = findEnd(url, start);
  if (end >= PlainHost::kMostBytes) return {};
  LabelsFromRight labels(url.substr(start, end - start));
  std::string_view last;
  std::string_view label;
  if (!labels.next(last) || !labels.next(label) || !isLetter(last[0])) return {};
  const auto placeOf = [&](const char* at) { return static_cast<std::size_t>(at - text); };
  return {start, end, placeOf(label.data()), placeOf(last.data() + last.size())};
}

}  // namespace vu::detail
