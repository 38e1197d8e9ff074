// Hash functions and key comparisons, beside the plain way of writing them.

#include "vu/hash.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

#include "bench/support.h"
#include "tests/plain/lookup2.h"

namespace vu::bench {
namespace {

constexpr std::size_t kKeys = 4096;
constexpr unsigned int kWidth = 20;

std::uint32_t ourHash(const std::string& key) {
  return hashfunctor<char*>()(key.data(), static_cast<unsigned>(key.size()));
}

std::vector<std::string> keysOf(std::size_t length) {
  std::mt19937 random(4);
  std::vector<std::string> keys(kKeys, std::string(length, ' '));
  for (std::string& key : keys) {
    for (char& c : key) c = static_cast<char>('a' + random() % 26);
  }
  return keys;
}

template <typename Hash>
void hashTexts(benchmark::State& state, Hash hash) {
  const std::vector<std::string> keys = keysOf(static_cast<std::size_t>(state.range(0)));
  for (const std::string& key : keys) {
    require(ourHash(key) == test::plainHash(key), "two hashes of " + key);
  }
  measureEach(state, keys, hash);
}

/// Two keys: the same, or different in one byte, which may be the last.
struct KeyPair {
  unsigned char first[kWidth];
  unsigned char second[kWidth];
  bool equal;
};

const std::vector<KeyPair>& keyPairs() {
  static const std::vector<KeyPair> all = [] {
    std::mt19937 random(5);
    std::vector<KeyPair> made(kKeys);
    for (KeyPair& pair : made) {
      for (unsigned char& byte : pair.first) byte = static_cast<unsigned char>(random());
      std::memcpy(pair.second, pair.first, kWidth);
      pair.equal = random() % 2 == 0;
      if (!pair.equal) pair.second[random() % kWidth] ^= 1U;
    }
    return made;
  }();
  return all;
}

template <typename Equal>
void compare(benchmark::State& state, Equal equal) {
  for (const KeyPair& pair : keyPairs()) {
    require(equal(pair) == pair.equal, "two keys are told apart wrongly");
  }
  measureEach(state, keyPairs(), equal);
}

/// A record as a table holds it, and a key to compare it with.
struct Row {
  vu_data<unsigned char*, kWidth> record;
  unsigned char key[kWidth];
};

template <typename IsKey>
void compareRecords(benchmark::State& state, IsKey isKey) {
  std::vector<Row> rows;
  for (const KeyPair& pair : keyPairs()) {
    rows.push_back({vu_data<unsigned char*, kWidth>(pair.first), {}});
    std::memcpy(rows.back().key, pair.second, kWidth);
    require(isKey(rows.back()) == pair.equal, "two keys are told apart wrongly");
  }
  measureEach(state, rows, isKey);
}

}  // namespace

void registerHash() {
  auto* const ours = add("hash/text/vu", [](benchmark::State& state) {
    hashTexts(state, [](const std::string& key) { return ourHash(key); });
  });
  auto* const plain = add("hash/text/bytes", [](benchmark::State& state) {
    hashTexts(state, [](const std::string& key) { return test::plainHash(key); });
  });
  for (auto* const each : {ours, plain}) each->Arg(16)->Arg(64)->Arg(1024);
  add("hash/cmpUC20/vu", [](benchmark::State& state) {
    compare(state, [](const KeyPair& pair) { return vu_cmpUC20(pair.first, pair.second) == 0; });
  });
  add("hash/cmpUC20/memcmp", [](benchmark::State& state) {
    compare(state,
            [](const KeyPair& pair) { return std::memcmp(pair.first, pair.second, kWidth) == 0; });
  });
  add("hash/isKey/vu", [](benchmark::State& state) {
    compareRecords(state, [](const Row& row) { return row.record.isKey(row.key); });
  });
  add("hash/isKey/memcmp", [](benchmark::State& state) {
    compareRecords(
        state, [](const Row& row) { return std::memcmp(row.record.key(), row.key, kWidth) == 0; });
  });
}

}  // namespace vu::bench
