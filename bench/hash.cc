// Hash functions and key comparisons, beside the plain way of writing them.

#include "vu/hash.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

#include "bench/support.h"

namespace vu::bench {
namespace {

constexpr std::size_t kKeys = 4096;
constexpr unsigned int kWidth = 20;

/// Bob Jenkins' lookup2 as its author tells it for any machine: byte by byte.
class Lookup2 {
 public:
  std::uint32_t operator()(const unsigned char* key, std::uint32_t length) {
    a_ = b_ = 0x9e3779b9U;  // the golden ratio: any value without a pattern
    c_ = 0;
    std::uint32_t left = length;
    for (; left >= 12; left -= 12, key += 12) {
      a_ += word(key);
      b_ += word(key + 4);
      c_ += word(key + 8);
      mix();
    }
    // The lowest byte of c is kept for the length.
    c_ += length;
    switch (left) {
      case 11:
        c_ += std::uint32_t{key[10]} << 24;
        [[fallthrough]];
      case 10:
        c_ += std::uint32_t{key[9]} << 16;
        [[fallthrough]];
      case 9:
        c_ += std::uint32_t{key[8]} << 8;
        [[fallthrough]];
      case 8:
        b_ += std::uint32_t{key[7]} << 24;
        [[fallthrough]];
      case 7:
        b_ += std::uint32_t{key[6]} << 16;
        [[fallthrough]];
      case 6:
        b_ += std::uint32_t{key[5]} << 8;
        [[fallthrough]];
      case 5:
        b_ += key[4];
        [[fallthrough]];
      case 4:
        a_ += std::uint32_t{key[3]} << 24;
        [[fallthrough]];
      case 3:
        a_ += std::uint32_t{key[2]} << 16;
        [[fallthrough]];
      case 2:
        a_ += std::uint32_t{key[1]} << 8;
        [[fallthrough]];
      case 1:
        a_ += key[0];
        break;
      default:
        break;
    }
    mix();
    return c_;
  }

 private:
  static std::uint32_t word(const unsigned char* at) {
    return std::uint32_t{at[0]} + (std::uint32_t{at[1]} << 8) + (std::uint32_t{at[2]} << 16) +
           (std::uint32_t{at[3]} << 24);
  }

  void mix() {
    a_ = (a_ - b_ - c_) ^ (c_ >> 13);
    b_ = (b_ - c_ - a_) ^ (a_ << 8);
    c_ = (c_ - a_ - b_) ^ (b_ >> 13);
    a_ = (a_ - b_ - c_) ^ (c_ >> 12);
    b_ = (b_ - c_ - a_) ^ (a_ << 16);
    c_ = (c_ - a_ - b_) ^ (b_ >> 5);
    a_ = (a_ - b_ - c_) ^ (c_ >> 3);
    b_ = (b_ - c_ - a_) ^ (a_ << 10);
    c_ = (c_ - a_ - b_) ^ (b_ >> 15);
  }

  std::uint32_t a_ = 0;
  std::uint32_t b_ = 0;
  std::uint32_t c_ = 0;
};

std::uint32_t ourHash(const std::string& key) {
  return hashfunctor<char*>()(key.data(), static_cast<unsigned>(key.size()));
}

std::uint32_t plainHash(const std::string& key) {
  return Lookup2()(reinterpret_cast<const unsigned char*>(key.data()),
                   static_cast<std::uint32_t>(key.size()));
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
    require(ourHash(key) == plainHash(key), "two hashes of " + key);
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
    hashTexts(state, [](const std::string& key) { return plainHash(key); });
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
