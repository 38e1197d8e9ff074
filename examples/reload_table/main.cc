// Renews a table without a pause: threads look URLs up all the time, while a new table is built
// aside and takes the old one's place under a lock that is held for one assignment.
//
// Usage: reload_table [SUFFIX-FILE [URL]]     prints how long a request waited at the longest

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

#include <vu/domain.h>
#include <vu/locks.h>

class SharedTable {
 public:
  explicit SharedTable(const char* path) : path_(path), table_(std::make_shared<vu_cctld>(path)) {}

  /// The table of the moment. It lives as long as somebody uses it.
  std::shared_ptr<const vu_cctld> get() const {
    const vu_readlock reading(lock_);
    return table_;
  }

  /// Reads the file again. One that cannot be read leaves the table as it is, and throws.
  void reload() {
    auto built = std::make_shared<vu_cctld>(nullptr);
    built->reload(path_);
    std::shared_ptr<const vu_cctld> fresh = std::move(built);
    const vu_writelock writing(lock_);
    table_.swap(fresh);
    // The lock is released before `fresh`, by now the old table, is destroyed: it was declared
    // first.
  }

 private:
  const char* path_;
  mutable vu_rwlock_t lock_ = PTHREAD_RWLOCK_INITIALIZER;
  std::shared_ptr<const vu_cctld> table_ VU_GUARDED_BY(lock_);
};

int main(int argc, char** argv) {
  using Clock = std::chrono::steady_clock;
  constexpr int kReloads = 20;
  const char* const path = argc > 1 ? argv[1] : "reloaded.txt";
  const char* const url = argc > 2 ? argv[2] : "http://www.shop.co.uk/index.html";
  if (argc == 1) std::ofstream(path) << "co.uk 3\n";

  SharedTable shared(path);
  std::atomic<bool> done{false};
  std::atomic<long> requests{0};
  std::atomic<long> wrong{0};
  std::atomic<std::int64_t> longest{0};  // nanoseconds
  const auto serve = [&] {
    long mine = 0;
    std::int64_t longestOfMine = 0;
    while (!done) {
      const Clock::time_point start = Clock::now();
      if (shared.get()->classify(url).status != VU_SUCCESS) ++wrong;
      const std::chrono::nanoseconds took = Clock::now() - start;
      longestOfMine = std::max<std::int64_t>(longestOfMine, took.count());
      ++mine;
    }
    requests += mine;
    std::int64_t before = longest;
    while (longestOfMine > before && !longest.compare_exchange_weak(before, longestOfMine)) {
    }
  };
  std::thread server(serve);
  for (int i = 0; i < kReloads; ++i) shared.reload();
  done = true;
  server.join();

  std::cout << requests << " requests, " << kReloads << " reloads, longest request "
            << longest / 1000 << " microseconds\n";
  return wrong == 0 ? 0 : 1;
}
