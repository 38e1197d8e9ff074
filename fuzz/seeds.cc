// Between lists of inputs and what fuzzers want: files with one input each, and dictionaries.
//
// Usage: fuzz_seeds unpack LIST.txt FOLDER     a file for each line, and FOLDER.dict
//        fuzz_seeds line FILE...               each file as a line

#include "fuzz/seeds.h"

#include <exception>
#include <iostream>

#include "tests/support.h"

namespace {

void unpack(const std::string& list, const std::string& folder) {
  const vu::fuzz::Seeds seeds(list);
  for (const auto& seed : seeds.all) {
    std::ofstream(folder + "/seed-" + std::to_string(seed.line), std::ios::binary) << seed.bytes;
  }
  std::ofstream words(folder + ".dict");
  for (const std::string& word : seeds.words) {
    words << '"' << std::hex;
    for (const char c : word) {
      const int byte = static_cast<unsigned char>(c);
      words << "\\x" << byte / 16 << byte % 16;
    }
    words << "\"\n";
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  try {
    if (words.size() == 3 && words[0] == "unpack") {
      unpack(words[1], words[2]);
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
