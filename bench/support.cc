#include "bench/support.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <regex>
#include <utility>

#include "vu/domain.h"

namespace vu::bench {
namespace {

// More than a branch predictor remembers.
constexpr std::size_t kUrls = 65536;

void run(const std::string& command) {
  // NOLINTNEXTLINE(bugprone-command-processor): paths of this build and of the user who runs it
  require(std::system(command.c_str()) == 0, "this command failed: " + command);
}

/// Whether the host is a plain name in which both rules find a domain: one for every peer, too.
bool isOrdinary(const vu_cctld& table, const std::string& url) {
  static const std::regex name("[a-z0-9][-_a-z0-9]*([.][a-z0-9][-_a-z0-9]*)+");
  const std::string_view host = bareHostCut(url);
  const vu_domain found = table.classify(url);
  return found.status == VU_SUCCESS && !found.isAddress() &&
         table.classify(url, vu_match::publicSuffix).status == VU_SUCCESS &&
         std::regex_match(host.begin(), host.end(), name);
}

std::vector<std::string> readUrls(const std::string& path, const vu_cctld& table) {
  std::ifstream file(path);
  require(file.is_open(), "the file of URLs cannot be read: " + path);
  std::vector<std::string> urls;
  for (std::string url; std::getline(file, url);) {
    if (isOrdinary(table, url)) urls.push_back(url);
  }
  require(!urls.empty(), "no URL with a registered domain in " + path);
  return urls;
}

/// `count` URLs, each with a NUL behind it, and all before any of them comes again.
void appendInRandomOrder(std::string& text, std::vector<std::string>& urls, std::size_t count) {
  std::mt19937 random(1);  // NOLINT(bugprone-random-generator-seed): all runs in the same order
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t turn = i % urls.size();
    if (turn == 0) std::shuffle(urls.begin(), urls.end(), random);
    text += urls[turn] + '\0';
  }
}

Inputs& storage() {
  static Inputs all;
  return all;
}

}  // namespace

void require(bool good, const std::string& what) {
  if (good) return;
  std::cerr << "vu_bench: " << what << '\n';
  std::exit(EXIT_FAILURE);
}

TemporaryFile::TemporaryFile(const std::string& content) {
  const int file = mkstemp(path_.data());
  require(file >= 0, "no temporary file can be made");
  close(file);
  std::ofstream(path_, std::ios::binary) << content;
}

TemporaryFile::~TemporaryFile() { unlink(path_.c_str()); }

const Inputs& inputs() { return storage(); }

void loadInputs(const std::string& urlFile, bool smoke) {
  static const TemporaryFile suffixes;
  static const TemporaryFile compiled;
  Inputs& all = storage();
  all.smoke = smoke;
  all.listFile = VU_BENCH_LIST;
  all.suffixFile = suffixes.path();
  run(VU_BENCH_TOOL " suffixes build " VU_BENCH_LIST " -o " + all.suffixFile + " 2>/dev/null");
  all.tableFile = compiled.path();
  run(VU_BENCH_TOOL " suffixes build --compiled " VU_BENCH_LIST " -o " + all.tableFile +
      " 2>/dev/null");
  const vu_cctld table(all.suffixFile.c_str());
  require(table.suffixCount() > 8000, "the suffix table is not whole");

  std::vector<std::string> urls = readUrls(urlFile, table);
  appendInRandomOrder(all.text, urls, smoke ? urls.size() : kUrls);
  for (std::size_t at = 0; at < all.text.size(); at += all.urls.back().size() + 1) {
    all.urls.emplace_back(all.text.data() + at);
  }
  for (const std::string_view url : all.urls) all.hosts.emplace_back(bareHostCut(url));
}

benchmark::internal::Benchmark* add(const std::string& name,
                                    std::function<void(benchmark::State&)> job) {
  return benchmark::RegisterBenchmark(name.c_str(), std::move(job));
}

}  // namespace vu::bench
