// The main function of a target that no fuzzer drives: tries the inputs of lists (*.txt), of files
// and of all files in folders, and says which one it is at; or makes inputs up.

#include <sys/time.h>

#include <csignal>
#include <filesystem>
#include <random>

#include "fuzz/seeds.h"
#include "fuzz/support.h"

namespace {

using Texts = std::vector<std::string>;

constexpr itimerval kMost{{0, 0}, {20, 0}};  // processor time for an input

std::string current;  // the input that is tried

void tryOut(const std::string& bytes) {
  current = bytes;
  const vu::test::ExactCopy copy(bytes);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(copy.view().data()), bytes.size());
}

void tryAll(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    for (const auto& each : std::filesystem::directory_iterator(path)) tryAll(each.path());
  } else if (path.extension() == ".txt") {
    for (const auto& seed : vu::fuzz::readSeeds(path)) {
      std::cout << path.string() << ":" << seed.line << std::endl;
      tryOut(seed.bytes);
    }
  } else {
    std::cout << path.string() << std::endl;
    tryOut(vu::test::contentOf(path));
  }
}

/// Seeds, changed a few times: the same inputs in every run.
class Inventor {
 public:
  explicit Inventor(const std::string& seeds) {
    for (const auto& seed : vu::fuzz::readSeeds(seeds)) seeds_.push_back(seed.bytes);
  }

  /// Words that inputs are likely to have: a dictionary of the fuzzer.
  void readWords(const std::string& dictionary) {
    for (const auto& word : vu::fuzz::readSeeds(dictionary)) {
      words_.push_back(word.bytes.substr(1, word.bytes.size() - 2));
    }
  }

  std::string next() {
    std::string input = anyOf(seeds_);
    for (auto changes = random_() % (random_() % 8 == 0 ? 60 : 10); changes > 0; --changes) {
      change(input);
    }
    return input;
  }

 private:
  const std::string& anyOf(const Texts& texts) { return texts[random_() % texts.size()]; }

  std::string pieceOf(const std::string& text) {
    return text.substr(random_() % (text.size() + 1), random_() % 16);
  }

  void change(std::string& input) {
    const std::size_t at = random_() % (input.size() + 1);
    const std::size_t few = random_() % 8;
    switch (random_() % 8) {
      case 0:
        input.erase(at, few == 0 ? std::string::npos : few);
        break;
      case 1:
        input.replace(at, few % 2, 1, static_cast<char>(random_()));
        break;
      case 2:  // another choice, of which most inputs have some in front
        if (few < input.size()) input[few] = static_cast<char>('0' + random_() % 16);
        break;
      case 3:
        input.insert(at, pieceOf(anyOf(seeds_)));
        break;
      default:
        input.insert(at, words_.empty() ? anyOf(seeds_) : anyOf(words_));
    }
  }

  Texts seeds_;
  Texts words_;
  std::mt19937 random_;
};

/// Says which input ends the process. Little can go wrong further in one that does.
void tellInput(int signal) {
  std::cerr << "with the input " << vu::fuzz::escaped(current) << std::endl;
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

int main(int argc, char** argv) {
  const Texts words(argv + 1, argv + argc);
  for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGPROF}) {
    std::signal(signal, tellInput);
  }
  try {
    if (words.size() >= 3 && words[0] == "--invent") {
      Inventor inventor(words[2]);
      if (words.size() > 3) inventor.readWords(words[3]);
      for (int i = std::stoi(words[1]); i > 0; --i) {
        setitimer(ITIMER_PROF, &kMost, nullptr);
        tryOut(inventor.next());
      }
    } else if (!words.empty()) {
      tryOut("");
      for (const std::string& each : words) tryAll(each);
    } else {
      std::cerr << "Usage: fuzz_NAME LIST.txt|FILE|FOLDER...\n"
                   "       fuzz_NAME --invent COUNT SEEDS.txt [DICTIONARY.txt]\n";
      return 2;
    }
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
  return 0;
}
