// What a definition file comes to, apart from the table that it is for: a load that fails changes
// none.

#ifndef VU_DOMAIN_LOADED_TABLE_H_
#define VU_DOMAIN_LOADED_TABLE_H_

#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "domain/suffix_tree.h"

namespace vu::detail {

/// The suffixes of a file, all of them or those in front of a bad record.
struct LoadedTable {
  std::set<std::string> suffixes;
  std::unique_ptr<SuffixTree> tree = std::make_unique<SuffixTree>();
  int maxLabels = 0;  ///< The largest number of a record, 0 when all are below.
  /// "", or "Top level domain : Read Error at [" + N + "]-th record".
  std::string error;
};

/// Loads the file whose bytes these are; `whole` is false for one whose end could not be read.
/// Throws std::bad_alloc only.
LoadedTable loadTable(std::string_view bytes, bool whole);

}  // namespace vu::detail

#endif  // VU_DOMAIN_LOADED_TABLE_H_
