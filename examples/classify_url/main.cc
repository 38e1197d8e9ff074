// Classifies two URLs with a table of one suffix.

#include <fstream>
#include <iostream>

#include <vu/domain.h>

int main() {
  std::ofstream("suffixes.txt") << "co.uk 3\n";  // a domain under co.uk has three labels
  vu_cctld table(nullptr);
  table.initSet("suffixes.txt");  // throws a vu_exception when it cannot

  for (const char* url : {"http://www.shop.co.uk:8080/index.html", "user@shop.co.uk"}) {
    const vu_domain found = table.classify(url);
    if (found.status == VU_SUCCESS) {
      std::cout << found.domain << '\n';  // shop.co.uk
    } else {
      std::cout << url << ": " << statusText(found.status) << '\n';
    }
  }
}
