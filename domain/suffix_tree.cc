#include "domain/suffix_tree.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <new>
#include <utility>

#include "domain/host.h"

namespace vu::detail {
namespace {

constexpr std::size_t kLongestLabel = 1023;  // a token of a definition file is no longer

char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

std::uint32_t hashOf(SuffixTree::Node parent, std::string_view label) {
  return static_cast<std::uint32_t>(mixKey(textKey(label) + parent));
}

bool equalsIgnoringCase(std::string_view label, std::string_view lower) {
  return std::equal(label.begin(), label.end(), lower.begin(), lower.end(),
                    [](char a, char b) { return lowerCase(a) == b; });
}

}  // namespace

SuffixTree::SuffixTree() : nodes_(1), slots_(64), pairs_(1), filter_(1, ~std::uint64_t{0}) {}

void SuffixTree::reserve(std::size_t tokens) {
  nodes_.reserve(tokens + tokens / 4);
  std::size_t size = slots_.size();
  while (size < nodes_.capacity() * 2) size *= 2;
  resizeSlots(size);
}

void SuffixTree::insert(std::string_view token) {
  SuffixListing meaning = kRule;
  if (token.substr(0, 1) == "!") {
    meaning = kException;
    token.remove_prefix(1);
  } else if (token.substr(0, 2) == "*.") {
    meaning = kWildcard;
    token.remove_prefix(2);
  }
  Node exact = nodeBesideLast(token);
  Node folded = exact;
  if (exact == kNone) {
    const NameScan scan = scanName(token);
    if (!scan.isHostName) return;
    exact = folded = walkTo(token);
    if (scan.hasCapitals) {
      std::string lower(token);
      std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
      folded = walkTo(lower);
    } else {
      lastAbove_ = token.substr(std::min(token.find('.'), token.size()));
      lastParent_ = nodes_[exact].parent;
    }
  }
  list(folded, meaning);
  if (meaning == kRule) list(exact, kSuffix);
}

/// The node of a name in lower case that has the same behind its first label as the last one had;
/// kNone for any other.
SuffixTree::Node SuffixTree::nodeBesideLast(std::string_view name) {
  const std::size_t size = name.size() - std::min(name.size(), lastAbove_.size());
  if (name.substr(size) != lastAbove_) return kNone;
  const std::string_view label = name.substr(0, size);
  const NameScan scan = scanName(label);
  const bool known = scan.isHostName && !scan.hasDots && !scan.hasCapitals;
  return known ? childOrNew(lastParent_, label) : kNone;
}

/// The node of a name, made with all above it where they are missing.
SuffixTree::Node SuffixTree::walkTo(std::string_view name) {
  Node node = kRoot;
  while (true) {
    const std::size_t dot = name.rfind('.');
    node = childOrNew(node, name.substr(dot + 1));  // npos + 1 is 0
    if (dot == std::string_view::npos) return node;
    name = name.substr(0, dot);
  }
}

void SuffixTree::list(Node node, SuffixListing listing) noexcept {
  nodes_[node].listings = static_cast<std::uint8_t>(nodes_[node].listings | listing);
}

SuffixTree::Node SuffixTree::childOrNew(Node parent, std::string_view label) {
  const std::uint32_t hash = hashOf(parent, label);
  const Node known = findChild(parent, label, hash, std::equal_to<>());
  if (known != kNone) return known;
  constexpr std::size_t most = std::numeric_limits<std::uint32_t>::max();
  if (nodes_.size() > most / 2 || texts_.size() > most / 2) throw std::bad_alloc();
  if (nodes_.size() * 2 > slots_.size()) resizeSlots(slots_.size() * 2);
  const auto node = static_cast<Node>(nodes_.size());
  const auto text = static_cast<std::uint32_t>(texts_.size());
  texts_ += label;
  if (parent != kRoot && nodes_[parent].parent == kRoot) {
    texts_ += '.';
    texts_ += labelOf(parent);  // a view of the same string, which the dot may have moved
  }
  nodes_.push_back({parent, text, static_cast<std::uint16_t>(label.size()), 0});
  *freeSlot(slots_, hash) = {hash, node};
  return node;
}

void SuffixTree::resizeSlots(std::size_t size) {
  std::vector<Slot> old(size);
  old.swap(slots_);
  for (const Slot& slot : old) {
    if (slot.node != kNone) *freeSlot(slots_, slot.hash) = slot;
  }
}

SuffixTree::Slot* SuffixTree::freeSlot(std::vector<Slot>& slots, std::uint32_t hash) noexcept {
  const std::size_t mask = slots.size() - 1;
  std::size_t at = hash & mask;
  while (slots[at].node != kNone) at = (at + 1) & mask;
  return &slots[at];
}

std::string_view SuffixTree::labelOf(Node node) const noexcept {
  return std::string_view(texts_).substr(nodes_[node].text, nodes_[node].length);
}

/// Whether a node stands two labels below the root.
bool SuffixTree::isPair(Node node) const noexcept {
  const Node parent = nodes_[node].parent;
  return parent != kRoot && nodes_[parent].parent == kRoot;
}

/// Both labels of such a node, joined by a dot.
std::string_view SuffixTree::pairOf(Node node) const noexcept {
  const std::size_t top = nodes_[nodes_[node].parent].length;
  return std::string_view(texts_).substr(nodes_[node].text, nodes_[node].length + 1 + top);
}

template <typename IsLabel>
SuffixTree::Node SuffixTree::findChild(Node parent, std::string_view label, std::uint32_t hash,
                                       IsLabel isLabel) const noexcept {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask; slots_[at].node != kNone; at = (at + 1) & mask) {
    const Node node = slots_[at].node;
    if (slots_[at].hash == hash && nodes_[node].parent == parent && isLabel(label, labelOf(node))) {
      return node;
    }
  }
  return kNone;
}

