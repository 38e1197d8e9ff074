// The scores of domains, by 20-byte keys, under one reader/writer lock.

#ifndef REPUTATION_DAEMON_REPUTATIONS_H_
#define REPUTATION_DAEMON_REPUTATIONS_H_

#include <array>
#include <deque>
#include <unordered_set>
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
    for (const auto& [key, score] : update) {
      const auto known = entries_.find(Entry(key.data()));
      if (known != entries_.end()) {
        *known->data() = score;
      } else {
        scores_.push_back(score);
        entries_.emplace(key.data(), &scores_.back());
      }
    }
    return 0;
  }

  /// The score of a domain; -1: unknown. Returns 0, or an error number.
  int find(const Key& key, int patience, int& score) const {
    const vu_readlock reading(lock_, patience);
    if (!reading.owns_lock()) return reading.result();
    const auto known = entries_.find(Entry(key.data()));
    score = known != entries_.end() ? *known->data() : -1;
    return 0;
  }

 private:
  using Entry = vu_data<int*, 20>;
  struct Hash {
    std::size_t operator()(const Entry& entry) const {
      return hashfunctor<unsigned char*>()(entry.key(), 20);
    }
  };
  struct Equal {
    bool operator()(const Entry& a, const Entry& b) const { return a.isKey(b.key()); }
  };

  // A lock that lets writers go first: readers who hardly ever leave would keep updates out.
  mutable vu_rwlock_t lock_ = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
  std::unordered_set<Entry, Hash, Equal> entries_ VU_GUARDED_BY(lock_);
  std::deque<int> scores_ VU_GUARDED_BY(lock_);
};

#endif  // REPUTATION_DAEMON_REPUTATIONS_H_
