// What only a library over PCRE 8 has.

#include <pcre.h>

#include <gtest/gtest.h>

#include "tests/allocations.h"
#include "tests/plain/pattern.h"
#include "tests/support.h"
#include "vu/pattern.h"

void vu::test::watchPatterns(void* (*allocate)(std::size_t), void (*release)(void*)) {
  pcre_malloc = allocate;
  pcre_free = release;
}

namespace {

/// Around the number of steps behind which PCRE gives up, and where its just-in-time code keeps a
/// group that its interpreter drops.
TEST(Pcre8, SearchesAsPcreDoes) {
  for (const auto& [pattern, length] :
       {std::pair("(a+)+[bc]", 19), std::pair("(a+)+[bc]", 21), std::pair("(a+)+[bc]", 22),
        std::pair("(a+)+[bc]", 24), std::pair("(a)*+b|d", 2)}) {
    const std::string subject = vu::test::repeated("a", length) + "d";
    std::vector<int> offsets(6);
    EXPECT_EQ(vu::test::Interpreter(pattern, 0).search(subject, 0, 0, offsets),
              vu_pcre(pattern, 2, 0).execute(subject.data(), length + 1, 0, 0))
        << length;
  }
}

}  // namespace
