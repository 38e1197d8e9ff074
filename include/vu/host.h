// What a host is: the words that the look-up of domains and the reading of URLs share.

#ifndef VU_HOST_H_
#define VU_HOST_H_

#include <cstdint>

/// The kinds of hosts.
enum class vu_host_kind : std::uint8_t {
  none,  ///< There is no host, or it was refused.
  name,
  ipv4,
  ipv6
};

#endif  // VU_HOST_H_
