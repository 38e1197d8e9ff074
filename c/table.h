// What stands behind the handle of C.

#ifndef VU_C_TABLE_H_
#define VU_C_TABLE_H_

#include <string>

#include "vu/domain.h"

struct vu_table {
  std::string path;
  vu_cctld suffixes{nullptr};
};

#endif  // VU_C_TABLE_H_
