// Lists of inputs that people can read: one a line, with \n, \r, \t, \0, \\ and \xNN for what a
// line cannot have. Lines that begin with "#" are comments.

#ifndef VU_FUZZ_SEEDS_H_
#define VU_FUZZ_SEEDS_H_

#include <fstream>
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

inline std::string escaped(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string line;
  for (const char c : bytes) {
    const std::size_t kind = std::string_view("\n\r\t\0\\", 5).find(c);
    const auto byte = static_cast<unsigned char>(c);
    if (kind != std::string_view::npos) {
      line += std::string("\\") + "nrt0\\"[kind];
    } else if (byte < 0x20 || byte >= 0x7f || (line.empty() && c == '#')) {
      line += std::string("\\x") + kDigits[byte >> 4] + kDigits[byte & 15];
    } else {
      line += c;
    }
  }
  return line;
}

struct Seed {
  int line;
  std::string bytes;
};

inline std::vector<Seed> readSeeds(const std::string& path) {
  std::ifstream file(path);
  std::vector<Seed> seeds;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (!line.empty() && line[0] != '#') seeds.push_back({number, unescaped(line)});
  }
  if (seeds.empty()) throw std::runtime_error("no seeds in " + path);
  return seeds;
}

}  // namespace vu::fuzz

#endif  // VU_FUZZ_SEEDS_H_
