#include "domain/suffix_tree.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>

#include "domain/host.h"

namespace vu::detail {
namespace {

constexpr std::size_t kLongestLabel = 1023;  // a token of a definition file is no longer

char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

std::uint64_t mix(std::uint64_t value) {
  value *= 0x9E3779B97F4A7C15U;  // 2^64 divided by the golden ratio: Knuth's multiplicative hashing
  return value ^ value >> 32;
}

/// A fixed hash will do: who writes the definition file is trusted not to make labels collide, and
/// hosts cannot add any.
std::uint32_t hashOf(SuffixTree::Node parent, std::string_view label) {
  std::uint64_t hash = mix(parent + (std::uint64_t{label.size()} << 32));
  while (!label.empty()) {
    std::uint64_t word = 0;
    const std::size_t size = std::min(label.size(), sizeof word);
    std::memcpy(&word, label.data(), size);
    hash = mix(hash ^ word);
    label.remove_prefix(size);
  }
  return static_cast<std::uint32_t>(hash);
}

}  // namespace

SuffixTree::SuffixTree() : nodes_(1), slots_(64) {}

void SuffixTree::insert(std::string_view token) {
  const Node exact = isHostName(token) ? nodeFor(token) : kNone;

  SuffixListing meaning = kRule;
  if (token.substr(0, 1) == "!") {
    meaning = kException;
    token.remove_prefix(1);
  } else if (token.substr(0, 2) == "*.") {
    meaning = kWildcard;
    token.remove_prefix(2);
  }
  if (!isHostName(token)) return;
  std::string folded(token);
  std::transform(folded.begin(), folded.end(), folded.begin(), lowerCase);
  list(nodeFor(folded), meaning);
  if (exact != kNone) list(exact, kSuffix);
}

/// The node of a name, made with all above it where they are missing.
SuffixTree::Node SuffixTree::nodeFor(std::string_view name) {
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
  *freeSlot(hash) = {hash, node};
  return node;
}

void SuffixTree::growSlots() {
  std::vector<Slot> old(slots_.size() * 2);
  old.swap(slots_);
  for (const Slot& slot : old) {
    if (slot.node != kNone) *freeSlot(slot.hash) = slot;
  }
}

SuffixTree::Slot* SuffixTree::freeSlot(std::uint32_t hash) noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  while (slots_[at].node != kNone) at = (at + 1) & mask;
  return &slots_[at];
}

std::string_view SuffixTree::labelOf(Node node) const noexcept {
  return std::string_view(texts_).substr(nodes_[node].text, nodes_[node].length);
}

SuffixTree::Node SuffixTree::child(Node parent, std::string_view label) const noexcept {
  if (label.size() > kLongestLabel) return kNone;
  const std::uint32_t hash = hashOf(parent, label);
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask; slots_[at].node != kNone; at = (at + 1) & mask) {
    const Node node = slots_[at].node;
    if (slots_[at].hash == hash && nodes_[node].parent == parent && labelOf(node) == label) {
      return node;
    }
  }
  return kNone;
}

SuffixTree::Node SuffixTree::childIgnoringCase(Node parent, std::string_view label) const noexcept {
  if (label.size() > kLongestLabel) return kNone;
  std::array<char, kLongestLabel> folded;
  std::transform(label.begin(), label.end(), folded.begin(), lowerCase);
  return child(parent, {folded.data(), label.size()});
}

}  // namespace vu::detail
