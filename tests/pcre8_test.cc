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

/// Around the number of steps behind which PCRE gives up.
TEST(Pcre8, TakesAsManyStepsAsPcre) {
  const vu::test::Interpreter plain("(a+)+[bc]", 0);
  vu_pcre pattern("(a+)+[bc]", 2, 0);
  for (const std::size_t length : {19U, 21U, 22U, 24U}) {
    const std::string subject = std::string(length, 'a') + "d";
    std::vector<int> offsets(6);
    EXPECT_EQ(plain.search(subject, 0, 0, offsets),
              pattern.execute(subject.data(), static_cast<int>(subject.size()), 0, 0))
        << length;
  }
}

}  // namespace
