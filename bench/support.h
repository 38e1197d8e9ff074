// What the benchmarks share: the inputs, a check that stops the run, and the loops that measure.
//
// Every benchmark is named job/who, or job/who/size for a series, so that a table can pair them:
// "domain/classify/vu" and "domain/classify/libpsl". Each checks its result before it measures.

#ifndef VU_BENCH_SUPPORT_H_
#define VU_BENCH_SUPPORT_H_

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

namespace vu::bench {

/// Ends the program with a message when `good` is false: what is wrong is not worth measuring.
void require(bool good, const std::string& what);

/// A file with the given content; gone with the object.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& content = "");
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  const std::string& path() const { return path_; }

 private:
  std::string path_ = "/tmp/vu-bench-XXXXXX";
};

/// What the benchmarks work on, read once.
struct Inputs {
  /// A Public Suffix List, and the definition file that `vu suffixes build` makes of it.
  std::string listFile;
  std::string suffixFile;
  std::string tableFile;  ///< The same as a compiled table.
  /// Real URLs in an order that no branch predictor learns, each with a NUL behind it and then the
  /// next, as a log is read. Each has a registered domain by both rules, in lower case.
  std::vector<std::string_view> urls;
  /// Their hosts.
  std::vector<std::string> hosts;
  /// Whether this only tries every benchmark, on inputs of less than full size.
  bool smoke = false;
  /// What `urls` points into.
  std::string text;

  /// `size`, or what a smoke run has time for.
  std::int64_t atMost(std::int64_t size, std::int64_t inSmoke) const {
    return smoke && size > inSmoke ? inSmoke : size;
  }
};

const Inputs& inputs();

/// Reads the inputs; `urlFile` has a URL a line.
void loadInputs(const std::string& urlFile, bool smoke);

/// The host of a URL and nothing else: what every look-up has to do at the least.
inline std::string_view bareHostCut(std::string_view url) {
  const std::size_t scheme = url.substr(0, 17).find("://");
  if (scheme != std::string_view::npos) url.remove_prefix(scheme + 3);
  std::size_t end = 0;
  while (end < url.size() && url[end] != '/' && url[end] != ':') ++end;
  return url.substr(0, end);
}

/// One item is one call of `job` on one of `items`, all of them in turn.
template <typename Items, typename Job>
void measureEach(benchmark::State& state, const Items& items, Job job) {
  for (auto _ : state) {
    for (const auto& item : items) benchmark::DoNotOptimize(job(item));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items.size()));
}

/// One item is one call of `job`, or each of the `itemsPerCall` that it works on.
template <typename Job>
void measureCall(benchmark::State& state, Job job, std::int64_t itemsPerCall = 1) {
  for (auto _ : state) benchmark::DoNotOptimize(job());
  state.SetItemsProcessed(state.iterations() * itemsPerCall);
}

/// Many calls a turn, where the loop of the framework would be a part of so short a job.
template <typename Job>
void measureShort(benchmark::State& state, Job job) {
  constexpr int kCalls = 256;
  for (auto _ : state) {
    for (int call = 0; call < kCalls; ++call) benchmark::DoNotOptimize(job());
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}

/// Registers a benchmark; the result is for its arguments and threads.
benchmark::internal::Benchmark* add(const std::string& name,
                                    std::function<void(benchmark::State&)> job);

// One a subsystem.
void registerFoundation();
void registerPattern();
void registerXml();
void registerConfig();
void registerDomain();
void registerCrypto();
void registerLocks();
void registerHash();
void registerUrl();

}  // namespace vu::bench

#endif  // VU_BENCH_SUPPORT_H_
