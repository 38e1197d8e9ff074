// The rows of ordinary URLs differ in two places, the domain and the URL. All else is the same, and
// is written by copies of a fixed length, which may be longer than the text.

#ifndef VU_TOOLS_ROW_FRAME_H_
#define VU_TOOLS_ROW_FRAME_H_

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "tools/buffer.h"

namespace vu::tool {

class RowFrame {
 public:
  /// What stands in a sample for a domain and for a URL: every format writes them as they are, and
  /// no title or text of a status has them.
  static constexpr std::string_view kDomain = "@";
  static constexpr std::string_view kUrl = "~";
  /// How many bytes behind a text may be read, and behind a row be written.
  static constexpr std::size_t kReadBehind = 64;

  /// Of a row in which each of the two stands once at the most.
  explicit RowFrame(std::string_view sample)
      : front_(sample),
        first_(cutVaried(sample)),
        between_(sample),
        second_(cutVaried(sample)),
        end_(sample) {}

  /// Room for `count` rows with this many bytes of URLs together, and what is written behind them.
  std::uint64_t room(std::size_t count, std::size_t urlBytes) const {
    return count * (std::uint64_t{front_.size} + between_.size + end_.size) +
           std::uint64_t{urlBytes} * 2 + kReadBehind;
  }

  /// Writes the row of a URL that its format writes as it is, and so its domain, which is in it.
  /// Returns where it ends.
  char* write(char* at, std::string_view url, std::string_view domain) const {
    const auto putVaried = [&](Varied varied) {
      if (varied == Varied::domain) at = copy<kMostlyDomain>(at, domain.data(), domain.size());
      if (varied == Varied::url) at = copy<kMostlyUrl>(at, url.data(), url.size());
    };
    at = copy<kMostlyPiece>(at, front_.bytes.data(), front_.size);
    putVaried(first_);
    at = copy<kMostlyPiece>(at, between_.bytes.data(), between_.size);
    putVaried(second_);
    return copy<kMostlyPiece>(at, end_.bytes.data(), end_.size);
  }

 private:
  enum class Varied { nothing, domain, url };

  /// What is the same in all rows: a sample up to what is not.
  struct Piece {
    explicit Piece(std::string_view sample)
        : bytes(sample.substr(0, sample.find_first_of("@~"))), size(bytes.size()) {
      bytes.resize(size + kReadBehind);
    }
    std::string bytes;  ///< And as many more as may be read.
    std::size_t size;
  };

  /// Cuts a piece off, and what stands behind it.
  static Varied cutVaried(std::string_view& sample) {
    const std::size_t at = std::min(sample.find_first_of("@~"), sample.size());
    const std::string_view varied = sample.substr(at, 1);
    sample.remove_prefix(at + varied.size());
    if (varied.empty()) return Varied::nothing;
    return varied == kUrl ? Varied::url : Varied::domain;
  }

  // What most texts of a kind fit into: how often a loop is run would be mispredicted.
  static constexpr std::size_t kMostlyPiece = 16;
  static constexpr std::size_t kMostlyDomain = 32;
  static constexpr std::size_t kMostlyUrl = kReadBehind;

  template <std::size_t step>
  static char* copy(char* to, const char* from, std::size_t size) {
    std::memcpy(to, from, step);
    for (std::size_t at = step; at < size; at += step) std::memcpy(to + at, from + at, step);
    return to + size;
  }

  Piece front_;
  Varied first_;
  Piece between_;
  Varied second_;
  Piece end_;
};

}  // namespace vu::tool

#endif  // VU_TOOLS_ROW_FRAME_H_
