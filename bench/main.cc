// Runs the benchmarks: vu_bench --urls FILE [--smoke] [options of Google Benchmark].

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "bench/support.h"

namespace {

struct Options {
  std::string urlFile;
  bool smoke = false;
  std::vector<char*> others;
};

Options optionsOf(int argc, char** argv) {
  Options options;
  for (int i = 0; i < argc; ++i) {
    const std::string each = argv[i];
    if (each == "--smoke") {
      options.smoke = true;
    } else if (each == "--urls" && i + 1 < argc) {
      options.urlFile = argv[++i];
    } else {
      options.others.push_back(argv[i]);
    }
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  Options options = optionsOf(argc, argv);
  static char briefly[] = "--benchmark_min_time=0.0001";
  if (options.smoke) options.others.push_back(briefly);
  int count = static_cast<int>(options.others.size());
  options.others.push_back(nullptr);
  benchmark::Initialize(&count, options.others.data());
  if (benchmark::ReportUnrecognizedArguments(count, options.others.data())) return 2;

  vu::bench::loadInputs(options.urlFile, options.smoke);
  vu::bench::registerFoundation();
  vu::bench::registerPattern();
  vu::bench::registerXml();
  vu::bench::registerConfig();
  vu::bench::registerDomain();
  vu::bench::registerCrypto();
  vu::bench::registerLocks();
  vu::bench::registerHash();
  vu::bench::registerUrl();
  if (benchmark::RunSpecifiedBenchmarks() == 0) {
    std::cerr << "vu_bench: no benchmark has such a name\n";
    return 1;
  }
  benchmark::Shutdown();
  return 0;
}
