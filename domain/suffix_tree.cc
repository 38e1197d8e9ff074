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

bool isUpperCase(char c) { return c >= 'A' && c <= 'Z'; }
char lowerCase(char c) { return isUpperCase(c) ? static_cast<char>(c + ('a' - 'A')) : c; }

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
  while (slots_.size() < nodes_.capacity() * 2) growSlots();
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
  if (!isHostName(token)) return;
  const Node exact = nodeFor(token);
  Node folded = exact;
  if (std::any_of(token.begin(), token.end(), isUpperCase)) {
    std::string lower(token);
    std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
    folded = nodeFor(lower);
  }
  list(folded, meaning);
  if (meaning == kRule) list(exact, kSuffix);
}

/// The node of a name, made with all above it where they are missing.
SuffixTree::Node SuffixTree::nodeFor(std::string_view name) {
  const std::size_t firstDot = std::min(name.find('.'), name.size() - 1);
  const std::string_view above = name.substr(firstDot + 1);
  if (above != lastAbove_) {
    const Node parent = above.empty() ? kRoot : walkTo(above);
    lastAbove_ = above;
    lastParent_ = parent;
  }
  const std::string_view label = name.substr(0, above.empty() ? name.size() : firstDot);
  const Node known = child(lastParent_, label);
  return known != kNone ? known : addChild(lastParent_, label);
}

/// The same, label by label from the right.
SuffixTree::Node SuffixTree::walkTo(std::string_view name) {
  Node node = kRoot;
  while (true) {
    const std::size_t dot = name.rfind('.');
    const std::string_view label = name.substr(dot == std::string_view::npos ? 0 : dot + 1);
    const Node known = child(node, label);
    node = known != kNone ? known : addChild(node, label);
    if (dot == std::string_view::npos) return node;
    name = name.substr(0, dot);
  }
}

void SuffixTree::list(Node node, SuffixListing listing) noexcept {
  nodes_[node].listings = static_cast<std::uint8_t>(nodes_[node].listings | listing);
}

SuffixTree::Node SuffixTree::addChild(Node parent, std::string_view label) {
  constexpr std::size_t most = std::numeric_limits<std::uint32_t>::max();
  if (nodes_.size() > most / 2 || texts_.size() > most - label.size()) throw std::bad_alloc();
  if (nodes_.size() * 2 > slots_.size()) growSlots();
  const auto node = static_cast<Node>(nodes_.size());
  const auto text = static_cast<std::uint32_t>(texts_.size());
  texts_ += label;
  nodes_.push_back({parent, text, static_cast<std::uint16_t>(label.size()), 0});
  const std::uint32_t hash = hashOf(parent, label);
  *freeSlot(slots_, hash) = {hash, node};
  return node;
}

void SuffixTree::growSlots() {
  std::vector<Slot> old(slots_.size() * 2);
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

template <typename IsLabel>
SuffixTree::Node SuffixTree::findChild(Node parent, std::string_view label,
                                       IsLabel isLabel) const noexcept {
  if (label.size() > kLongestLabel) return kNone;
  const std::uint32_t hash = hashOf(parent, label);
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
  return findChild(parent, label, std::equal_to<>());
}

SuffixTree::Node SuffixTree::childIgnoringCase(Node parent, std::string_view label) const noexcept {
  return findChild(parent, label, equalsIgnoringCase);
}

/// What of a node stands in the filter: a pair of labels by its text, a wildcard of a top level.
/// 0 for nothing.
std::uint64_t SuffixTree::filterKeyOf(Node node, std::string& buffer) const {
  const Node parent = nodes_[node].parent;
  if (parent == kRoot) return (listings(node) & kWildcard) != 0 ? ~textKey(labelOf(node)) : 0;
  if (nodes_[parent].parent != kRoot) return 0;
  buffer.assign(labelOf(node)).append(".").append(labelOf(parent));
  return textKey(buffer);
}

void SuffixTree::indexPairs() {
  constexpr std::size_t kBitsPerKey = 8;
  std::vector<std::pair<std::uint64_t, Node>> keys;
  keys.reserve(nodes_.size());
  std::string buffer;
  for (Node node = 1; node < nodes_.size(); ++node) {
    const std::uint64_t key = filterKeyOf(node, buffer);
    if (key != 0) keys.emplace_back(key, node);
  }
  std::size_t words = 1;
  while (words * 64 < keys.size() * kBitsPerKey) words *= 2;
  std::vector<std::uint64_t> filter(words);
  std::vector<Slot> pairs(words * (64 / kBitsPerKey * 2));  // half full at the most
  for (const auto& [key, node] : keys) {
    const std::uint64_t bit = key & (words * 64 - 1);
    filter[bit / 64] |= std::uint64_t{1} << bit % 64;
    const auto hash = static_cast<std::uint32_t>(key);
    if (nodes_[node].parent != kRoot) *freeSlot(pairs, hash) = {hash, node};
  }
  filter_.swap(filter);
  filterMask_ = words * 64 - 1;
  pairs_.swap(pairs);
}

bool SuffixTree::isPair(Node node, std::string_view text) const noexcept {
  const std::string_view label = labelOf(node);
  const std::string_view top = labelOf(nodes_[node].parent);
  return text.size() == label.size() + 1 + top.size() && text.substr(0, label.size()) == label &&
         text.substr(label.size() + 1) == top;
}

SuffixTree::Node SuffixTree::pair(std::string_view lastTwo) const noexcept {
  const auto hash = static_cast<std::uint32_t>(textKey(lastTwo));
  const std::size_t mask = pairs_.size() - 1;
  for (std::size_t at = hash & mask; pairs_[at].node != kNone; at = (at + 1) & mask) {
    if (pairs_[at].hash == hash && isPair(pairs_[at].node, lastTwo)) return pairs_[at].node;
  }
  return kNone;
}

}  // namespace vu::detail
