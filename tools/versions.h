// What this program is made of.

#ifndef VU_TOOLS_VERSIONS_H_
#define VU_TOOLS_VERSIONS_H_

#include <string>

namespace vu::tool {

/// "vu VERSION", then a line for each library: its name and the version that this process runs
/// with; or was built with, of what is all headers or would have to be loaded for the question, as
/// OpenSSL is with the first cipher. No line end behind the last.
std::string versions();

}  // namespace vu::tool

#endif  // VU_TOOLS_VERSIONS_H_
