// From libpsl to libvu: its calls and what stands for them here, side by side. Exit status 1 when
// the two disagree. The whole table is in docs/guide.md.
//
//   psl_load_file(list)                    vu_cctld and `initSet` or `reload`, on the file that
//                                          `vu suffixes build` makes of the list
//   psl_free(psl)                          the table's destructor
//   psl_registrable_domain(psl, host)      .domain of `classify`: of a host or of a whole URL
//   psl_is_public_suffix(psl, host)        .status is VU_COUNTRY_CODE_PURE_DOMAIN; of one label,
//                                          VU_COUNTRY_CODE_TOO_SHORT
//   psl_unregistrable_domain(psl, host)    what follows the first dot of .domain
//   psl_suffix_count(psl)                  `suffixCount`, wildcards and exceptions included
//   psl_str_to_utf8lower(...)              not needed: letter case is ignored, and international
//                                          names are looked up in the form of DNS, xn--...
//
// One difference: a rule "*.city.jp" alone makes "city.jp" a public suffix for libpsl; here that
// takes a rule of its own.

#include <libpsl.h>

#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>

#include <vu/domain.h>

int main() {
  std::ofstream("list.dat") << "uk\nco.uk\n*.ck\n!www.ck\n";
  const std::unique_ptr<psl_ctx_t, void (*)(psl_ctx_t*)> psl(psl_load_file("list.dat"), psl_free);

  // vu suffixes build list.dat -o suffixes.txt
  std::ofstream("suffixes.txt") << "uk 2\nco.uk 3\n*.ck 3\n!www.ck 2\n";
  vu_cctld table(nullptr);
  table.initSet("suffixes.txt");

  int differences = 0;
  std::cout << std::left << std::boolalpha;
  for (const char* host : {"www.shop.co.uk", "shop.uk", "co.uk", "uk", "a.b.ck", "b.ck", "a.www.ck",
                           "www.shop.example"}) {
    const char* const theirs = psl_registrable_domain(psl.get(), host);
    const bool theirSuffix = psl_is_public_suffix(psl.get(), host) != 0;

    const vu_domain ours = table.classify(host, vu_match::publicSuffix);
    const bool ourSuffix =
        ours.status == VU_COUNTRY_CODE_PURE_DOMAIN || ours.status == VU_COUNTRY_CODE_TOO_SHORT;

    std::cout << std::setw(18) << host << std::setw(14) << ours.domain << ourSuffix << '\n';
    if (ours.domain != (theirs != nullptr ? theirs : "") || ourSuffix != theirSuffix) ++differences;
  }
  return differences == 0 ? 0 : 1;
}
