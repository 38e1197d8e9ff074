// The scores of domains, by 20-byte keys, under one reader/writer lock.

#ifndef REPUTATION_DAEMON_REPUTATIONS_H_
#define REPUTATION_DAEMON_REPUTATIONS_H_

#include <array>
#include <unordered_map>
#include <utility>
#include <vector>

#include <vu/hash.h>
#include <vu/locks.h>

class Reputations {
 public:
  using Key = std::array<unsigned char, 20>;  // as vu_domainKey makes it
  using Update = std::vector<std::pair<Key, int>>;

  /// Stores all of an update. Returns 0, or an error number such as ETIMEDOUT when nothing was
  /// stored. Throws std::bad_alloc with a part of it stored: whoever sends it may send it again.
  int store(const Update& update, int patience) {
    const vu_writelock writing(lock_, patience);
    if (!writing.owns_lock()) return writing.result();
    for (const auto& [key, score] : update) scores_[key] = score;
    return 0;
  }

  /// The score of a domain; -1: unknown. Returns 0, or an error number.
  int find(const Key& key, int patience, int& score) const {
    const vu_readlock reading(lock_, patience);
    if (!reading.owns_lock()) return reading.result();
    const auto known = scores_.find(key);
    score = known != scores_.end() ? known->second : -1;
    return 0;
  }

 private:
  struct Hash {
    std::size_t operator()(const Key& key) const {
      return hashfunctor<unsigned char*>()(key.data(), 20);
    }
  };

  // A lock that lets writers go first: readers who hardly ever leave would keep updates out.
  mutable vu_rwlock_t lock_ = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
  std::unordered_map<Key, int, Hash> scores_ VU_GUARDED_BY(lock_);
};

#endif  // REPUTATION_DAEMON_REPUTATIONS_H_
