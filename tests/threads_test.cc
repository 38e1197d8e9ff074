// What the headers promise to threads. The thread sanitizer sees what these do not.

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "tests/plain/cipher.h"
#include "tests/process.h"
#include "tests/support.h"
#include "vu/vu.h"

namespace vu::test {
namespace {

/// Runs `action` with the number of each thread, from the same moment on.
void together(int count, const std::function<void(int)>& action) {
  std::atomic<int> missing{count};
  std::vector<std::thread> threads;
  for (int number = 0; number < count; ++number) {
    threads.emplace_back([&, number] {
      for (--missing; missing > 0;) std::this_thread::yield();
      action(number);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

/// Objects that threads may share, and objects of their own over what the library shares: in a
/// process where nothing is set up yet, and then often.
TEST(Threads, ShareWhatTheyMay) {
  const TemporaryFile file("co.xy 3\n");
  const vu_cctld table(file.path(), "corp.xy");
  const vu_pcre pattern("(\\d+)-(?:x|y)*(\\d+)", 3, -1);
  vu_config store(nullptr);
  store.setParam("port", "8080", 'p');
  together(4, [&](int number) {
    const std::string mine = std::to_string(number);
    // A long run makes the interpreter take over.
    const std::string text = "12-" + std::string(number == 3 ? 1600 : 3, 'x') + mine;
    for (int i = 0; i < 500; ++i) {
      std::string domain;
      unsigned ip = 0;
      table.lookup(("http://www." + mine + ".co.xy/").c_str(), domain, ip);
      ASSERT_EQ(mine + ".co.xy", domain);
      ASSERT_EQ(domain, table.classify("x." + domain, vu_match::publicSuffix).domain);

      int vector[9];
      const int length = static_cast<int>(text.size());
      ASSERT_EQ(3, pattern.match(text.data(), length, 0, 0, vector, 9));
      ASSERT_EQ(length - 1, vector[4]);
      vu_pcre own("a+(\\d)", 2, -1);
      for (int times = 0; times < 120; ++times) own.execute(("aaa" + mine).c_str(), 4, 0, 0);
      ASSERT_EQ(mine, own.getResultStr(1, ("aaa" + mine).c_str()));

      ASSERT_EQ("8080", store.getParam("port"));
      ASSERT_EQ(8080, store.get<unsigned short>("port"));
    }
  });
}

/// Engines of threads, of which the first have to make RC4 ready for all.
TEST(Threads, HaveEnginesOfTheirOwn) {
  inChild([] {
    vu_crypto first(1, 0, "p", nullptr, 0, 1);
    const std::string expected = process(first, "text");
    std::string rc4[4];
    together(4, [&](int number) {
      for (int i = 0; i < 200; ++i) {
        vu_crypto stream(1, 2, nullptr, nullptr, 0, 1);
        vu_crypto block(1, 1, nullptr, nullptr, 0, 1);
        rc4[number] = process(stream, "text");
        ASSERT_EQ(expected, process(block, "text"));
        ASSERT_EQ(4U, rc4[number].size());
      }
    });
    for (const std::string& each : rc4) EXPECT_EQ(rc4[0], each);
  });
}

/// The table of a moment has one file's suffixes, however it came there: under a lock, or held. The
/// readers never pause, so the lock must let writers go first; and nobody starves.
TEST(Threads, LookUpWhileTablesAreSwapped) {
  const TemporaryFile files[] = {TemporaryFile("a.xy 3\nb.xy 3\n"), TemporaryFile("c.xy 3\n")};
  vu_rwlock_t lock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
  vu_cctld table(files[0].path());
  vu_shared_cctld shared(files[0].path());
  constexpr int rounds = 20;
  std::atomic<int> round{0};
  std::atomic<long> looks{0};
  const auto swap = [&] {
    for (; round < rounds; ++round) {
      const char* const path = files[(round + 1) % 2].path();
      shared.reload(path);
      {
        const vu_writelock guard(lock);
        table.reload(path);
      }
      const long before = looks;
      while (looks == before) std::this_thread::yield();
    }
  };
  together(4, [&](int number) {
    if (number == 0) return swap();
    while (round < rounds) {
      const vu_readlock guard(lock, number - 1);  // one of them without limit
      if (!guard.owns_lock()) continue;
      const std::shared_ptr<const vu_cctld> held = shared.get();
      for (const vu_cctld* each : {static_cast<const vu_cctld*>(&table), held.get()}) {
        const bool isFirst = each->suffixCount() == 2;
        ++looks;
        for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
          ASSERT_EQ(isFirst ? "x.a.xy" : "a.xy", each->classify("x.a.xy", match).domain);
          ASSERT_EQ(isFirst ? "c.xy" : "x.c.xy", each->classify("x.c.xy", match).domain);
        }
      }
    }
  });
}

}  // namespace
}  // namespace vu::test
