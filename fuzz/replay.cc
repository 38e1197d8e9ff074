// The main function of a target that no fuzzer drives: tries the inputs of lists (*.txt), of files
// and of all files in folders, and says which one it is at; or makes inputs up.

#include <sys/time.h>

#include <csignal>
#include <filesystem>

#include "fuzz/seeds.h"
#include "fuzz/support.h"

namespace {

constexpr itimerval kMost{{0, 0}, {20, 0}};  // processor time for an input

std::string current;  // the input that is tried

void tryOut(const std::string& bytes) {
  current = bytes;
  const vu::test::ExactCopy copy(bytes);
  vu::fuzz::LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(copy.view().data()),
                                   bytes.size());
}

void tryAll(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    for (const auto& each : std::filesystem::directory_iterator(path)) tryAll(each.path());
  } else if (path.extension() == ".txt") {
    for (const auto& seed : vu::fuzz::Seeds(path).all) {
      std::cout << path.string() << ":" << seed.line << std::endl;
      tryOut(seed.bytes);
    }
  } else {
    std::cout << path.string() << std::endl;
    tryOut(vu::test::contentOf(path));
  }
}

/// Says which input ends the process, as a line of a list. Little can go wrong further in one that
/// does.
void tellInput(int signal) {
  std::cerr << "with the input " << std::hex;
  for (const char c : current) {
    const bool isPlain = c >= 0x20 && c < 0x7f && std::strchr("\\#+", c) == nullptr;
    if (isPlain) {
      std::cerr << c;
    } else {
      std::cerr << "\\x" << (c >> 4 & 15) << (c & 15);
    }
  }
  std::cerr << std::endl;
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGPROF}) {
    std::signal(signal, tellInput);
  }
  try {
    if (words.size() == 3 && words[0] == "--invent") {
      vu::fuzz::Inventor inventor{vu::fuzz::Seeds(words[2])};
      for (int i = std::stoi(words[1]); i > 0; --i) {
        setitimer(ITIMER_PROF, &kMost, nullptr);
        tryOut(inventor.next());
      }
    } else if (!words.empty()) {
      tryOut("");
      for (const std::string& each : words) tryAll(each);
    } else {
      std::cerr << "Usage: fuzz_NAME LIST.txt|FILE|FOLDER...\n"
                   "       fuzz_NAME --invent COUNT LIST.txt\n";
      return 2;
    }
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
  return 0;
}
