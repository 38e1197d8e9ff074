// What a URL comes to as the plain bytes of a record: for one URL and for many.

#ifndef VU_DOMAIN_RECORD_H_
#define VU_DOMAIN_RECORD_H_

#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#include "vu/domain.h"

namespace vu::detail {

static_assert(sizeof(vu_record) == 48 && offsetof(vu_record, kind) == 4 &&
                  offsetof(vu_record, host_start) == 8 && offsetof(vu_record, domain_start) == 16 &&
                  offsetof(vu_record, address) == 24 && offsetof(vu_record, reserved) == 40,
              "what other languages rely on");

inline std::uint32_t startIn(const char* url, std::string_view part) noexcept {
  if (part.data() == nullptr) return 0;
  return static_cast<std::uint32_t>(part.data() - url);
}

/// Sets what was found, of which the views are into `text`, in a record of zeros.
inline void setFound(vu_record& record, const char* text, const vu_domain& found) noexcept {
  record.status = found.status;
  record.kind = static_cast<std::uint8_t>(found.kind);
  record.host_start = startIn(text, found.host);
  record.host_length = static_cast<std::uint32_t>(found.host.size());
  record.domain_start = startIn(text, found.domain);
  record.domain_length = static_cast<std::uint32_t>(found.domain.size());
  static_assert(sizeof record.address == sizeof found.address);
  std::memcpy(record.address, found.address.data(), sizeof record.address);
}

/// Writes the record where it stays: a copy would be read in larger pieces than it was just written
/// in, which processors wait for.
inline void classifyInto(vu_record& record, const vu_cctld& table, std::string_view url,
                         vu_match match) noexcept {
  record = {};
  if (url.size() > std::numeric_limits<std::uint32_t>::max()) {
    record.status = VU_MALFORMED_URL;
  } else {
    setFound(record, url.data(), table.classify(url, match));
  }
}

}  // namespace vu::detail

#endif  // VU_DOMAIN_RECORD_H_
