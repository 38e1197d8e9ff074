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

#include <vu/domain.h>

int main(int argc, char** argv) {
  using Clock = std::chrono::steady_clock;
  constexpr int kReloads = 20;
  const char* const path = argc > 1 ? argv[1] : "reloaded.txt";
  const char* const url = argc > 2 ? argv[2] : "http://www.shop.co.uk/index.html";
  if (argc == 1) std::ofstream(path) << "co.uk 3\n";

  vu_shared_cctld shared(path);
  std::atomic<bool> done{false};
  std::atomic<long> requests{0};
  std::atomic<long> wrong{0};
  std::atomic<std::int64_t> longest{0};  // nanoseconds
  const auto serve = [&] {
    long mine = 0;
    std::int64_t longestOfMine = 0;
    while (!done) {
      const Clock::time_point start = Clock::now();
      const std::shared_ptr<const vu_cctld> table = shared.get();  // once a request
      if (table->classify(url).status != VU_SUCCESS) ++wrong;
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
  for (int i = 0; i < kReloads; ++i) shared.reload(path);
  done = true;
  server.join();

  std::cout << requests << " requests, " << kReloads << " reloads, longest request "
            << longest / 1000 << " microseconds\n";
  return wrong == 0 ? 0 : 1;
}
