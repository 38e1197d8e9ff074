// Many URLs in one call. The caller owns what goes in and what comes out, so that nothing here
// allocates; where the texts lie is the only difference between the forms.

#include <algorithm>
#include <cstring>

#include "domain/record.h"
#include "vu/domain.h"

namespace {

using vu::detail::classifyInto;

/// `textAt` gives the URL of a number. A caller's record may be longer or shorter than ours.
template <typename TextAt>
void classifyAll(const vu_cctld& table, TextAt textAt, std::size_t count, vu_record* results,
                 vu_match match, std::size_t recordSize) noexcept {
  if (recordSize == sizeof(vu_record)) {
    for (std::size_t i = 0; i < count; ++i) classifyInto(results[i], table, textAt(i), match);
    return;
  }
  char* to = reinterpret_cast<char*>(results);
  const std::size_t known = std::min(recordSize, sizeof(vu_record));
  for (std::size_t i = 0; i < count; ++i, to += recordSize) {
    vu_record record;
    classifyInto(record, table, textAt(i), match);
    std::memcpy(to, &record, known);
    std::memset(to + known, 0, recordSize - known);
  }
}

template <typename Offset>
auto textsBetween(const char* bytes, const Offset* offsets) noexcept {
  return [=](std::size_t i) noexcept {
    const Offset start = offsets[i];
    const Offset end = offsets[i + 1];
    if (start < 0 || end < start) return std::string_view();
    // An engine may leave out the bytes where all its texts are empty.
    if (bytes == nullptr) return end == start ? std::string_view("") : std::string_view();
    return std::string_view(bytes + start, static_cast<std::size_t>(end - start));
  };
}

}  // namespace

void vu_cctld::classify(const char* bytes, const std::int32_t* offsets, std::size_t count,
                        vu_record* results, vu_match match, std::size_t recordSize) const noexcept {
  classifyAll(*this, textsBetween(bytes, offsets), count, results, match, recordSize);
}

void vu_cctld::classify(const char* bytes, const std::int64_t* offsets, std::size_t count,
                        vu_record* results, vu_match match, std::size_t recordSize) const noexcept {
  classifyAll(*this, textsBetween(bytes, offsets), count, results, match, recordSize);
}

void vu_cctld::classify(const vu_text* urls, std::size_t count, vu_record* results, vu_match match,
                        std::size_t recordSize) const noexcept {
  const auto textAt = [=](std::size_t i) noexcept {
    return urls[i].data == nullptr ? std::string_view()
                                   : std::string_view(urls[i].data, urls[i].size);
  };
  classifyAll(*this, textAt, count, results, match, recordSize);
}
