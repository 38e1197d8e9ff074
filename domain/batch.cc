// Many URLs in one call. The caller owns what goes in and what comes out, so that nothing here
// allocates; where the texts lie is the only difference between the forms.

#include <algorithm>
#include <cstring>
#include <limits>

#include "vu/domain.h"

static_assert(sizeof(vu_record) == 48 && offsetof(vu_record, kind) == 4 &&
                  offsetof(vu_record, host_start) == 8 && offsetof(vu_record, domain_start) == 16 &&
                  offsetof(vu_record, address) == 24 && offsetof(vu_record, reserved) == 40,
              "what other languages rely on");

namespace {

std::uint32_t startIn(std::string_view url, std::string_view part) noexcept {
  if (part.data() == nullptr) return 0;
  return static_cast<std::uint32_t>(part.data() - url.data());
}

vu_record recordOf(std::string_view url, const vu_domain& found) noexcept {
  vu_record record{};
  record.status = found.status;
  record.kind = static_cast<std::uint8_t>(found.kind);
  record.host_start = startIn(url, found.host);
  record.host_length = static_cast<std::uint32_t>(found.host.size());
  record.domain_start = startIn(url, found.domain);
  record.domain_length = static_cast<std::uint32_t>(found.domain.size());
  static_assert(sizeof record.address == sizeof found.address);
  std::memcpy(record.address, found.address.data(), sizeof record.address);
  return record;
}

vu_record classifyOne(const vu_cctld& table, std::string_view url, vu_match match) noexcept {
  if (url.size() > std::numeric_limits<std::uint32_t>::max()) {
    vu_record tooLong{};
    tooLong.status = VU_MALFORMED_URL;
    return tooLong;
  }
  return recordOf(url, table.classify(url, match));
}

/// `textAt` gives the URL of a number. A caller's record may be longer or shorter than ours.
template <typename TextAt>
void classifyAll(const vu_cctld& table, TextAt textAt, std::size_t count, vu_record* results,
                 vu_match match, std::size_t recordSize) noexcept {
  char* to = reinterpret_cast<char*>(results);
  const std::size_t known = std::min(recordSize, sizeof(vu_record));
  for (std::size_t i = 0; i < count; ++i, to += recordSize) {
    const vu_record record = classifyOne(table, textAt(i), match);
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
