// Hosts that another rule has found: names are cut as if they stood alone, all else is passed on.

#include <algorithm>

#include "domain/host.h"
#include "vu/domain.h"

namespace {

/// The end of a name that is a chain of labels; what browsers call a name may hold anything.
std::string_view chainAtEnd(std::string_view name) noexcept {
  const std::size_t end = name.size() - (!name.empty() && name.back() == '.' ? 1 : 0);
  std::size_t start = end;
  for (std::size_t labelEnd = end;;) {
    std::size_t at = labelEnd;
    while (at > 0 && vu::detail::insideLabel(name[at - 1])) --at;
    const bool isLabel = at < labelEnd && vu::detail::beginsLabel(name[at]);
    if (!isLabel || (at > 0 && name[at - 1] != '.')) break;
    start = at;
    if (at == 0) break;
    labelEnd = at - 1;
  }
  return name.substr(start);
}

/// What is no name: an address is a domain itself.
vu_domain passOn(const vu_host& host) noexcept {
  vu_domain result{VU_SUCCESS, host.kind, host.text, host.text, host.address};
  if (!result.isAddress()) {
    const bool absent = host.kind == vu_host_kind::none && host.refused == vu_host_refusal::none;
    result.status = absent ? VU_COUNTRY_CODE_EMPTY_URL : VU_COUNTRY_CODE_NOT_A_DOMAIN;
    result.domain = {};
  }
  return result;
}

}  // namespace

vu_domain vu_cctld::classify(const vu_host& host, vu_match match) const noexcept {
  if (host.kind != vu_host_kind::name) return passOn(host);
  vu_domain result = classify(host.text, match);
  if (result.status != VU_COUNTRY_CODE_NOT_A_DOMAIN && !result.isAddress()) return result;
  // Not a chain of labels, or one by the service's rule alone, which skips what is no label.
  const vu_domain refused{VU_COUNTRY_CODE_NOT_A_DOMAIN, vu_host_kind::name, host.text, {}, {}};
  if (match != vu_match::publicSuffix) return refused;
  // Where a domain begins depends on what is behind it alone.
  result = classify(chainAtEnd(host.text), match);
  if (result.status != VU_SUCCESS || result.domain.empty()) return refused;
  result.host = host.text;
  return result;
}
