// The rows of `vu classify`: one a URL, in the form that was asked for.

#ifndef VU_TOOLS_ROWS_H_
#define VU_TOOLS_ROWS_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "tools/buffer.h"
#include "vu/domain.h"

namespace vu::tool {

enum class RowFormat { table, tsv, csv, jsonl };

/// What a batch of URLs came to.
struct Tally {
  std::uint64_t urls = 0;
  std::array<std::uint64_t, 5> byStatus{};  ///< In the order of `countedStatuses`.
  std::unordered_map<std::string, std::uint64_t> domains;
};

/// The statuses that a URL can have.
inline constexpr std::array<vu_status, 5> countedStatuses = {
    VU_SUCCESS, VU_COUNTRY_CODE_EMPTY_URL, VU_COUNTRY_CODE_NOT_A_DOMAIN, VU_COUNTRY_CODE_TOO_SHORT,
    VU_COUNTRY_CODE_PURE_DOMAIN};

/// The text that the service's table has for a status.
const char* statusText(vu_status status);

/// Adds a text as a terminal may be shown it, which obeys control characters: everything but
/// printable ASCII becomes "\xNN", and a backslash "\\". `Text` is std::string or Buffer.
template <class Text>
void appendVisible(Text& out, std::string_view text);
std::string visible(std::string_view text);

/// Adds a text as a field between tabs, in which tabs, line ends and backslashes would end it or be
/// taken for such: "\t", "\n", "\r", "\\".
void appendTabSafe(std::string& out, std::string_view text);

/// Adds a cell of an aligned table: padded to `width`, with two blanks behind it. `Text` is
/// std::string or Buffer.
template <class Text>
void appendColumn(Text& out, std::string_view cell, std::size_t width);

/// Classifies URLs and writes their rows. Threads: one writer may serve several at once.
class RowWriter {
 public:
  struct Choices {
    vu_match match = vu_match::shortest;
    RowFormat format = RowFormat::table;
    bool onlyFailed = false;
    bool countDomains = false;
    bool colours = false;  ///< In the table form: green for success, red for a refusal.
  };

  RowWriter(const vu_cctld& table, Choices choices);

  /// The titles of the table form, with a line end.
  static std::string titles(bool colours);

  /// Adds the row of one URL to `out` and counts it in `tally`.
  void write(std::string_view url, Buffer& out, Tally& tally) const;

  /// The same for every line of `block`; "\n" and "\r\n" end a line, the last end may be missing.
  void writeLines(std::string_view block, Buffer& out, Tally& tally) const;

 private:
  /// Whether a URL has bytes that a field between tabs cannot have as they are.
  enum Escapes { noEscapes, mayNeedEscapes };

  void write(const vu_domain& found, std::string_view url, Escapes escapes, Buffer& out,
             Tally& tally) const;

  const vu_cctld& table_;
  Choices choices_;
  /// What the tsv row of a URL begins with: its status, in the order of `countedStatuses`.
  std::array<std::string, countedStatuses.size()> fronts_;
};

}  // namespace vu::tool

#endif  // VU_TOOLS_ROWS_H_
