#include "pattern/node_memory.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace vu::detail {

/// Stands in front of its slots.
struct NodeBlock {
  std::atomic<std::size_t> slots;  ///< Those that have a node or may still get one.
};

namespace {

/// Where a node stands, and what stands in front of it.
struct Slot {
  NodeBlock* block;
  alignas(xmldata) unsigned char node[sizeof(xmldata)];
};
static_assert(offsetof(Slot, node) == sizeof(void*) && sizeof(NodeBlock) % alignof(Slot) == 0,
              "nothing stands between them");

/// In front of a node that stands alone; as much as keeps whatever derives from it aligned.
constexpr std::size_t kFront = alignof(std::max_align_t);
static_assert(kFront >= sizeof(void*), "room for the pointer");

constexpr std::size_t kMostSlots = 256;
constexpr std::size_t kTextPerNode = 32;  // bytes; what is less costs a block more

NodeBlock*& blockOf(void* node) noexcept { return static_cast<NodeBlock**>(node)[-1]; }

void giveBackSlots(NodeBlock* block, std::size_t count) noexcept {
  if (block->slots.fetch_sub(count, std::memory_order_acq_rel) == count) {
    ::operator delete(block);
  }
}

void giveBackAlone(void* node) noexcept {
  ::operator delete(static_cast<unsigned char*>(node) - kFront);
}

void* alone(void* memory) noexcept {
  void* const node = static_cast<unsigned char*>(memory) + kFront;
  blockOf(node) = nullptr;
  return node;
}

}  // namespace

NodeMaker::NodeMaker(std::size_t textLength) noexcept
    : slots_(std::min(textLength / kTextPerNode + 1, kMostSlots)), used_(slots_) {}

NodeMaker::~NodeMaker() {
  if (used_ != slots_) giveBackSlots(block_, slots_ - used_);
}

/// Memory for the next node, which is not yet taken.
void* NodeMaker::place() {
  if (used_ == slots_) {
    void* const memory = ::operator new(sizeof(NodeBlock) + slots_ * sizeof(Slot));
    block_ = ::new (memory) NodeBlock{{slots_}};
    used_ = 0;
  }
  Slot* const slot = reinterpret_cast<Slot*>(block_ + 1) + used_;
  slot->block = block_;
  return slot->node;
}

xmldata* NodeMaker::add(xmldata& parent, std::string_view tag, std::string_view attrs) {
  void* const memory = place();
  std::unique_ptr<xmldata> node(::new (memory) xmldata(
      tag.data(), static_cast<int>(tag.size()), attrs.data(), static_cast<int>(attrs.size())));
  ++used_;
  parent.addData(node.get());
  return node.release();
}

void NodeRemains::add(void* node) noexcept {
  NodeBlock* const block = blockOf(node);
  if (block == nullptr) return giveBackAlone(node);
  if (block != block_) giveBack();
  block_ = block;
  ++count_;
}

void NodeRemains::giveBack() noexcept {
  if (count_ > 0) giveBackSlots(block_, count_);
  count_ = 0;
}

}  // namespace vu::detail

void* xmldata::operator new(std::size_t size) {
  return vu::detail::alone(::operator new(size + vu::detail::kFront));
}

void* xmldata::operator new(std::size_t size, const std::nothrow_t& nothrow) noexcept {
  void* const memory = ::operator new(size + vu::detail::kFront, nothrow);
  return memory != nullptr ? vu::detail::alone(memory) : nullptr;
}

void xmldata::operator delete(void* node) noexcept {
  if (node != nullptr) vu::detail::NodeRemains().add(node);
}

void xmldata::operator delete(void* node, const std::nothrow_t& /*nothrow*/) noexcept {
  operator delete(node);
}
