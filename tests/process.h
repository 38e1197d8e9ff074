// Other processes: the vu tool in a shell command line, and pieces of tests.

#ifndef VU_TESTS_PROCESS_H_
#define VU_TESTS_PROCESS_H_

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
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
  const std::string line = "vu='" VU_TOOL "'; PATH=${vu%/*}:$PATH; { " + command + "; } <" +
                           in.path() + " >" + out.path() + " 2>" + err.path();
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

/// Runs `action` in a child process, up to the end of its static objects. Its failures are printed.
template <typename Action>
void inChild(Action action) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    try {
      action();
    } catch (const std::exception& failure) {
      ADD_FAILURE() << failure.what();
    }
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
}

}  // namespace vu::test

#endif  // VU_TESTS_PROCESS_H_
