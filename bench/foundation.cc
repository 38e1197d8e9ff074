// Text and numbers, beside streams and beside the bare routines of the standard library.

#include "vu/foundation.h"

#include <charconv>
#include <random>
#include <sstream>

#include "bench/support.h"

namespace vu::bench {
namespace {

/// Numbers of one to ten digits, as many of each length, of either sign.
const std::vector<int>& numbers() {
  static const std::vector<int> all = [] {
    std::mt19937 random(2);
    std::vector<int> made;
    for (int i = 0; i < 4096; ++i) {
      int value = static_cast<int>(random() >> 1);
      for (auto shorter = random() % 10; shorter > 0; --shorter) value /= 10;
      made.push_back(random() % 4 == 0 ? -value : value);
    }
    return made;
  }();
  return all;
}

const std::vector<std::string>& texts() {
  static const std::vector<std::string> all = [] {
    std::vector<std::string> made;
    for (const int value : numbers()) made.push_back(std::to_string(value));
    return made;
  }();
  return all;
}

const std::vector<std::string>& fractions() {
  static const std::vector<std::string> all = [] {
    std::vector<std::string> made;
    for (const int value : numbers()) made.push_back(std::to_string(value / 1024.0));
    return made;
  }();
  return all;
}

template <typename Read>
void readAll(benchmark::State& state, Read read) {
  for (std::size_t i = 0; i < texts().size(); ++i) {
    require(read(texts()[i]) == numbers()[i], "wrong number for " + texts()[i]);
  }
  measureEach(state, texts(), read);
}

template <typename Write>
void writeAll(benchmark::State& state, Write write) {
  for (std::size_t i = 0; i < texts().size(); ++i) {
    require(write(numbers()[i]) == texts()[i], "wrong text for " + texts()[i]);
  }
  measureEach(state, numbers(), write);
}

template <typename Read>
void readFractions(benchmark::State& state, Read read) {
  for (const std::string& text : fractions()) {
    require(std::to_string(read(text)) == text, "wrong number for " + text);
  }
  measureEach(state, fractions(), read);
}

template <typename T>
T byStream(const std::string& text) {
  std::istringstream stream(text);
  T value{};
  stream >> value;
  return value;
}

int byFromChars(const std::string& text) {
  int value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

std::string writtenByStream(int value) {
  std::ostringstream stream;
  stream << value;
  return stream.str();
}

bool isRefused(const std::string& text) {
  try {
    static_cast<void>(str2val<int>(text));
  } catch (const vu_exception&) {
    return true;
  }
  return false;
}

bool isRefusedByStream(const std::string& text) {
  std::istringstream stream(text);
  int value = 0;
  return !(stream >> value);
}

/// Texts that are no numbers: what a refusal costs, the exception included.
template <typename IsRefused>
void refuseAll(benchmark::State& state, IsRefused isRefused) {
  const std::vector<std::string> bad = {"x", "-", "99999999999999999999", std::string(4096, ' ')};
  for (const std::string& text : bad) require(isRefused(text), "not refused: " + text);
  measureEach(state, bad, isRefused);
}

}  // namespace

void registerFoundation() {
  add("foundation/str2val/vu", [](benchmark::State& state) {
    readAll(state, [](const std::string& text) { return str2val<int>(text); });
  });
  add("foundation/str2val/istringstream", [](benchmark::State& state) {
    readAll(state, [](const std::string& text) { return byStream<int>(text); });
  });
  add("foundation/str2val/from_chars", [](benchmark::State& state) {
    readAll(state, [](const std::string& text) { return byFromChars(text); });
  });
  add("foundation/val2str/vu",
      [](benchmark::State& state) { writeAll(state, [](int value) { return val2str(value); }); });
  add("foundation/val2str/ostringstream", [](benchmark::State& state) {
    writeAll(state, [](int value) { return writtenByStream(value); });
  });
  add("foundation/val2str/to_string", [](benchmark::State& state) {
    writeAll(state, [](int value) { return std::to_string(value); });
  });
  add("foundation/str2val-double/vu", [](benchmark::State& state) {
    readFractions(state, [](const std::string& text) { return str2val<double>(text); });
  });
  add("foundation/str2val-double/istringstream", [](benchmark::State& state) {
    readFractions(state, [](const std::string& text) { return byStream<double>(text); });
  });
  add("foundation/str2val-refused/vu",
      [](benchmark::State& state) { refuseAll(state, isRefused); });
  add("foundation/str2val-refused/istringstream",
      [](benchmark::State& state) { refuseAll(state, isRefusedByStream); });
}

}  // namespace vu::bench
