// A table that threads share: records by 20-byte keys, such as SHA-1 digests, under one
// reader/writer lock. Readers go side by side; nobody waits longer than a quarter of a second.

#include <cerrno>
#include <iostream>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include <vu/hash.h>
#include <vu/locks.h>

using Key = vu_data<unsigned char*, 20>;  // the key's bytes, with a pointer to its record

struct KeyHash {
  std::size_t operator()(const Key& key) const {
    return hashfunctor<unsigned char*>()(key.key(), 20);
  }
};
struct KeysEqual {
  bool operator()(const Key& a, const Key& b) const { return a.isKey(b.key()); }
};

class SharedTable {
 public:
  /// Keeps `record` under `key`, in place of another; the table does not own it. 0, or an error
  /// number such as ETIMEDOUT.
  int store(const unsigned char* key, unsigned char* record) {
    const vu_writelock writing(lock_, kPatience);
    if (!writing.owns_lock()) return writing.result();
    keys_.erase(Key(key));
    keys_.emplace(key, record);
    return 0;
  }

  /// The record of `key`, null when there is none. 0, or an error number.
  int find(const unsigned char* key, unsigned char*& record) const {
    const vu_readlock reading(lock_, kPatience);
    if (!reading.owns_lock()) return reading.result();
    const auto found = keys_.find(Key(key));
    record = found != keys_.end() ? found->data() : nullptr;
    return 0;
  }

 private:
  static constexpr int kPatience = 250;  // milliseconds

  mutable vu_rwlock_t lock_ = PTHREAD_RWLOCK_INITIALIZER;
  std::unordered_set<Key, KeyHash, KeysEqual> keys_ VU_GUARDED_BY(lock_);
};

int main() {
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kRecords = 1000;
  SharedTable table;
  std::vector<unsigned char> records(kThreads * kRecords);
  std::vector<std::size_t> found(kThreads);

  const auto work = [&](std::size_t thread) {
    for (std::size_t i = 0; i < kRecords; ++i) {
      const std::size_t number = thread * kRecords + i;
      unsigned char key[20] = {};
      key[0] = static_cast<unsigned char>(number);
      key[19] = static_cast<unsigned char>(number >> 8);
      unsigned char* const mine = &records[number];
      while (table.store(key, mine) == ETIMEDOUT) std::cerr << "busy, trying again\n";
      unsigned char* record = nullptr;
      while (table.find(key, record) == ETIMEDOUT) std::cerr << "busy, trying again\n";
      if (record == mine) ++found[thread];
    }
  };
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (std::size_t thread = 0; thread < kThreads; ++thread) threads.emplace_back(work, thread);
  for (std::thread& thread : threads) thread.join();

  std::size_t sum = 0;
  for (const std::size_t each : found) sum += each;
  std::cout << sum << " of " << kThreads * kRecords << " records found\n";
  return sum == kThreads * kRecords ? 0 : 1;
}
