// The suffixes of a table, arranged for look-ups.
//
// A tree of labels read from the right: below the root stand the top levels, below "uk" stands
// "co". A host is walked down label by label until no listed suffix goes on that way, so the cost
// of a look-up depends on the host's labels and on no number in the table.
//
// Most hosts need no walk: a filter over the pairs of labels that the tree begins with tells that
// nothing is listed for them, and a table of those pairs spares the others the walk's first two
// steps.
//
// Invariants: node 0 is the root, every other node comes after its parent; slots_ finds a node by
// its parent and label, pairs_ one two labels below the root by the text of both; both are a power
// of two in size and at most half full.
// Threads: const members may run in any number of threads at once.

#ifndef VU_DOMAIN_SUFFIX_TREE_H_
#define VU_DOMAIN_SUFFIX_TREE_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "domain/text_key.h"

namespace vu::detail {

/// What is listed at a node, as bits.
enum SuffixListing : std::uint8_t {
  kSuffix = 1,     ///< a suffix, spelled exactly like this
  kRule = 2,       ///< a suffix in any letter case; the node's spelling is lower case
  kWildcard = 4,   ///< "*." in front of it
  kException = 8,  ///< "!" in front of it
};

class SuffixTree {
 public:
  using Node = std::uint32_t;
  static constexpr Node kRoot = 0;
  static constexpr Node kNone = 0;  ///< Nothing has the root for a child.

  SuffixTree();

  /// Makes room for about this many tokens.
  void reserve(std::size_t tokens);

  /// Lists a token of a definition file. One that no host can end in leaves no trace. Throws only
  /// when memory runs out; nothing more is listed then.
  void insert(std::string_view token);

  /// The child of `parent` with this label, or kNone.
  Node child(Node parent, std::string_view label) const noexcept;
  /// The same for the label in lower case.
  Node childIgnoringCase(Node parent, std::string_view label) const noexcept;

  /// Arranges the three questions below for what has been inserted; until then they say true or
  /// kNone. Throws only when memory runs out, and has done nothing then.
  void indexPairs();

  /// False when no suffix of two labels or more can match a host with these last two labels. May be
  /// true without reason, seldom. Letter case is ignored. One load from memory answers, so most
  /// hosts need not be walked down the tree.
  bool mayKnow(std::string_view lastTwo) const noexcept { return mayHold(textKey(lastTwo)); }
  /// The same for a wildcard in front of a top level.
  bool mayHaveWildcard(std::string_view top) const noexcept { return mayHold(~textKey(top)); }

  /// The node of the last two labels of a host, joined by a dot, or kNone.
  Node pair(std::string_view lastTwo) const noexcept;

  /// What is listed at `node`: SuffixListing bits.
  unsigned listings(Node node) const noexcept { return nodes_[node].listings; }

 private:
  struct Entry {
    Node parent;
    std::uint32_t text;  ///< Where in texts_ its label begins, or all of a pair.
    std::uint16_t length;
    std::uint8_t listings;
  };
  struct Slot {
    std::uint32_t hash;
    Node node;  ///< kNone: the slot is free.
  };

  template <typename IsLabel>
  Node findChild(Node parent, std::string_view label, std::uint32_t hash,
                 IsLabel isLabel) const noexcept;
  Node nodeBesideLast(std::string_view name);
  Node walkTo(std::string_view name);
  void list(Node node, SuffixListing listing) noexcept;
  Node childOrNew(Node parent, std::string_view label);
  void resizeSlots(std::size_t size);
  bool isPair(Node node) const noexcept;
  std::string_view pairOf(Node node) const noexcept;
  std::string_view labelOf(Node node) const noexcept;
  static Slot* freeSlot(std::vector<Slot>& slots, std::uint32_t hash) noexcept;

  bool mayHold(std::uint64_t key) const noexcept {
    const std::size_t bit = static_cast<std::size_t>(key) & filterMask_;
    return (filter_[bit / 64] >> bit % 64 & 1) != 0;
  }

  std::vector<Entry> nodes_;
  std::vector<Slot> slots_;
  std::string texts_;
  std::string lastAbove_;              ///< What the last name had behind its first label, and the
  Node lastParent_ = kRoot;            ///< node of that: neighbours in a file tend to share it.
  std::vector<Slot> pairs_;            ///< Nodes two labels below the root, as slots_ by their key.
  std::size_t filterMask_ = 63;        ///< The number of bits in filter_ less one.
  std::vector<std::uint64_t> filter_;  ///< Bits, by key; a power of two of them.
};

}  // namespace vu::detail

#endif  // VU_DOMAIN_SUFFIX_TREE_H_
