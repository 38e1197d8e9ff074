// Classifying a URL: from the host to the domain, and which rule decided. What decides is in
// match.cc; most hosts need no more than a look at 64 bytes and at one bit of the table.

#include <limits>

#include "domain/classify_host.h"
#include "domain/host.h"
#include "domain/match.h"
#include "domain/plain_name.h"
#include "domain/suffix_table.h"
#include "vu/domain.h"

using vu::detail::Chain;
using vu::detail::Cut;
using vu::detail::HostScan;
using vu::detail::JoinedLabels;
using vu::detail::mayBeListed;
using vu::detail::PlainHost;
using vu::detail::PlainName;
using vu::detail::plainName;
using vu::detail::RuleView;
using vu::detail::SuffixTable;

namespace {

/// A question to a table.
struct Question {
  const SuffixTable& table;
  int maxLabels;
  bool completes;  ///< Whether there is a default domain for single labels.
  vu_match match;
  unsigned sections = 0;  ///< Of SectionBits; 0 for all.
  bool explains = false;  ///< Whether the rule is of interest, also where it changes nothing.
};

Question questionTo(const vu_cctld& all, const SuffixTable& table, vu_match match) noexcept {
  return {table, all.maxLabels(), !all.defaultDomain().empty(), match};
}

constexpr Cut kTooShort{VU_COUNTRY_CODE_TOO_SHORT, nullptr, {}};

Cut cutChain(const Question& asked, const Chain& chain) noexcept {
  return asked.match == vu_match::shortest
             ? cutShortest(asked.table, asked.maxLabels, chain)
             : cutPublicSuffix(asked.table, chain, asked.sections, asked.explains);
}

/// The chain of labels that are joined by single dots; false for a single label.
bool findChain(std::string_view labels, Chain& chain) noexcept {
  const std::size_t dot = labels.rfind('.');
  if (dot == std::string_view::npos) return false;
  const std::size_t before = dot == 0 ? std::string_view::npos : labels.rfind('.', dot - 1);
  const std::string_view lastTwo = labels.substr(before + 1);  // npos + 1 is 0
  chain = {labels, lastTwo.data()};
  return true;
}

/// A host of a single label.
Cut cutTop(const Question& asked, std::string_view host) noexcept {
  Cut cut = kTooShort;
  if (!asked.explains) return cut;
  const RuleView top = asked.table.findFolded(vu::detail::nameKey(host), host);
  if (top && vu::detail::isListed(top, vu::detail::kRule, asked.sections)) cut.rule = top;
  return cut;
}

/// A host that is a name.
Cut cutName(const Question& asked, std::string_view host) noexcept {
  Chain chain;
  if (asked.match == vu_match::publicSuffix) {
    if (host.back() == '.') host.remove_suffix(1);
    return findChain(host, chain) ? cutChain(asked, chain) : cutTop(asked, host);
  }
  const JoinedLabels joined(host);
  if (!findChain(joined.chain(), chain)) return kTooShort;
  Cut cut = cutChain(asked, chain);
  if (cut.start != nullptr) cut.start = joined.inHost(cut.start);
  return cut;
}

/// Whether a host is labels joined by single dots, with one more at its end or without.
bool isChain(std::string_view host) noexcept {
  if (!host.empty() && host.back() == '.') host.remove_suffix(1);
  return vu::detail::isHostName(host);
}

void setCut(const Cut& cut, vu_domain& result) noexcept {
  result.status = cut.status;
  if (cut.start == nullptr) return;
  const std::string_view host = result.host;
  result.domain = host.substr(static_cast<std::size_t>(cut.start - host.data()));
  if (!host.empty() && host.back() == '.') result.domain.remove_suffix(1);
}

void setAddress(std::uint32_t number, vu_domain& result) noexcept {
  for (std::size_t i = 0; i < 4; ++i) {
    result.address[i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
  }
}

/// The general way: any host at all.
Cut decideAny(const Question& asked, std::string_view url, vu_domain& result) noexcept {
  constexpr Cut kNotADomain{VU_COUNTRY_CODE_NOT_A_DOMAIN, nullptr, {}};
  const std::string_view host = result.host = vu::detail::cutHost(url);
  const bool mayBeAnything = asked.match == vu_match::shortest || host.empty();
  if (host.size() > std::numeric_limits<int>::max() || !(mayBeAnything || isChain(host))) {
    return kNotADomain;
  }
  const HostScan scan = vu::detail::scanHost(host);
  if (scan.kind == HostScan::name) {
    result.kind = vu_host_kind::name;
    Cut cut = cutName(asked, host);
    if (cut.status == VU_COUNTRY_CODE_TOO_SHORT && asked.completes) cut.status = VU_SUCCESS;
    return cut;
  }
  if (scan.kind == HostScan::address) result.kind = vu_host_kind::ipv4;
  setAddress(scan.ipAddress, result);
  return scan.kind == HostScan::malformed ? kNotADomain : Cut{VU_SUCCESS, host.data(), {}};
}

/// Finds the host and decides about it; all of the result but status and domain is set then.
Cut decide(const Question& asked, std::string_view url, vu_domain& result) noexcept {
  if (url.data() == nullptr) return {VU_COUNTRY_CODE_EMPTY_URL, nullptr, {}};
  const PlainName name = plainName(url);
  if (!name.place) return decideAny(asked, url, result);
  result.kind = vu_host_kind::name;
  result.host = name.host();
  return cutChain(asked, name.chain());
}

[[gnu::noinline]] vu_domain classifyAny(const vu_cctld& all, const SuffixTable& table,
                                        vu_match match, std::string_view url) noexcept {
  vu_domain result{VU_SUCCESS, vu_host_kind::none, {}, {}, {}};
  if (url.data() == nullptr) {
    result.status = VU_COUNTRY_CODE_EMPTY_URL;
  } else {
    setCut(decideAny(questionTo(all, table, match), url, result), result);
  }
  return result;
}

[[gnu::noinline]] vu_domain classifyListed(const SuffixTable& table, int maxLabels, vu_match match,
                                           const char* text, PlainHost place) noexcept {
  const PlainName name{text, place};
  vu_domain result{VU_SUCCESS, vu_host_kind::name, name.host(), {}, {}};
  setCut(cutListed(table, maxLabels, match, name), result);
  return result;
}

/// An ordinary host. No call returns here: nothing needs saving.
[[gnu::always_inline]] inline vu_domain classifyPlain(const SuffixTable& table, int maxLabels,
                                                      vu_match match,
                                                      const PlainName& name) noexcept {
  if (mayBeListed(table, match, name)) {
    return classifyListed(table, maxLabels, match, name.text, name.place);
  }
  return {VU_SUCCESS, vu_host_kind::name, name.host(), name.domain(), {}};
}

vu_section sectionOf(unsigned sections) noexcept {
  if ((sections & vu::detail::kIcannRules) != 0) return vu_section::icann;
  return sections != 0 ? vu_section::privateDomains : vu_section::none;
}

vu_rule_kind ruleOf(const Cut& cut) noexcept {
  if (cut.kind == vu::detail::kWildcard) return vu_rule_kind::wildcard;
  return cut.kind == vu::detail::kException ? vu_rule_kind::exception : vu_rule_kind::suffix;
}

/// Of a plain host whose domain are its last two labels. Made where it stays: a part of it that was
/// copied would be read in larger pieces than it was just written in, which processors wait for.
inline vu_reason reasonOf(const PlainName& name, vu_rule_kind kind, unsigned sections,
                          std::string_view rule) noexcept {
  return {{VU_SUCCESS, vu_host_kind::name, name.host(), name.domain(), {}},
          kind,
          sectionOf(sections),
          rule};
}

/// Tells which rule decided, and sets what is cut.
void setReason(const Question& asked, unsigned narrowing, Cut cut, vu_reason& reason) noexcept {
  if (cut.rule) {
    reason.rule = ruleOf(cut);
    reason.section = sectionOf(cut.rule.sections(cut.kind));
    reason.name = asked.table.nameOf(cut.rule);
  } else if (asked.explains && reason.domain.kind == vu_host_kind::name) {
    reason.rule = vu_rule_kind::standard;
    const bool completed = cut.status == VU_SUCCESS && cut.start == nullptr;
    if ((narrowing & VU_LISTED_ONLY) != 0 && !completed) {
      cut = {VU_COUNTRY_CODE_NOT_A_DOMAIN, nullptr, {}};
      reason.domain.kind = vu_host_kind::none;
    }
  }
  setCut(cut, reason.domain);
}

[[gnu::noinline]] vu_reason explainAny(Question asked, std::string_view url,
                                       unsigned narrowing) noexcept {
  vu_reason reason{
      {VU_SUCCESS, vu_host_kind::none, {}, {}, {}}, vu_rule_kind::none, vu_section::none, {}};
  asked.explains = asked.match == vu_match::publicSuffix;
  if ((narrowing & VU_ICANN_ONLY) != 0) asked.sections = vu::detail::kIcannRules;
  const Cut cut = decide(asked, url, reason.domain);
  setReason(asked, narrowing, cut, reason);
  return reason;
}

[[gnu::noinline]] vu_reason explainListed(const SuffixTable& table, int maxLabels, vu_match match,
                                          const char* text, PlainHost place) noexcept {
  const PlainName name{text, place};
  vu_reason reason{{VU_SUCCESS, vu_host_kind::name, name.host(), {}, {}},
                   vu_rule_kind::none,
                   vu_section::none,
                   {}};
  const Question asked{table, maxLabels, false, match, 0, match == vu_match::publicSuffix};
  setReason(asked, 0, cutChain(asked, name.chain()), reason);
  return reason;
}

}  // namespace

vu_domain vu_cctld::classify(std::string_view url, vu_match match) const noexcept {
  const PlainName name = plainName(url);
  if (!name.place) return classifyAny(*this, *tldSet_, match, url);
  return classifyPlain(*tldSet_, maxLabels_, match, name);
}

vu_domain vu_cctld::classify(const vu_host& host, vu_match match) const noexcept {
  if (host.kind == vu_host_kind::name) {
    const PlainName name = plainName(host.text);
    if (name.place) return classifyPlain(*tldSet_, maxLabels_, match, name);
  }
  return vu::detail::classifyAnyHost(*this, host, match);
}

vu_reason vu_cctld::explain(std::string_view url, vu_match match,
                            unsigned narrowing) const noexcept {
  const PlainName name = plainName(url);
  if (!name.place || narrowing != 0) {
    return explainAny(questionTo(*this, *tldSet_, match), url, narrowing);
  }
  if (!mayBeListed(*tldSet_, match, name)) {
    if (match == vu_match::shortest) return reasonOf(name, vu_rule_kind::none, 0, {});
    const RuleView top = findTop(*tldSet_, name);
    if (top && isListed(top, vu::detail::kRule, 0)) {
      return reasonOf(name, vu_rule_kind::suffix, top.sections(vu::detail::kRule),
                      tldSet_->nameOf(top));
    }
  }
  return explainListed(*tldSet_, maxLabels_, match, url.data(), name.place);
}

std::string vu_reason::text() const {
  switch (rule) {
    case vu_rule_kind::none:
      return "";
    case vu_rule_kind::standard:
      return "*";
    case vu_rule_kind::wildcard:
      return std::string("*.").append(name);
    case vu_rule_kind::exception:
      return std::string("!").append(name);
    default:
      return std::string(name);
  }
}
