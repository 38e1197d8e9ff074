// The same URLs by the two rules of matching: the service's own and that of the Public Suffix List.

#include <fstream>
#include <iomanip>
#include <iostream>
#include <string>

#include <vu/domain.h>

std::string domainOf(const vu_cctld& table, const char* url, vu_match rule) {
  const vu_domain found = table.classify(url, rule);
  if (found.status != VU_SUCCESS) return statusText(found.status);
  return std::string(found.domain);
}

int main() {
  // What `vu suffixes build` makes of a Public Suffix List: wildcards and exceptions are kept.
  std::ofstream("suffixes.txt") << "co.uk 3\nltd.co.uk 4\n*.ck 3\n!www.ck 2\n";
  vu_cctld table(nullptr);
  try {
    table.initSet("suffixes.txt");
    std::cout << std::left << std::setw(32) << "URL" << std::setw(30) << "shortest"
              << "public suffix\n";
    for (const char* url : {"http://www.shop.co.uk/", "http://www.shop.ltd.co.uk/",
                            "http://WWW.SHOP.CO.UK/", "http://a.b.ck/", "http://a.www.ck/",
                            "http://co.uk/", "http://shop.example./", "http://10.1.2.3:8080/"}) {
      std::cout << std::setw(32) << url << std::setw(30) << domainOf(table, url, vu_match::shortest)
                << domainOf(table, url, vu_match::publicSuffix) << '\n';
    }
  } catch (const vu_exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
