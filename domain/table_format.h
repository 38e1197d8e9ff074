// The compiled table as bytes; docs/table-file.md tells it in full.
//
// Invariants of the format: numbers are little-endian; offsets count from the first byte of the
// block; every section begins at a multiple of eight.

#ifndef VU_DOMAIN_TABLE_FORMAT_H_
#define VU_DOMAIN_TABLE_FORMAT_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "domain/bytes.h"

namespace vu::detail {

constexpr std::string_view kTableMagic = "\x8Dvutab\r\n";
constexpr unsigned kTableMajor = 2;
constexpr unsigned kTableMinor = 0;
constexpr std::uint32_t kByteOrder = 0x01020304;
/// The longest suffix or rule, in bytes, "*." or "!" in front of it counted.
constexpr std::size_t kLongestToken = 1023;

/// Where the fields of the header stand.
namespace header {
constexpr std::size_t kMajor = 8, kMinor = 10, kOrder = 12, kSize = 16, kBodyChecksum = 24,
                      kSections = 28, kSuffixes = 32, kMaxLabels = 36, kIcann = 40, kPrivate = 44,
                      kOwn = 48, kHeaderChecksum = 60, kBytes = 64;
}  // namespace header

/// A row of the directory behind the header: name, zero, offset, size.
constexpr std::size_t kDirectoryRow = 24;
constexpr std::size_t kMostSections = 64;

constexpr std::string_view kInfoSection = "INFO", kFilterSection = "FILT", kTopsSection = "TOPS",
                           kBucketSection = "BUCK", kRuleSection = "RULE", kTextSection = "TEXT";

constexpr std::size_t kRuleBytes = 12;
constexpr std::size_t kTopsBytes = 128;  ///< A bit for each pair of a top level's last letters.

/// What is listed at a name, as bits.
enum Listing : unsigned {
  kSuffix = 1,          ///< a suffix, spelled exactly like this
  kRule = 2,            ///< a suffix in any letter case; the name is in lower case
  kWildcard = 4,        ///< "*." in front of it, in any letter case
  kException = 8,       ///< "!" in front of it, in any letter case
  kDeeper = 16,         ///< longer names end in it
  kOther = 32,          ///< a token that no host can end in
  kWildcardAsIs = 64,   ///< "*." in front of it, spelled exactly like this
  kExceptionAsIs = 128  ///< "!" in front of it, spelled exactly like this
};

/// Sections of rules, as bits; a rule may stand in both.
enum SectionBits : unsigned { kOwnRules = 0, kIcannRules = 1, kPrivateRules = 2 };
/// Where a kind's two bits of sections begin.
constexpr unsigned sectionShift(Listing kind) noexcept {
  return kind == kWildcard ? 2 : kind == kException ? 4 : 0;
}

/// A rule where it lies in a block.
class RuleView {
 public:
  RuleView() = default;
  explicit RuleView(const char* bytes) : bytes_(bytes) {}

  explicit operator bool() const noexcept { return bytes_ != nullptr; }
  std::uint32_t tag() const noexcept { return load32(bytes_); }
  std::uint32_t text() const noexcept { return load32(bytes_ + 4); }
  std::size_t length() const noexcept { return static_cast<std::size_t>(loadBytes<2>(bytes_ + 8)); }
  unsigned listings() const noexcept { return static_cast<unsigned char>(bytes_[10]); }
  unsigned sections(Listing kind) const noexcept {
    return static_cast<unsigned char>(bytes_[11]) >> sectionShift(kind) & 3;
  }

 private:
  const char* bytes_ = nullptr;
};

/// The bit of a top level in the section TOPS, by its last byte and the one in front of that.
inline std::size_t topBit(const char* end) noexcept {
  return (static_cast<unsigned char>(end[-2]) & 31U) << 5 |
         (static_cast<unsigned char>(end[-1]) & 31U);
}

/// The cyclic redundancy check of IEEE 802.3, as zlib and gzip have it.
std::uint32_t crc32(std::string_view bytes) noexcept;

}  // namespace vu::detail

#endif  // VU_DOMAIN_TABLE_FORMAT_H_
