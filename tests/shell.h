// The vu tool in a shell command line.

#ifndef VU_TESTS_SHELL_H_
#define VU_TESTS_SHELL_H_

#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/support.h"

namespace vu::test {

struct Result {
  int status;
  std::string out;
  std::string err;
};

/// Runs a shell command line in which "vu" is the tool.
inline Result run(const std::string& command, std::string_view input = "") {
  const TemporaryFile in(input);
  const TemporaryFile out;
  const TemporaryFile err;
  const std::string line = "vu() { '" VU_TOOL "' \"$@\"; }; { " + command + "; } <" + in.path() +
                           " >" + out.path() + " 2>" + err.path();
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(out.path()),
          contentOf(err.path())};
}

/// `expected` within `text`; an empty one means an empty text.
inline testing::AssertionResult says(const std::string& text, const std::string& expected) {
  const bool good = expected.empty() ? text.empty() : text.find(expected) != std::string::npos;
  return (good ? testing::AssertionSuccess() : testing::AssertionFailure())
         << "expected: " << expected << "\nfound: " << text.substr(0, 2000);
}

}  // namespace vu::test

#endif  // VU_TESTS_SHELL_H_
