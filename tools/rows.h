// The rows of `vu classify`: one a URL, of the columns that were asked for.

#ifndef VU_TOOLS_ROWS_H_
#define VU_TOOLS_ROWS_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/buffer.h"
#include "tools/host_reader.h"
#include "tools/input.h"
#include "tools/lines.h"
#include "tools/row_frame.h"
#include "tools/table.h"
#include "vu/domain.h"

namespace vu::tool {

/// What a row may tell of a URL. `rule` and `section` say why, `file` and `line` where it stands.
enum class RowColumn {
  status,
  text,
  domain,
  address,
  url,
  subdomain,
  suffix,
  rule,
  section,
  file,
  line
};
inline constexpr std::size_t kRowColumns = 11;

/// By which rule the host of a URL is found.
enum class HostRule { browser, service };

/// Where a URL was read; `line` is 0 for one of the command line.
struct UrlPlace {
  std::string_view file;
  std::uint64_t line = 0;
};

/// What a batch of URLs came to.
struct Tally {
  std::uint64_t urls = 0;
  std::uint64_t withoutDomain = 0;
  std::array<std::uint64_t, 6> byStatus{};  ///< In the order of `countedStatuses`.
  std::unordered_map<std::string, std::uint64_t> domains;
};

/// The statuses that a row can have: those of a URL, and that of a line too long to be one.
inline constexpr std::array<vu_status, 6> countedStatuses = {VU_SUCCESS,
                                                             VU_COUNTRY_CODE_EMPTY_URL,
                                                             VU_COUNTRY_CODE_NOT_A_DOMAIN,
                                                             VU_COUNTRY_CODE_TOO_SHORT,
                                                             VU_COUNTRY_CODE_PURE_DOMAIN,
                                                             VU_MALFORMED_URL};

/// Classifies URLs and writes their rows. Threads: one writer may serve several at once.
class RowWriter {
 public:
  struct Choices {
    HostRule host = HostRule::browser;
    vu_match match = vu_match::shortest;
    RowOptions rows;
    std::vector<RowColumn> columns = {RowColumn::status, RowColumn::text, RowColumn::domain,
                                      RowColumn::address, RowColumn::url};
    unsigned int narrowing = 0;  ///< Of vu_narrowing.
    bool onlyFailed = false;
    bool countDomains = false;
    bool isSilent = false;  ///< No rows: they are only counted.
    EntryEnd entryEnd = EntryEnd::line;
    bool colours = false;  ///< In an aligned table: green for success, red for a refusal.
  };

  RowWriter(const vu_cctld& table, Choices choices);

  /// Adds the line of titles, if there is to be one.
  void writeTitles(Buffer& out) const { rows_.appendTitles(out, choices_.colours); }

  /// Whether a row tells this.
  bool has(RowColumn column) const;

  /// Adds the row of one URL to `out` and counts it in `tally`.
  void write(std::string_view url, UrlPlace place, Buffer& out, Tally& tally) const;

  /// The same for what cannot be a URL, whatever its host: it has status 1003.
  void writeMalformed(std::string_view text, UrlPlace place, Buffer& out, Tally& tally) const;

  /// Adds the row of a line of `length` bytes that was skipped because of its length.
  void writeSkipped(std::uint64_t length, UrlPlace place, Buffer& out, Tally& tally) const;

  /// Adds the row of every line of `block`, each with its end, which the last one may lack. The
  /// first one stands at `place`.
  void writeLines(std::string_view block, UrlPlace place, Buffer& out, Tally& tally) const;

 private:
  /// A URL as it was read.
  struct Entry {
    std::string_view url;
    UrlPlace place;
  };

  /// What a block's rows are made with: `place` is that of the lines that come next.
  struct Rows {
    HostReader hosts;
    UrlPlace place;
    Buffer& out;
    Tally& tally;
  };

  vu_reason find(std::string_view url, HostReader& hosts) const;
  void write(const vu_reason& reason, const Entry& entry, Buffer& out, Tally& tally) const;
  void writeLine(const LineChunk& chunk, std::size_t i, Rows& rows) const;
  /// The rows of lines by `frame_`, but for those that are not ordinary.
  void writeFramed(const LineChunk& chunk, Rows& rows) const;
  /// The number or the text of a status, by its place in `countedStatuses`.
  Cell statusCell(RowColumn column, std::size_t place) const;
  void count(std::string_view domain, std::size_t place, Tally& tally) const;
  void makeFrame();

  const vu_cctld& table_;
  Choices choices_;
  Table rows_;
  Unsafe unsafe_;  ///< In the format of the rows.
  std::array<std::string, countedStatuses.size()> numbers_;
  bool explains_ = false;  ///< Whether a rule is told, or rules are left out.
  /// Of the rows of ordinary URLs; none where these tell more than a frame has.
  std::optional<RowFrame> frame_;
};

}  // namespace vu::tool

#endif  // VU_TOOLS_ROWS_H_
