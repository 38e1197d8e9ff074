// Tables made from a file, apart from the table that they are for: a load that fails changes none.

#ifndef VU_DOMAIN_LOAD_H_
#define VU_DOMAIN_LOAD_H_

#include <memory>
#include <string>
#include <string_view>

#include "domain/suffix_table.h"

namespace vu::detail {

struct LoadedTable {
  std::unique_ptr<SuffixTable> table;
  int maxLabels = 0;     ///< What the table asks for, 0 when that is the least.
  std::string error;     ///< "", or why the file is not taken whole.
  bool changed = false;  ///< Whether the file changed while it was read.
};

/// The suffixes of a definition file, all of them or those in front of a bad record; the error then
/// is "Top level domain : Read Error at [" + N + "]-th record". Throws vu_exception for a file that
/// cannot be opened, and std::bad_alloc.
LoadedTable loadDefinition(const char* path);

/// The table of a file in any form; nothing of one with an error. A compiled table is used where it
/// lies, after a look at its header, or with `checksAll` at all of its bytes. Throws as above.
LoadedTable loadAny(const char* path, bool checksAll);

/// The same of a file that is in memory already; `name` stands for it in messages.
LoadedTable loadAny(std::string bytes, const std::string& name);

}  // namespace vu::detail

#endif  // VU_DOMAIN_LOAD_H_
