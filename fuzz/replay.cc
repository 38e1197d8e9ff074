// The main function of a target that no fuzzer drives: tries the inputs of lists (*.txt), of files
// and of all files in folders, and says which one it is at.

#include <filesystem>

#include "fuzz/seeds.h"
#include "fuzz/support.h"

namespace {

void tryOut(const std::string& name, const std::string& bytes) {
  std::cout << name << std::endl;
  const vu::test::ExactCopy copy(bytes);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(copy.view().data()), bytes.size());
}

void tryAll(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    for (const auto& each : std::filesystem::directory_iterator(path)) tryAll(each.path());
  } else if (path.extension() == ".txt") {
    for (const auto& seed : vu::fuzz::readSeeds(path)) {
      tryOut(path.string() + ":" + std::to_string(seed.line), seed.bytes);
    }
  } else {
    tryOut(path, vu::test::contentOf(path));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "Usage: " << argv[0] << " LIST.txt|FILE|FOLDER...\n";
    return 2;
  }
  try {
    tryOut("nothing at all", "");
    for (int i = 1; i < argc; ++i) tryAll(argv[i]);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
  return 0;
}
