// The URL Standard's host parser.

#ifndef VU_URL_HOST_PARSER_H_
#define VU_URL_HOST_PARSER_H_

#include <cstddef>
#include <string_view>

#include "vu/host.h"

namespace vu::detail {

/// Where a caller wants a text that stands nowhere in the URL.
struct Room {
  char* data;
  std::size_t size;
};

/// The host that a source text of at least one byte stands for, tabs and line ends in it or not.
///
/// Throws std::bad_alloc.
vu_host parseHost(std::string_view source, bool isSpecial, Room room);

}  // namespace vu::detail

#endif  // VU_URL_HOST_PARSER_H_
