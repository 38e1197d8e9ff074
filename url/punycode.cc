// A code tells the code points beyond ASCII in rising order, each by how many places further on it
// is to be inserted. Told so, both directions are quadratic: encoding passes over the label once
// for each distinct code point, decoding moves what stands behind an insertion. Here a binary
// indexed tree counts places instead, so that both take n log n.

#include "url/punycode.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace vu::detail {
namespace {

constexpr std::uint32_t kBase = 36;
constexpr std::uint32_t kLeast = 1;
constexpr std::uint32_t kMost = 26;
constexpr std::uint32_t kFirstCodePoint = 0x80;
constexpr std::uint64_t kLargest = 0x7FFFFFFF;  // of a code's numbers, as elsewhere

/// The bias that the lengths of numbers follow.
class Bias {
 public:
  std::uint32_t threshold(std::uint32_t place) const {
    const std::uint32_t k = (place + 1) * kBase;
    return k <= bias_ + kLeast ? kLeast : std::min(k - bias_, kMost);
  }

  void adapt(std::uint64_t delta, std::uint64_t points) {
    delta = first_ ? delta / 700 : delta / 2;
    first_ = false;
    delta += delta / points;
    std::uint32_t k = 0;
    for (; delta > (kBase - kLeast) * kMost / 2; k += kBase) delta /= kBase - kLeast;
    bias_ = k + static_cast<std::uint32_t>((kBase - kLeast + 1) * delta / (delta + 38));
  }

 private:
  std::uint32_t bias_ = 72;
  bool first_ = true;
};

/// Which of `size` places are taken: a binary indexed tree.
class Places {
 public:
  explicit Places(std::size_t size) : taken_(size + 1) {
    while (2 * highest_ <= size) highest_ *= 2;
  }

  void take(std::size_t place) {
    for (std::size_t i = place + 1; i < taken_.size(); i += i & (~i + 1)) ++taken_[i];
  }

  /// How many places in front of `place` are taken.
  std::size_t takenBefore(std::size_t place) const {
    std::size_t count = 0;
    for (std::size_t i = place; i > 0; i &= i - 1) count += taken_[i];
    return count;
  }

  /// The place with `count` free ones in front of it that is free itself.
  std::size_t freeAfter(std::size_t count) const {
    std::size_t place = 0;
    for (std::size_t step = highest_; step > 0; step /= 2) {
      const std::size_t next = place + step;
      if (next < taken_.size() && step - taken_[next] <= count) {
        count -= step - taken_[next];
        place = next;
      }
    }
    return place;
  }

 private:
  std::vector<std::uint32_t> taken_;
  std::size_t highest_ = 1;
};

void appendNumber(std::uint64_t number, const Bias& bias, std::string& code) {
  constexpr char kDigits[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  for (std::uint32_t place = 0;; ++place) {
    const std::uint32_t threshold = bias.threshold(place);
    if (number < threshold) break;
    code += kDigits[threshold + (number - threshold) % (kBase - threshold)];
    number = (number - threshold) / (kBase - threshold);
  }
  code += kDigits[number];
}

/// Reads a number off the front of a code; false where there is none, or too large a one.
bool readNumber(std::string_view& code, const Bias& bias, std::uint64_t& number) {
  number = 0;
  std::uint64_t weight = 1;
  for (std::uint32_t place = 0; !code.empty(); ++place) {
    const char c = code[0];
    code.remove_prefix(1);
    std::uint32_t digit = kBase;
    if (c >= 'a' && c <= 'z') digit = static_cast<std::uint32_t>(c - 'a');
    if (c >= '0' && c <= '9') digit = static_cast<std::uint32_t>(c - '0') + 26;
    if (digit == kBase) return false;
    number += digit * weight;
    if (number > kLargest) return false;
    const std::uint32_t threshold = bias.threshold(place);
    if (digit < threshold) return true;
    weight *= kBase - threshold;
    if (weight > kLargest) return false;
  }
  return false;
}

}  // namespace

bool encodePunycode(std::u32string_view label, std::string& code) {
  std::vector<std::uint32_t> order;  // places of what is beyond ASCII, by code points
  Places done(label.size());
  for (std::size_t i = 0; i < label.size(); ++i) {
    if (label[i] >= kFirstCodePoint) {
      order.push_back(static_cast<std::uint32_t>(i));
      continue;
    }
    code += static_cast<char>(label[i]);
    done.take(i);
  }
  std::size_t written = label.size() - order.size();
  if (written > 0) code += '-';
  std::stable_sort(order.begin(), order.end(),
                   [label](std::uint32_t a, std::uint32_t b) { return label[a] < label[b]; });

  Bias bias;
  std::uint64_t last = kFirstCodePoint;
  std::size_t place = 0;  // in what is written, behind the last insertion
  for (const std::uint32_t at : order) {
    const std::uint64_t point = label[at];
    const std::size_t before = done.takenBefore(at);
    const std::uint64_t delta = (point - last) * (written + 1) + before - place;
    if (delta > kLargest) return false;
    appendNumber(delta, bias, code);
    bias.adapt(delta, ++written);
    done.take(at);
    last = point;
    place = before + 1;
  }
  return true;
}

bool decodePunycode(std::string_view code, std::u32string& label) {
  std::size_t hyphen = code.rfind('-');
  if (hyphen == std::string_view::npos) hyphen = 0;  // one in front of nothing separates nothing
  const std::string_view plain = code.substr(0, hyphen);
  if (hyphen > 0) code.remove_prefix(hyphen + 1);
  struct Insertion {
    std::uint32_t place;
    char32_t point;
  };
  std::vector<Insertion> insertions;
  Bias bias;
  std::uint64_t point = kFirstCodePoint;
  std::uint64_t place = 0;
  for (std::uint64_t size = plain.size() + 1; !code.empty(); ++size) {
    std::uint64_t delta = 0;
    if (!readNumber(code, bias, delta)) return false;
    bias.adapt(delta, size);
    place += delta;
    point += place / size;
    place %= size;
    if (point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return false;
    insertions.push_back({static_cast<std::uint32_t>(place), static_cast<char32_t>(point)});
    ++place;
  }

  // The last insertion stands where it was made; each one before it there among the places that are
  // still free.
  label.assign(plain.size() + insertions.size(), U'\0');
  Places done(label.size());
  for (auto each = insertions.rbegin(); each != insertions.rend(); ++each) {
    const std::size_t at = done.freeAfter(each->place);
    label[at] = each->point;
    done.take(at);
  }
  const auto* next = plain.begin();
  for (char32_t& each : label) {
    if (each == U'\0') each = static_cast<unsigned char>(*next++);
  }
  return true;
}

}  // namespace vu::detail
