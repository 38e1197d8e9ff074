// URLs that hide their host, by the service's rule and as browsers see them.

#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>

#include <vu/domain.h>
#include <vu/url.h>

std::string domainOf(const vu_domain& found) {
  return found.status == VU_SUCCESS ? std::string(found.domain) : statusText(found.status);
}

/// The domain that a browser goes to when somebody types or follows `url`.
std::string browserDomain(const vu_cctld& table, const std::string& url) {
  char buffer[256];  // enough for every name that there can be, and every address
  const vu_host host = browserHost(url, buffer, vu_url_text::typed);
  if (host.refused != vu_host_refusal::none) return refusalText(host.refused);
  return domainOf(table.classify(host, vu_match::publicSuffix));
}

/// Fills up to `width` characters, of which those beyond ASCII have more than one byte.
std::string column(const std::string& text, std::ptrdiff_t width) {
  const auto characters =
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; });
  return text + std::string(static_cast<std::size_t>(width - characters), ' ');
}

int main() {
  std::ofstream("suffixes.txt") << "co.uk 3\n";
  vu_cctld table(nullptr);
  table.initSet("suffixes.txt");

  std::cout << column("URL", 38) << column("service rule", 30) << "browser rule\n";
  for (const std::string url :
       {"http://google.com:80@www.evil.co.uk/", "http://%65vil.com/", "http:\\\\evil.com\\x",
        "http://evil.com?x", "http:/evil.com/", "http://EVIL.com/", "http://0x7f.1/",
        "http://010.1.2.3/", "http://2130706433/", "http://256.1.2.3/", "http://255.255.255.255/",
        "http://[0:0::1]/", "http://www.bücher.com/", "http://evil。com/", "http://evil.com:99999/",
        "localhost:8080", "git://evil.com/x", "mailto:a@evil.com"}) {
    std::cout << column(url, 38) << column(domainOf(table.classify(url)), 30)
              << browserDomain(table, url) << '\n';
  }
}
