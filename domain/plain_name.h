// The name in an ordinary URL, and the quick question whether anything is listed for it.

#ifndef VU_DOMAIN_PLAIN_NAME_H_
#define VU_DOMAIN_PLAIN_NAME_H_

#include <string_view>

#include "domain/match.h"
#include "domain/name_key.h"
#include "domain/plain_host.h"
#include "domain/suffix_table.h"
#include "vu/domain.h"

namespace vu::detail {

/// A plain host in its URL.
struct PlainName {
  const char* text;
  PlainHost place;

  const char* start() const noexcept { return text + place.start(); }
  const char* lastTwo() const noexcept { return text + place.lastTwo(); }
  const char* end() const noexcept { return text + place.nameEnd(); }
  std::string_view host() const noexcept { return {start(), place.end() - place.start()}; }
  std::string_view domain() const noexcept {
    return {lastTwo(), place.nameEnd() - place.lastTwo()};
  }
  Chain chain() const noexcept { return {{start(), place.nameEnd() - place.start()}, lastTwo()}; }
  /// The key of the last two labels' ends.
  std::uint64_t key() const noexcept {
    return place.nameEnd() >= 8 ? endsKey(lastTwo(), end()) : endsKey(domain());
  }
};

/// The plain host of a URL, if its place says that there is one.
inline PlainName plainName(std::string_view url) noexcept {
  if (url.data() == nullptr) return {};
  return {url.data(), findPlainHost(url.data(), url.size())};
}
/// The same of a URL that ends at a NUL.
inline PlainName plainNameUpToNul(const char* url) noexcept {
  return {url, findPlainHost(url, sizeUpToNul(url))};
}

/// Whether a rule may be listed for it; seldom true without reason.
inline bool mayBeListed(const SuffixTable& table, vu_match match, const PlainName& name) noexcept {
  return table.mayKnow(name.key()) ||
         (match != vu_match::shortest && table.mayHaveWildcard(name.end()));
}

/// The rule for its last label alone, in any letter case; none may also be for want of a short way.
inline RuleView findTop(const SuffixTable& table, const PlainName& name) noexcept {
  constexpr std::uint64_t kEach = 0x0101010101010101U;
  if (name.place.nameEnd() < 8) return {};
  const std::uint64_t word = load64(name.end() - 8) | kLowerCase;
  // Its highest bit is set in each byte that is a dot, and no other bit.
  const std::uint64_t other = word ^ kEach * '.';
  const std::uint64_t dots = ~(((other & kEach * 127) + kEach * 127) | other) & kEach * 128;
  if (dots == 0) return {};
  const std::size_t size = static_cast<std::size_t>(__builtin_clzll(dots)) / 8;
  if (size == 0) return {};
  const std::uint64_t label = word >> (64 - 8 * size);
  return table.findShort(shortKey(label, size), label, size);
}

/// Cuts a plain host for which a rule may be listed.
inline Cut cutListed(const SuffixTable& table, int maxLabels, vu_match match,
                     const PlainName& name) noexcept {
  return match == vu_match::shortest ? cutShortest(table, maxLabels, name.chain())
                                     : cutPublicSuffix(table, name.chain(), 0, false);
}

}  // namespace vu::detail

#endif  // VU_DOMAIN_PLAIN_NAME_H_
