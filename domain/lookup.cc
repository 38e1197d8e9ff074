// The look-ups that throw. Nearly every URL is decided about within its first 64 bytes, where its
// end is told with everything else; what is not, `classify` decides.

#include <cstring>
#include <utility>

#include "domain/plain_name.h"
#include "domain/suffix_table.h"
#include "vu/domain.h"

using vu::detail::Cut;
using vu::detail::PlainName;

namespace {

/// Throws what a refusal by `lookup` says; `text` is the URL from its host on.
[[noreturn]] void refuse(vu_status status, const char* text) {
  constexpr vu_failure kind = vu_failure::domain;
  switch (status) {
    case VU_COUNTRY_CODE_NOT_A_DOMAIN:
      throw vu_exception(kind, std::string("vu_cctld::lookup: Not a URL domain name ") + text);
    case VU_COUNTRY_CODE_TOO_SHORT:
      throw vu_exception(kind,
                         std::string("Ill-formed domain name [") + text + "] - record too short 1");
    case VU_COUNTRY_CODE_PURE_DOMAIN:
      throw vu_exception(kind,
                         std::string("Ill-formed domain name [") + text + "] - Pure domain record");
    default:
      throw vu_exception(kind, "Top Level Domain lookup error : Empty URL");
  }
}

/// A domain to the end of its host.
struct Span {
  const char* host;
  const char* hostEnd;
  const char* domain;  ///< Null where a single label is to be completed.
};

/// The general way. Only a host that does not end among the first bytes needs the rest of its URL,
/// which may be long, to be read.
Span findAny(const vu_cctld& table, const char* url, unsigned int& ipAddress) {
  constexpr std::size_t kFirstBytes = 65;
  const std::string_view start(url, strnlen(url, kFirstBytes));
  vu_domain found = table.classify(start);
  if (start.size() == kFirstBytes && found.host.data() + found.host.size() == url + kFirstBytes) {
    found = table.classify(url);
  }
  ipAddress = found.ipAddress();
  if (found.status != VU_SUCCESS) refuse(found.status, found.host.data());
  return {found.host.data(), found.host.data() + found.host.size(), found.domain.data()};
}

/// What both forms of `lookup` begin with.
Span find(const vu_cctld& table, const vu::detail::SuffixTable& suffixes, const char* url,
          unsigned int& ipAddress) {
  ipAddress = 0;
  if (url == nullptr) refuse(VU_COUNTRY_CODE_EMPTY_URL, "");
  const PlainName name = vu::detail::plainNameUpToNul(url);
  if (!name.place) return findAny(table, url, ipAddress);
  const char* const hostEnd = url + name.place.end();
  if (!mayBeListed(suffixes, vu_match::shortest, name)) return {nullptr, hostEnd, name.lastTwo()};
  const Cut cut = cutListed(suffixes, table.maxLabels(), vu_match::shortest, name);
  if (cut.status != VU_SUCCESS) refuse(cut.status, name.start());
  return {nullptr, hostEnd, cut.start};
}

}  // namespace

const char* vu_cctld::lookup(const char* url, int& domainLength, unsigned int& ipAddress,
                             int& reserved) const {
  domainLength = 0;
  ipAddress = 0;
  reserved = 0;
  const Span found = find(*this, *tldSet_, url, ipAddress);
  const char* const start = found.domain != nullptr ? found.domain : found.host;
  domainLength = static_cast<int>(found.hostEnd - start);
  return found.domain;
}

int vu_cctld::lookup(const char* url, std::string& domain, unsigned int& ipAddress) const {
  const Span found = find(*this, *tldSet_, url, ipAddress);
  if (found.domain != nullptr && found.domain != found.hostEnd) {
    const bool dot = found.hostEnd[-1] == '.';
    domain.assign(found.domain, found.hostEnd - (dot ? 1 : 0));
    return 0;
  }
  if (defaultDomain_.empty()) throw vu_exception(vu_failure::domain, "Internal lookup return NULL");
  std::string completed(found.host, found.hostEnd);
  completed += '.';
  completed += defaultDomain_;
  domain = std::move(completed);
  return 0;
}
