// Runs the tests in the locale of the environment, which must have decimal commas when asked for.

#include <cstdlib>
#include <iostream>
#include <locale>

#include <gtest/gtest.h>

#include "tests/allocations.h"

int main(int argc, char** argv) {
  if (!vu::test::watchLibraries()) {
    std::cerr << "OpenSSL has allocated memory already\n";
    return 1;
  }
  testing::InitGoogleTest(&argc, argv);
  if (std::getenv("VU_TEST_DECIMAL_COMMA") != nullptr) {
    std::locale::global(std::locale(""));
    const auto& form = std::use_facet<std::numpunct<char>>(std::locale());
    if (form.decimal_point() != ',' || form.grouping().empty()) {
      std::cerr << "this locale has no decimal comma\n";
      return 1;
    }
  }
  const int result = RUN_ALL_TESTS();
  // A filter that fits nothing has tested nothing.
  return testing::UnitTest::GetInstance()->test_to_run_count() > 0 ? result : 1;
}
