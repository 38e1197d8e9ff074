// Hosts as browsers see them: the ordinary way beside the general one, and texts that stand for
// themselves.
//
// Input: whether "http://" is in front; the text, as a URL and as typed.

#include "vu/url.h"

#include "fuzz/support.h"

namespace vu::fuzz {
namespace {

/// What is told of a host, but for where its text stands.
std::string told(const vu_host& host, const char* url) {
  return std::string(refusalName(host.refused)) + ' ' + val2str(static_cast<int>(host.kind)) + ' ' +
         std::string(host.text) + ' ' + val2str(host.port) + ' ' +
         printHexical(host.address.data(), 16, 0, false) + ' ' + std::string(host.source) + ' ' +
         (host.source.empty() ? "" : val2str(host.source.data() - url));
}

void checkHost(const std::string& text, vu_url_text how) {
  const test::ExactCopy url(text);
  // A blank in front says nothing, but is not ordinary.
  const std::string other = ' ' + text;
  std::string room(browserHostBound(text.size()), '\0');
  std::string otherRoom = room;
  const vu_host host = browserHost(url.view(), room.data(), room.size(), how);
  const vu_host general = browserHost(other, otherRoom.data(), otherRoom.size(), how);
  expectEqual(told(general, other.data() + 1), told(host, url.view().data()), "both ways");
  check(host.source.empty() || isInside(host.source.data(), host.source.size(), url.view()),
        "the source stands in the URL");
  check(host.refused != vu_host_refusal::noRoom, "the bound suffices");
  check((host.kind == vu_host_kind::none) == host.text.empty(), "a host has a text");
  check(
      host.refused == vu_host_refusal::none || (host.kind == vu_host_kind::none && host.port == -1),
      "a refusal tells nothing else");
  if (host.kind == vu_host_kind::none) return;
  check(isInside(host.text.data(), host.text.size(), url.view()) || host.text.data() == room.data(),
        "the text stands in the URL or the buffer");
  const std::string scheme = host.kind == vu_host_kind::opaque ? "foo://" : "http://";
  const std::string canonical = scheme + std::string(host.text);
  const vu_host again = browserHost(canonical, nullptr, 0);
  expectEqual(host.text, again.text, "the canonical text of a canonical text");
  check(host.kind == again.kind && host.address == again.address, "it stands for the same host");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::string text = (input.choice(2) == 1 ? "http://" : "") + input.rest();
  checkHost(text, vu_url_text::url);
  checkHost(text, vu_url_text::typed);
  return 0;
}

}  // namespace vu::fuzz
