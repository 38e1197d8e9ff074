// Between lists of inputs and files with one input each, which fuzzers want.
//
// Usage: fuzz_seeds unpack LIST.txt FOLDER     a file for each line
//        fuzz_seeds line FILE...               each file as a line

#include "fuzz/seeds.h"

#include <exception>
#include <iostream>

#include "tests/support.h"

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  try {
    if (words.size() == 3 && words[0] == "unpack") {
      for (const auto& seed : vu::fuzz::readSeeds(words[1])) {
        std::ofstream(words[2] + "/seed-" + std::to_string(seed.line), std::ios::binary)
            << seed.bytes;
      }
      return 0;
    }
    if (words.size() >= 2 && words[0] == "line") {
      for (std::size_t i = 1; i < words.size(); ++i) {
        std::cout << vu::fuzz::escaped(vu::test::contentOf(words[i])) << '\n';
      }
      return 0;
    }
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
  std::cerr << "Usage: fuzz_seeds unpack LIST.txt FOLDER | fuzz_seeds line FILE...\n";
  return 2;
}
