// Every name is kept once, with all that is listed at it. Look-ups go from two labels to the left
// as long as longer names are known to follow, so the names between a rule and its last two labels
// are kept, too.

#include "domain/table_builder.h"

#include <algorithm>
#include <limits>
#include <new>
#include <numeric>
#include <utility>

#include "domain/host.h"
#include "domain/name_key.h"

namespace vu::detail {
namespace {

char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

std::size_t powerOfTwoUpTo(std::size_t number) {
  std::size_t power = 1;
  while (power <= number / 2) power *= 2;
  return power;
}

template <std::size_t Count>
void append(std::string& bytes, std::uint64_t number) {
  char stored[Count];
  storeBytes<Count>(stored, number);
  bytes.append(stored, Count);
}

using Parts = std::vector<std::pair<std::string_view, std::string>>;

std::size_t upToEight(std::size_t size) { return (size + 7) / 8 * 8; }

/// Header, directory and parts as one block; the header's own fields are for the caller.
std::string joined(const Parts& parts) {
  std::string block(header::kBytes, '\0');
  std::size_t offset = upToEight(header::kBytes + parts.size() * kDirectoryRow);
  for (const auto& [name, bytes] : parts) {
    block += name;
    append<4>(block, 0);
    append<8>(block, offset);
    append<8>(block, bytes.size());
    offset = upToEight(offset + bytes.size());
  }
  for (const auto& part : parts) {
    block.resize(upToEight(block.size()));
    block += part.second;
  }
  return block;
}

void sealHeader(std::string& block) {
  storeBytes<4>(&block[header::kHeaderChecksum],
                crc32(std::string_view(block).substr(0, header::kHeaderChecksum)));
}

}  // namespace

TableBuilder::TableBuilder() : slots_(64) {}

void TableBuilder::reserve(std::size_t tokens) {
  drafts_.reserve(tokens + tokens / 4);
  texts_.reserve(16 * tokens);
  std::size_t slots = slots_.size();
  while (slots < drafts_.capacity() * 2) slots *= 2;
  resize(slots);
}

void TableBuilder::add(std::string_view token, unsigned section) {
  std::string_view name = token;
  Listing kind = kRule;
  Listing spelled = kSuffix;
  if (token.substr(0, 1) == "!") {
    kind = kException;
    spelled = kExceptionAsIs;
    name.remove_prefix(1);
  } else if (token.substr(0, 2) == "*.") {
    kind = kWildcard;
    spelled = kWildcardAsIs;
    name.remove_prefix(2);
  }
  const NameScan scan = scanName(name);
  if (!scan.isHostName) {
    listAsIs(findOrAdd(token), kOther, section);
    return;
  }
  const Index asIs = findOrAdd(name);
  Index folded = asIs;
  if (scan.hasCapitals) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
    folded = findOrAdd(lower);
    link(lower);
  }
  link(name);
  drafts_[folded].listings = static_cast<std::uint8_t>(drafts_[folded].listings | kind);
  listAsIs(asIs, spelled, section);
  for (const Index each : {asIs, folded}) {
    drafts_[each].sections =
        static_cast<std::uint8_t>(drafts_[each].sections | section << sectionShift(kind));
  }
}

/// Lists a token as it is spelled, and counts it when it is new.
void TableBuilder::listAsIs(Index at, Listing spelled, unsigned section) {
  Draft& draft = drafts_[at];
  if ((draft.listings & spelled) != 0) return;
  draft.listings = static_cast<std::uint8_t>(draft.listings | spelled);
  ++count_;
  ++ofSection_[section];
}

/// Marks the names of two labels or more that a name ends in.
void TableBuilder::link(std::string_view name) {
  for (std::size_t dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.')) {
    name.remove_prefix(dot + 1);
    if (name.find('.') == std::string_view::npos) return;
    Draft& end = drafts_[findOrAdd(name)];
    if ((end.listings & kDeeper) != 0) return;  // and so are those that this one ends in
    end.listings = static_cast<std::uint8_t>(end.listings | kDeeper);
  }
}

TableBuilder::Index TableBuilder::findOrAdd(std::string_view name) {
  const std::uint64_t key = nameKey(name);
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = static_cast<std::size_t>(key) & mask;
  for (; slots_[at] != 0; at = (at + 1) & mask) {
    const Draft& known = drafts_[slots_[at] - 1];
    if (known.key == key && nameOf(known) == name) return slots_[at] - 1;
  }
  constexpr std::size_t kMost = std::numeric_limits<Index>::max();
  if (drafts_.size() > kMost / 2 || texts_.size() > kMost - name.size()) throw std::bad_alloc();
  const auto text = static_cast<std::uint32_t>(texts_.size());
  drafts_.push_back({key, text, static_cast<std::uint16_t>(name.size()), 0, 0});
  texts_ += name;
  slots_[at] = static_cast<Index>(drafts_.size());
  if (drafts_.size() * 2 > slots_.size()) resize(slots_.size() * 2);
  return static_cast<Index>(drafts_.size() - 1);
}

