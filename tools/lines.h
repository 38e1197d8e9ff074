// Lines of a block, many at a time, and which of them a row can have as they are.
//
// One pass over the bytes, 64 at a time, gives two masks: where lines end, and where a byte stands
// that the row's format writes in another way. Cutting a line off is then a few operations on bits.
// The last bytes of a block are left to the general way, `takeLine`, so that whoever copies a plain
// line may copy more than it has.

#ifndef VU_TOOLS_LINES_H_
#define VU_TOOLS_LINES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tools/input.h"
#include "tools/row_frame.h"
#include "vu/record.h"

namespace vu::tool {

/// What a format does not write as it is. Carriage returns are among it, so that a line that has
/// one in front of its end shows.
struct Unsafe {
  std::array<char, 4> bytes;
  signed char below = -128;  ///< Bytes below it as signed numbers, too: controls, beyond ASCII.
};

/// A bit for each of 64 bytes, the first byte's lowest.
struct LineMasks {
  static constexpr std::size_t kBytes = 64;

  std::uint64_t ends;
  std::uint64_t unsafe;
  std::size_t count;  ///< Of the ends.
};

/// The masks of `count` times 64 bytes at `text`; `end` ends a line. Done in the fastest way that
/// the machine has: the build chooses a file, which may choose another when it runs.
void findMasks(const char* text, std::size_t count, char end, const Unsafe& unsafe,
               LineMasks* masks);

/// Lines behind each other, without their ends.
struct LineChunk {
  static constexpr std::size_t kFull = 256;
  static constexpr std::size_t kRoom = kFull + LineMasks::kBytes + 2;  // lines are written by twos

  std::size_t count = 0;
  std::array<vu_text, kRoom> lines{};
  /// Whether a line has no unsafe byte, and RowFrame::kReadBehind bytes of the block behind it.
  std::array<bool, kRoom> isPlain{};
};

/// Cuts a block up.
class LineCutter {
 public:
  LineCutter(std::string_view block, EntryEnd end, const Unsafe& unsafe)
      : start_(block.data()),
        at_(start_),
        end_(start_ + block.size()),
        entryEnd_(end),
        unsafe_(unsafe) {}

  /// Puts the next lines in place of those in `chunk`; false at the end of the block.
  bool next(LineChunk& chunk);

 private:
  bool moreMasks();
  void cutPlain(LineMasks masks, LineChunk& chunk);
  void cutMixed(LineMasks masks, LineChunk& chunk);
  void setSizes(LineChunk& chunk) const;

  const char* start_;  ///< Of the line that comes next.
  const char* at_;     ///< What the next masks tell of.
  const char* end_;
  unsigned unsafeBefore_ = 0;  ///< Unsafe bytes from `start_` to `at_`.
  EntryEnd entryEnd_;
  Unsafe unsafe_;
  std::array<LineMasks, 64> masks_{};
  std::size_t mask_ = 0;
  std::size_t maskCount_ = 0;
  std::array<unsigned char, LineChunk::kRoom> returns_{};  ///< Whether one is part of a line's end.
};

}  // namespace vu::tool

#endif  // VU_TOOLS_LINES_H_
