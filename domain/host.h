// A URL's host and its labels.

#ifndef VU_DOMAIN_HOST_H_
#define VU_DOMAIN_HOST_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vu::detail {

/// Whether `c` may begin a label.
bool beginsLabel(char c) noexcept;
/// Whether `c` may stand inside a label.
bool insideLabel(char c) noexcept;

struct NameScan {
  bool isHostName;  ///< One or more labels joined by single dots: a host can end in it.
  bool hasDots;
  bool hasCapitals;
};

NameScan scanName(std::string_view name) noexcept;

inline bool isHostName(std::string_view name) noexcept { return scanName(name).isHostName; }

constexpr std::size_t kLastSchemeStart =
    14;  ///< Where the "://" behind a scheme may begin at the latest.

/// The host: after a "://" that begins within the first 15 bytes, up to the first "/" or ":".
std::string_view cutHost(std::string_view url) noexcept;

/// What a host is made of.
struct HostScan {
  enum Kind {
    malformed,  ///< a label is followed by something else than a dot
    empty,      ///< no label at all
    address,    ///< every label is a number below 255
    name
  };
  Kind kind;
  std::uint32_t ipAddress;  ///< The numbers up to the first label that is none, one a byte.
};

HostScan scanHost(std::string_view host) noexcept;

/// Walks over the labels of a host that is not malformed, from the last to the first.
///
/// From the left, a label begins at the next letter or digit and goes on as long as characters may
/// stand inside a label. So every maximal run of such characters holds one label, the run less its
/// leading "-" and "_", or none; which is found from the right just as well.
class LabelsFromRight {
 public:
  explicit LabelsFromRight(std::string_view host) noexcept : rest_(host) {}

  /// The next label to the left; false when there is none.
  bool next(std::string_view& label) noexcept;

 private:
  std::string_view rest_;
};

}  // namespace vu::detail

#endif  // VU_DOMAIN_HOST_H_