SuffixTree::Node SuffixTree::child(Node parent, std::string_view label) const noexcept {
  if (label.size() > kLongestLabel) return kNone;
  return findChild(parent, label, hashOf(parent, label), std::equal_to<>());
}

SuffixTree::Node SuffixTree::childIgnoringCase(Node parent, std::string_view label) const noexcept {
  if (label.size() > kLongestLabel) return kNone;
  return findChild(parent, label, hashOf(parent, label), equalsIgnoringCase);
}

void SuffixTree::indexPairs() {
  constexpr std::size_t kBitsPerKey = 8;
  const auto isTopWildcard = [this](Node node) {
    return nodes_[node].parent == kRoot && (listings(node) & kWildcard) != 0;
  };
  std::size_t keys = 0;
  for (Node node = 1; node < nodes_.size(); ++node) {
    if (isPair(node) || isTopWildcard(node)) ++keys;
  }
  std::size_t words = 1;
  while (words * 64 < keys * kBitsPerKey) words *= 2;
  std::vector<std::uint64_t> filter(words);
  std::vector<Slot> pairs(words * (64 / kBitsPerKey * 2));  // half full at the most
  const auto addToFilter = [&filter](std::uint64_t key) {
    const std::size_t bit = static_cast<std::size_t>(key) & (filter.size() * 64 - 1);
    filter[bit / 64] |= std::uint64_t{1} << bit % 64;
  };
  for (Node node = 1; node < nodes_.size(); ++node) {
    if (isPair(node)) {
      const std::uint64_t key = textKey(pairOf(node));
      const auto hash = static_cast<std::uint32_t>(key);
      addToFilter(key);
      *freeSlot(pairs, hash) = {hash, node};
    } else if (isTopWildcard(node)) {
      addToFilter(~textKey(labelOf(node)));
    }
  }
  filter_.swap(filter);
  filterMask_ = words * 64 - 1;
  pairs_.swap(pairs);
}

SuffixTree::Node SuffixTree::pair(std::string_view lastTwo) const noexcept {
  const auto hash = static_cast<std::uint32_t>(textKey(lastTwo));
  const std::size_t mask = pairs_.size() - 1;
  for (std::size_t at = hash & mask; pairs_[at].node != kNone; at = (at + 1) & mask) {
    if (pairs_[at].hash == hash && pairOf(pairs_[at].node) == lastTwo) return pairs_[at].node;
  }
  return kNone;
}

}  // namespace vu::detail
