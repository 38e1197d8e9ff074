#include "tools/lines.h"

#include <algorithm>

namespace vu::tool {
namespace {

unsigned countBits(std::uint64_t bits) {
  return bits == 0 ? 0 : static_cast<unsigned>(__builtin_popcountll(bits));
}

/// Anything for none.
unsigned lowest(std::uint64_t bits) {
  return static_cast<unsigned>(__builtin_ctzll(bits | std::uint64_t{1} << 63));
}

}  // namespace

bool LineCutter::next(LineChunk& chunk) {
  chunk.count = 0;
  chunk.lines[0].data = start_;
  for (; chunk.count < LineChunk::kFull && moreMasks(); at_ += LineMasks::kBytes) {
    LineMasks masks = masks_[mask_++];
    masks.unsafe &= ~masks.ends;
    if (masks.unsafe == 0 && unsafeBefore_ == 0) {
      cutPlain(masks, chunk);
    } else {
      cutMixed(masks, chunk);
    }
  }
  setSizes(chunk);
  start_ = chunk.lines[chunk.count].data;
  std::string_view rest(start_, static_cast<std::size_t>(end_ - start_));
  while (chunk.count < LineChunk::kFull && !rest.empty()) {
    const std::string_view line = takeLine(rest, entryEnd_);
    chunk.lines[chunk.count] = {line.data(), line.size()};
    chunk.isPlain[chunk.count++] = false;
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
/// Two lines a turn, whether there are so many or not: how many is nothing to be guessed.
void LineCutter::cutPlain(LineMasks masks, LineChunk& chunk) {
  std::size_t at = chunk.count;
  chunk.count += masks.count;
  do {
    for (int i = 0; i < 2; ++i, ++at) {
      chunk.isPlain[at] = true;
      returns_[at] = 0;
      chunk.lines[at + 1].data = at_ + lowest(masks.ends) + 1;
      masks.ends &= masks.ends - 1;
    }
  } while (at < chunk.count);
}

/// Cuts 64 bytes up. A line's last carriage return belongs to its end.
void LineCutter::cutMixed(LineMasks masks, LineChunk& chunk) {
  for (; masks.ends != 0; masks.ends &= masks.ends - 1, ++chunk.count) {
    const std::uint64_t before = (masks.ends - 1) & ~masks.ends;
    const char* const lineEnd = at_ + lowest(masks.ends);
    const bool hasReturn = entryEnd_ == EntryEnd::line &&
                           lineEnd != chunk.lines[chunk.count].data && lineEnd[-1] == '\r';
    returns_[chunk.count] = hasReturn ? 1 : 0;
    chunk.isPlain[chunk.count] =
        unsafeBefore_ + countBits(masks.unsafe & before) == returns_[chunk.count];
    chunk.lines[chunk.count + 1].data = lineEnd + 1;
    masks.unsafe &= ~before;
    unsafeBefore_ = 0;
  }
  unsafeBefore_ += countBits(masks.unsafe);
}

/// A line ends in front of the next one, the bytes between them left out.
void LineCutter::setSizes(LineChunk& chunk) const {
  for (std::size_t i = 0; i < chunk.count; ++i) {
    const char* const next = chunk.lines[i + 1].data;
    chunk.lines[i].size = static_cast<std::size_t>(next - chunk.lines[i].data) - 1 - returns_[i];
  }
}

}  // namespace vu::tool
