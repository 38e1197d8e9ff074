// Memory for the nodes of trees. The nodes that a parser makes of a text stand side by side in
// blocks, so that a tree costs few allocations and is walked along; a node that a caller makes
// stands alone. In front of each stands a pointer to its block, null for one that stands alone, so
// that either is deleted in the same way, one by one and in any tree it has been moved to. A block
// goes with the last of its nodes, whichever threads delete them.

#ifndef VU_PATTERN_NODE_MEMORY_H_
#define VU_PATTERN_NODE_MEMORY_H_

#include <cstddef>
#include <string_view>

#include "vu/pattern.h"

namespace vu::detail {

struct NodeBlock;

/// Makes the nodes of one text.
class NodeMaker {
 public:
  explicit NodeMaker(std::size_t textLength) noexcept;
  NodeMaker(const NodeMaker&) = delete;
  NodeMaker& operator=(const NodeMaker&) = delete;
  ~NodeMaker();

  /// Appends a node to `parent`, or throws and appends none.
  xmldata* add(xmldata& parent, std::string_view tag, std::string_view attrs);

 private:
  void* place();

  const std::size_t slots_;  ///< Of each block.
  NodeBlock* block_ = nullptr;
  std::size_t used_;  ///< Slots of block_; all of them while there is none.
};

/// Memory of nodes whose destructors have run, given back when it goes. Neighbours are given back
/// together.
class NodeRemains {
 public:
  NodeRemains() = default;
  NodeRemains(const NodeRemains&) = delete;
  NodeRemains& operator=(const NodeRemains&) = delete;
  ~NodeRemains() { giveBack(); }

  void add(void* node) noexcept;

 private:
  void giveBack() noexcept;

  NodeBlock* block_ = nullptr;
  std::size_t count_ = 0;
};

}  // namespace vu::detail

#endif  // VU_PATTERN_NODE_MEMORY_H_
