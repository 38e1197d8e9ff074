// Lists of inputs that people can read: one a line, with \n, \r, \t, \0, \\ and \xNN for what a
// line cannot have. Lines that begin with "#" are comments; one that begins with "+" has words that
// inputs are likely to have, between blanks.

#ifndef VU_FUZZ_SEEDS_H_
#define VU_FUZZ_SEEDS_H_

#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vu::fuzz {

inline std::string unescaped(const std::string& line) {
  std::string bytes;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] != '\\') {
      bytes += line[i];
      continue;
    }
    const char letter = ++i < line.size() ? line[i] : ' ';
    const std::size_t kind = std::string_view("nrt0\\").find(letter);
    if (kind != std::string_view::npos) {
      bytes += "\n\r\t\0\\"[kind];
    } else if (letter == 'x') {
      bytes += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      throw std::runtime_error("no such escape: \\" + std::string(1, letter));
    }
  }
  return bytes;
}

struct Seed {
  int line;
  std::string bytes;
};

struct Seeds {
  explicit Seeds(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
      if (line.empty() || line[0] == '#') continue;
      if (line[0] != '+') {
        all.push_back({number, unescaped(line)});
        continue;
      }
      std::istringstream list(line.substr(1));
      for (std::string word; list >> word;) words.push_back(unescaped(word));
    }
    if (all.empty()) throw std::runtime_error("no seeds in " + path);
  }
  std::vector<Seed> all;
  std::vector<std::string> words;
};

/// Makes inputs up of seeds and words, the same in every run.
class Inventor {
 public:
  explicit Inventor(Seeds seeds) : seeds_(std::move(seeds)) {}

  std::string next() {
    std::string input = anySeed();
    for (auto changes = random_() % (random_() % 8 == 0 ? 60 : 10); changes > 0; --changes) {
      change(input);
    }
    return input;
  }

 private:
  const std::string& anySeed() { return seeds_.all[random_() % seeds_.all.size()].bytes; }
  const std::string& anyWord() { return seeds_.words[random_() % seeds_.words.size()]; }

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
      case 3: {
        const std::string& other = anySeed();
        input.insert(at, other, random_() % (other.size() + 1), random_() % 16);
        break;
      }
      default:
        input.insert(at, seeds_.words.empty() ? anySeed() : anyWord());
    }
  }

  Seeds seeds_;
  std::mt19937 random_;
};

}  // namespace vu::fuzz

#endif  // VU_FUZZ_SEEDS_H_
