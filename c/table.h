// What stands behind the handle of C.

#ifndef VU_C_TABLE_H_
#define VU_C_TABLE_H_

#include <cstdint>
#include <string>

#include "vu/domain.h"

struct vu_table {
  std::string path;
  vu_cctld suffixes{nullptr};
  vu_table_facts facts;
  std::int64_t changed = -1;  ///< When its file was last changed.
};

#endif  // VU_C_TABLE_H_