void TableBuilder::resize(std::size_t slots) {
  std::vector<Index> fresh(slots);
  for (std::size_t i = 0; i < drafts_.size(); ++i) {
    std::size_t at = static_cast<std::size_t>(drafts_[i].key) & (slots - 1);
    while (fresh[at] != 0) at = (at + 1) & (slots - 1);
    fresh[at] = static_cast<Index>(i + 1);
  }
  slots_.swap(fresh);
}

/// Eight bits or more for each name of two labels.
std::string TableBuilder::filter() const {
  const auto isPair = [this](const Draft& draft) {
    const std::string_view name = nameOf(draft);
    return std::count(name.begin(), name.end(), '.') == 1;
  };
  const auto pairs =
      static_cast<std::size_t>(std::count_if(drafts_.begin(), drafts_.end(), isPair));
  std::string bytes(2 * powerOfTwoUpTo(std::max<std::size_t>(pairs, 4)), '\0');
  for (const Draft& draft : drafts_) {
    if (!isPair(draft)) continue;
    const std::size_t bit =
        static_cast<std::size_t>(endsKey(nameOf(draft))) & (bytes.size() * 8 - 1);
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] | 1 << bit % 8);
  }
  return bytes;
}

std::string TableBuilder::tops() const {
  std::string bytes(kTopsBytes, '\0');
  for (const Draft& draft : drafts_) {
    if ((draft.listings & kWildcard) == 0) continue;
    const std::string text = "." + std::string(nameOf(draft));
    if (text.find('.', 1) != std::string::npos) continue;
    const std::size_t bit = topBit(text.data() + text.size());
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] | 1 << bit % 8);
  }
  return bytes;
}

/// One or two rules a bucket; a bucket ends where the next one begins. Top levels come first, since
/// most hosts end in the same few.
void TableBuilder::sortIntoBuckets(std::string& buckets, std::string& rules) const {
  const std::size_t count = powerOfTwoUpTo(drafts_.size());
  const auto bucketOf = [count](const Draft& draft) {
    return static_cast<std::size_t>((draft.key >> 32) * count >> 32);
  };
  std::vector<Index> starts(count + 1);
  for (const Draft& draft : drafts_) ++starts[bucketOf(draft) + 1];
  std::partial_sum(starts.begin(), starts.end(), starts.begin());
  for (const Index start : starts) append<4>(buckets, start);
  rules.resize(drafts_.size() * kRuleBytes);
  std::vector<const Draft*> inOrder;
  inOrder.reserve(drafts_.size());
  for (const Draft& draft : drafts_) inOrder.push_back(&draft);
  std::stable_partition(inOrder.begin(), inOrder.end(), [this](const Draft* draft) {
    return nameOf(*draft).find('.') == std::string_view::npos;
  });
  for (const Draft* each : inOrder) {
    const Draft& draft = *each;
    char* const rule = &rules[starts[bucketOf(draft)]++ * kRuleBytes];
    storeBytes<4>(rule, draft.key);
    storeBytes<4>(rule + 4, draft.text);
    storeBytes<2>(rule + 8, draft.length);
    storeBytes<1>(rule + 10, draft.listings);
    storeBytes<1>(rule + 11, draft.sections);
  }
}

std::string TableBuilder::finish(const Facts& facts) {
  std::string buckets;
  std::string rules;
  sortIntoBuckets(buckets, rules);
  std::string block = joined({{kInfoSection, facts.info},
                              {kFilterSection, filter()},
                              {kTopsSection, tops()},
                              {kBucketSection, std::move(buckets)},
                              {kRuleSection, std::move(rules)},
                              {kTextSection, std::move(texts_)}});
  char* const bytes = block.data();
  kTableMagic.copy(bytes, kTableMagic.size());
  storeBytes<2>(bytes + header::kMajor, kTableMajor);
  storeBytes<2>(bytes + header::kMinor, kTableMinor);
  storeBytes<4>(bytes + header::kOrder, kByteOrder);
  storeBytes<8>(bytes + header::kSize, block.size());
  storeBytes<4>(bytes + header::kSections, 6);
  storeBytes<4>(bytes + header::kSuffixes, count_);
  storeBytes<4>(bytes + header::kMaxLabels, static_cast<std::uint32_t>(facts.maxLabels));
  storeBytes<4>(bytes + header::kIcann, ofSection_[kIcannRules]);
  storeBytes<4>(bytes + header::kPrivate, ofSection_[kPrivateRules]);
  storeBytes<4>(bytes + header::kOwn, ofSection_[kOwnRules]);
  sealHeader(block);
  return block;
}

void seal(std::string& block) {
  storeBytes<4>(&block[header::kBodyChecksum],
                crc32(std::string_view(block).substr(header::kBytes)));
  sealHeader(block);
}

}  // namespace vu::detail
