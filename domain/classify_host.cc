// Hosts that another rule has found: names are cut as if they stood alone, all else is passed on.

#include "domain/classify_host.h"

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

/// What a name comes to of which `part` was found to be `found`: a domain begins where it does for
/// what is behind it alone. Whatever is no chain of labels, or one by the service's rule alone,
/// which skips what is none, is refused.
vu_domain asName(const vu_host& host, std::string_view part, const vu_domain& found) noexcept {
  vu_domain result{VU_COUNTRY_CODE_NOT_A_DOMAIN, vu_host_kind::name, host.text, {}, {}};
  const bool isWhole = part.size() == host.text.size();
  const bool hasDomain = found.status == VU_SUCCESS && !found.domain.empty();
  if (found.isAddress() || !(isWhole || hasDomain)) return result;
  result.status = found.status;
  result.domain = found.domain;
  return result;
}

std::string_view partOf(const vu_host& host, vu_match match) noexcept {
  return match == vu_match::publicSuffix ? chainAtEnd(host.text) : host.text;
}

}  // namespace

vu_domain vu::detail::classifyAnyHost(const vu_cctld& table, const vu_host& host,
                                      vu_match match) noexcept {
  if (host.kind != vu_host_kind::name) return passOn(host);
  const std::string_view part = partOf(host, match);
  return asName(host, part, table.classify(part, match));
}

vu_reason vu_cctld::explain(const vu_host& host, vu_match match,
                            unsigned narrowing) const noexcept {
  if (host.kind != vu_host_kind::name) {
    return {passOn(host), vu_rule_kind::none, vu_section::none, {}};
  }
  const std::string_view part = partOf(host, match);
  vu_reason reason = explain(part, match, narrowing);
  reason.domain = asName(host, part, reason.domain);
  return reason;
}
