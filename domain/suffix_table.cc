#include "domain/suffix_table.h"

#include <array>
#include <utility>

#include "vu/foundation.h"

namespace vu::detail {
namespace {

constexpr std::array<std::uint32_t, 256> makeCrcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t rest = byte;
    for (int bit = 0; bit < 8; ++bit) rest = rest >> 1 ^ (rest & 1) * 0xEDB88320U;
    table[byte] = rest;
  }
  return table;
}

constexpr std::array<std::uint32_t, 256> kCrcTable = makeCrcTable();

bool isPowerOfTwo(std::size_t number) { return number != 0 && (number & (number - 1)) == 0; }

std::uint32_t fieldOf(std::string_view block, std::size_t field) {
  return load32(block.data() + field);
}

/// Why the header of a block does not fit it, or "".
std::string faultOfHeader(std::string_view block) {
  if (block.substr(0, kTableMagic.size()) != kTableMagic) return "is no compiled table";
  if (block.size() < header::kBytes) return "is cut off";
  const auto major = static_cast<unsigned>(loadBytes<2>(block.data() + header::kMajor));
  if (major != kTableMajor) {
    return "is of version " + val2str(major) + ", which this library cannot read";
  }
  if (fieldOf(block, header::kOrder) != kByteOrder ||
      fieldOf(block, header::kHeaderChecksum) != crc32(block.substr(0, header::kHeaderChecksum))) {
    return "is damaged";
  }
  const std::uint64_t size = load64(block.data() + header::kSize);
  if (size > block.size()) return "is cut off";
  return size < block.size() ? "is followed by something else" : "";
}

/// The section of a name, as large as its row in the directory says and the block allows; a null
/// view when there is none.
std::string_view section(std::string_view block, std::string_view name) {
  const std::size_t count = std::min<std::size_t>(fieldOf(block, header::kSections), kMostSections);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = header::kBytes + i * kDirectoryRow;
    if (at + kDirectoryRow > block.size()) break;
    const char* const row = block.data() + at;
    if (std::string_view(row, name.size()) != name) continue;
    const std::uint64_t offset = load64(row + 8);
    const std::uint64_t size = load64(row + 16);
    if (offset > block.size() || size > block.size() - offset) break;
    return block.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
  }
  return {};
}

}  // namespace

std::uint32_t crc32(std::string_view bytes) noexcept {
  std::uint32_t sum = 0xFFFFFFFFU;
  for (const char c : bytes)
    sum = sum >> 8 ^ kCrcTable[(sum ^ static_cast<unsigned char>(c)) & 255];
  return ~sum;
}

std::string SuffixTable::adopt(BlockOwner owner, std::size_t size) {
  const std::string_view block(owner.get(), size);
  std::string fault = faultOfHeader(block);
  if (!fault.empty()) return fault;
  const std::string_view filter = section(block, kFilterSection);
  const std::string_view tops = section(block, kTopsSection);
  const std::string_view buckets = section(block, kBucketSection);
  const std::string_view rules = section(block, kRuleSection);
  const std::string_view texts = section(block, kTextSection);
  const std::size_t bucketCount = buckets.size() / 4 - (buckets.size() >= 4 ? 1 : 0);
  if (!isPowerOfTwo(filter.size()) || tops.size() != kTopsBytes || buckets.size() % 4 != 0 ||
      !isPowerOfTwo(bucketCount) || bucketCount > std::size_t{1} << 31 ||
      rules.size() % kRuleBytes != 0 || texts.data() == nullptr) {
    return "is damaged";
  }
  filter_ = filter.data();
  filterMask_ = filter.size() * 8 - 1;
  tops_ = tops.data();
  buckets_ = buckets.data();
  bucketShift_ = 32 - static_cast<unsigned>(__builtin_ctzll(bucketCount));
  rules_ = rules.data();
  ruleCount_ = rules.size() / kRuleBytes;
  texts_ = texts.data();
  textBytes_ = texts.size();
  info_ = section(block, kInfoSection);
  block_ = std::move(owner);
  size_ = size;
  return "";
}

bool SuffixTable::isIntact() const noexcept {
  return fact(header::kBodyChecksum) == crc32(bytes().substr(header::kBytes));
}

}  // namespace vu::detail
