// The suffixes of a table, as they are used by every look-up: views into one block of bytes.
//
// Names are found by a key of their whole text: the key's high bits choose a bucket, whose rules
// stand together. Most hosts need no bucket: a filter over the names of two labels tells that
// nothing is listed for them.
//
// Invariants: where the parts of the block lie is copied out of it and checked once; whatever else
// is read from it may change at any time, and is bounded where it is followed.
// Threads: const members may run in any number of threads at once.

#ifndef VU_DOMAIN_SUFFIX_TABLE_H_
#define VU_DOMAIN_SUFFIX_TABLE_H_

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "domain/name_key.h"
#include "domain/table_format.h"

namespace vu::detail {

/// Bytes that a table lies in, and who gives them back.
using BlockOwner = std::shared_ptr<const char>;

inline bool equalsFolded(const char* name, const char* lower, std::size_t size) noexcept {
  for (std::size_t i = 0; i < size; ++i) {
    const char c = name[i];
    if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c) != lower[i]) return false;
  }
  return true;
}

/// Asks for memory that will be read soon. The empty instruction keeps compilers from dropping
/// functions that do nothing else.
inline void prefetch(const char* bytes) noexcept {
  __builtin_prefetch(bytes);
  asm volatile("");
}

class SuffixTable {
 public:
  /// A table without suffixes.
  SuffixTable() = default;

  /// Takes a block of `size` bytes. Returns "" and has the block, or why it cannot be used ("is cut
  /// off", ...) and is as it was. What is behind the header is bounded, not checked.
  std::string adopt(BlockOwner owner, std::size_t size);

  /// Whether all bytes are those that were written.
  bool isIntact() const noexcept;

  /// False when no suffix of two labels or more can match a host whose last two labels have this
  /// key. May be true without reason, seldom.
  bool mayKnow(std::uint64_t key) const noexcept {
    return isSet(filter_, static_cast<std::size_t>(key & filterMask_));
  }
  /// The same for a wildcard in front of the top level of a host that ends at `end` and has at
  /// least two bytes.
  bool mayHaveWildcard(const char* end) const noexcept { return isSet(tops_, topBit(end)); }

  // What a look-up will read, fetched while something else is done, each when the one in front has
  // come: the filter, a bucket, its rules, and the text of the rule that may be the one.
  void prefetchFilter(std::uint64_t key) const noexcept {
    prefetch(filter_ + static_cast<std::size_t>(key & filterMask_) / 8);
  }
  void prefetchBucket(std::uint64_t key) const noexcept { prefetch(bucketOf(key)); }
  void prefetchRules(std::uint64_t key) const noexcept {
    const std::size_t first = load32(bucketOf(key));
    if (first < ruleCount_) prefetch(rules_ + first * kRuleBytes);
  }
  void prefetchText(std::uint64_t key) const noexcept {
    eachWithTag(key, [this](RuleView each) {
      prefetch(nameOf(each).data());
      return false;
    });
  }

  /// What is known of a name with this key, none if nothing.
  RuleView find(std::uint64_t key, std::string_view name) const noexcept {
    return findBy(key, name, [](const char* a, const char* b, std::size_t size) {
      return std::memcmp(a, b, size) == 0;
    });
  }
  /// The same for the name in lower case.
  RuleView findFolded(std::uint64_t key, std::string_view name) const noexcept {
    return findBy(key, name, equalsFolded);
  }

  /// The same for a name of fewer than eight bytes, which is given as a number.
  RuleView findShort(std::uint64_t key, std::uint64_t word, std::size_t size) const noexcept {
    return eachWithTag(key, [&](RuleView each) {
      const std::size_t at = each.text();
      if (each.length() != size || at > textBytes_) return false;
      const bool readable = textBytes_ - at >= 8;
      return readable ? (load64(texts_ + at) ^ word) << (64 - 8 * size) == 0
                      : nameOf(each).size() == size && shortWord(texts_ + at, size) == word;
    });
  }

  /// The name of a rule; "" when it has changed to nonsense.
  std::string_view nameOf(RuleView rule) const noexcept {
    const std::size_t at = rule.text();
    const std::size_t length = rule.length();
    if (length > textBytes_ || at > textBytes_ - length) return {};
    return {texts_ + at, length};
  }

  std::size_t ruleCount() const noexcept { return ruleCount_; }
  RuleView rule(std::size_t i) const noexcept { return RuleView(rules_ + i * kRuleBytes); }

  /// A field of the header; 0 in a table without suffixes.
  std::uint32_t fact(std::size_t field) const noexcept { return load32(block_.get() + field); }
  std::string_view info() const noexcept { return info_; }
  /// The block; "" when there is none.
  std::string_view bytes() const noexcept { return {block_.get(), size_}; }

 private:
  static bool isSet(const char* bits, std::size_t bit) noexcept {
    return (static_cast<unsigned char>(bits[bit / 8]) >> bit % 8 & 1) != 0;
  }

  const char* bucketOf(std::uint64_t key) const noexcept {
    return buckets_ + static_cast<std::size_t>(key >> 32 >> bucketShift_) * 4;
  }

  /// The first rule with the lower half of a key for which `isIt`; none if there is none.
  template <typename IsIt>
  RuleView eachWithTag(std::uint64_t key, IsIt isIt) const noexcept {
    const char* const bucket = bucketOf(key);
    const std::size_t end = std::min<std::size_t>(load32(bucket + 4), ruleCount_);
    const auto tag = static_cast<std::uint32_t>(key);
    for (std::size_t i = load32(bucket); i < end; ++i) {
      const RuleView each = rule(i);
      if (each.tag() == tag && isIt(each)) return each;
    }
    return {};
  }

  template <typename Equal>
  RuleView findBy(std::uint64_t key, std::string_view name, Equal equal) const noexcept {
    return eachWithTag(key, [&](RuleView each) {
      const std::string_view text = nameOf(each);
      return text.size() == name.size() && equal(name.data(), text.data(), name.size());
    });
  }

  /// What a table without suffixes looks into.
  static constexpr char kNothing[kTopsBytes] = {};

  const char* filter_ = kNothing;
  std::uint64_t filterMask_ = 63;  ///< The number of its bits less one.
  const char* tops_ = kNothing;
  const char* buckets_ = kNothing;
  unsigned bucketShift_ = 32;
  const char* rules_ = kNothing;
  std::size_t ruleCount_ = 0;
  const char* texts_ = kNothing;
  std::size_t textBytes_ = 0;
  std::string_view info_;
  BlockOwner block_{BlockOwner(), kNothing};
  std::size_t size_ = 0;
};

}  // namespace vu::detail

#endif  // VU_DOMAIN_SUFFIX_TABLE_H_
