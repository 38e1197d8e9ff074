// The host of a URL as browsers see it, with room for those that stand nowhere in it.

#ifndef VU_TOOLS_HOST_READER_H_
#define VU_TOOLS_HOST_READER_H_

#include <memory>
#include <string_view>

#include "vu/url.h"

namespace vu::tool {

/// Reads hosts, one at a time. Threads: each has its own.
class HostReader {
 public:
  explicit HostReader(vu_url_text how) : how_(how) {}

  /// The host of `url`, which holds until the next call.
  vu_host read(std::string_view url) {
    const vu_host host = browserHost(url, usual_, how_);
    return host.refused == vu_host_refusal::noRoom ? readLong(url, host.source.size()) : host;
  }

 private:
  /// Once more, with room for whatever a host of that length may come to.
  vu_host readLong(std::string_view url, std::size_t length) {
    const std::size_t size = browserHostBound(length);
    long_.reset(new char[size]);
    return browserHost(url, long_.get(), size, how_);
  }

  vu_url_text how_;
  char usual_[256] = {};
  std::unique_ptr<char[]> long_;
};

}  // namespace vu::tool

#endif  // VU_TOOLS_HOST_READER_H_
