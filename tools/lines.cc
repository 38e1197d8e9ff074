#include "tools/lines.h"

#include <algorithm>

namespace vu::tool {
namespace {

unsigned countBits(std::uint64_t bits) {
  return bits == 0 ? 0 : static_cast<unsigned>(__builtin_popcountll(bits));
}

}  // namespace

bool LineCutter::next(LineChunk& chunk) {
  chunk.count = 0;
  for (; chunk.count < LineChunk::kFull && moreMasks(); at_ += LineMasks::kBytes) {
    LineMasks masks = masks_[mask_++];
    masks.unsafe &= ~masks.ends;
    if (masks.unsafe == 0 && unsafeBefore_ == 0) {
      cutPlain(masks.ends, chunk);
    } else {
      cutMixed(masks, chunk);
    }
  }
  std::string_view rest(start_, static_cast<std::size_t>(end_ - start_));
  while (chunk.count < LineChunk::kFull && !rest.empty()) {
    const std::string_view line = takeLine(rest, entryEnd_);
    chunk.add(line.data(), line.data() + line.size(), false);
    start_ = rest.data();
  }
  return chunk.count > 0;
}

/// False where so little is left of the block that no masks tell of it.
bool LineCutter::moreMasks() {
  if (mask_ < maskCount_) return true;
  const auto left = static_cast<std::size_t>(end_ - at_);
  if (left < LineMasks::kBytes + RowFrame::kReadBehind) return false;
  mask_ = 0;
  maskCount_ = std::min((left - RowFrame::kReadBehind) / LineMasks::kBytes, masks_.size());
  findMasks(at_, maskCount_, static_cast<char>(entryEnd_), unsafe_, masks_.data());
  return true;
}

/// Cuts 64 bytes without an unsafe one up. What belongs to the line in front of them has none, too.
void LineCutter::cutPlain(std::uint64_t ends, LineChunk& chunk) {
  const char* start = start_;
  std::size_t count = chunk.count;
  for (; ends != 0; ends &= ends - 1) {
    const char* const lineEnd = at_ + __builtin_ctzll(ends);
    chunk.lines[count] = {start, static_cast<std::size_t>(lineEnd - start)};
    chunk.isPlain[count++] = true;
    start = lineEnd + 1;
  }
  start_ = start;
  chunk.count = count;
}

/// Cuts 64 bytes up. A line's last carriage return belongs to its end.
void LineCutter::cutMixed(LineMasks masks, LineChunk& chunk) {
  for (; masks.ends != 0; masks.ends &= masks.ends - 1) {
    const std::uint64_t before = (masks.ends - 1) & ~masks.ends;
    unsigned unsafe = unsafeBefore_ + countBits(masks.unsafe & before);
    const char* lineEnd = at_ + __builtin_ctzll(masks.ends);
    const char* const next = lineEnd + 1;
    if (entryEnd_ == EntryEnd::line && lineEnd != start_ && lineEnd[-1] == '\r') {
      --lineEnd;
      --unsafe;
    }
    chunk.add(start_, lineEnd, unsafe == 0);
    start_ = next;
    masks.unsafe &= ~before;
    unsafeBefore_ = 0;
  }
  unsafeBefore_ += countBits(masks.unsafe);
}

}  // namespace vu::tool
