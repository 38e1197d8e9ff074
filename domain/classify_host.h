// Hosts that another rule has found, for those that are no ordinary names.

#ifndef VU_DOMAIN_CLASSIFY_HOST_H_
#define VU_DOMAIN_CLASSIFY_HOST_H_

#include "vu/domain.h"

namespace vu::detail {

/// vu_cctld::classify of any host.
vu_domain classifyAnyHost(const vu_cctld& table, const vu_host& host, vu_match match) noexcept;

}  // namespace vu::detail

#endif  // VU_DOMAIN_CLASSIFY_HOST_H_
