// A program of somebody else's: one call into every compiled part.

#include <cstring>
#include <memory>

#include <vu/vu.h>

int main() {
  const vu_cctld table(nullptr, "corp.xy");
  const timespec start{5, 900000000};
  const timespec end{8, 400000000};
  vu_pcre digits("(\\d+)", 2, -1);
  const bool good = table.classify("http://www.shop.xy/").domain == "shop.xy" &&
                    digits.execute("a17", 3, 0, 0) == 2 &&
                    str2val<int>(digits.getResultStr(1, "a17")) == 17 &&
                    std::unique_ptr<xmldata>(vu_pcrexml().execute("<a/>", "t"))->child("a") &&
                    vu_crypto(1, 0, nullptr, nullptr, 0, 1).ciphersize(1) == 16 &&
                    hashfunctor<char*>()("abc") == 0x251e4793 && vu_readlock().owns_lock() &&
                    TimeDifference(end, start, false) == 2.5 && std::strlen(vu_version) > 0;
  return good ? 0 : 1;
}
