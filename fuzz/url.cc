// Hosts as browsers see them: the ordinary way beside the general one, and texts that stand for
// themselves.
//
// Input: whether "http://" is in front; the text, as a URL and as typed.

#include "vu/url.h"

#include "fuzz/support.h"

namespace vu::fuzz {
namespace {

/// A host that has been told from its canonical text alone.
void checkCanonical(const vu_host& host) {
  const std::string scheme = host.kind == vu_host_kind::opaque ? "foo://" : "http://";
  const std::string url = scheme + std::string(host.text);
  const vu_host again = browserHost(url, nullptr, 0);
  expectEqual(host.text, again.text, "the canonical text of a canonical text");
  check(host.kind == again.kind && host.address == again.address, "it stands for the same host");
}

void checkHost(const std::string& text, vu_url_text how) {
  const test::ExactCopy url(text);
  // A blank in front says nothing, but is not ordinary.
  const std::string other = ' ' + text;
  std::string room(browserHostBound(text.size()), '\0');
  std::string otherRoom = room;
  const vu_host host = browserHost(url.view(), room.data(), room.size(), how);
  const vu_host general = browserHost(other, otherRoom.data(), otherRoom.size(), how);
  expectEqual(refusalName(general.refused), std::string(refusalName(host.refused)), "refusal");
  check(general.kind == host.kind && general.address == host.address, "kind and address");
  expectEqual(general.text, host.text, "text");
  expectEqual(general.port, host.port, "port");
  expectEqual(general.source, host.source, "source");
  if (!host.source.empty()) {
    check(isInside(host.source.data(), host.source.size(), url.view()), "it stands in the URL");
    expectEqual(general.source.data() - other.data(), host.source.data() - url.view().data() + 1,
                "where it stands");
  }

  check(host.refused != vu_host_refusal::noRoom, "the bound suffices");
  check((host.kind == vu_host_kind::none) == host.text.empty(), "a host has a text");
  if (host.refused != vu_host_refusal::none) {
    check(host.kind == vu_host_kind::none && host.port == -1, "a refusal tells nothing else");
  } else if (host.kind != vu_host_kind::none) {
    check(
        isInside(host.text.data(), host.text.size(), url.view()) || host.text.data() == room.data(),
        "the text stands in the URL or the buffer");
    checkCanonical(host);
  }
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
