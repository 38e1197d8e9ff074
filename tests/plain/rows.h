// The rows of `vu classify`, told plainly.

#ifndef VU_TESTS_PLAIN_ROWS_H_
#define VU_TESTS_PLAIN_ROWS_H_

#include <sstream>
#include <string>
#include <string_view>

#include "vu/domain.h"

namespace vu::test {

/// A field of a tsv row, told plainly.
inline std::string tabSafe(std::string_view text) {
  std::string safe;
  for (const char c : text) {
    const std::size_t kind = std::string_view("\t\n\r\\").find(c);
    safe += kind == std::string_view::npos ? std::string(1, c) : std::string("\\") + "tnr\\"[kind];
  }
  return safe;
}

/// The tsv row of a URL, told plainly.
inline std::string plainRow(const vu_cctld& table, std::string_view url,
                            vu_match match = vu_match::shortest) {
  const vu_domain found = table.classify(url, match);
  std::string domain(found.domain);
  if (found.status == VU_SUCCESS && found.domain.data() == nullptr) {
    domain = std::string(found.host) + "." + table.defaultDomain();
  }
  std::ostringstream row;
  row << found.status << '\t' << findStringByValue(found.status, statusTable, 10001) << '\t'
      << tabSafe(domain) << '\t';
  for (int shift = 24; found.isAddress() && shift >= 0; shift -= 8) {
    row << (found.ipAddress() >> shift & 255U) << (shift > 0 ? "." : "");
  }
  row << '\t' << tabSafe(url) << '\n';
  return row.str();
}

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_ROWS_H_
