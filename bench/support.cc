#include "bench/support.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>

#include "vu/domain.h"

namespace vu::bench {
namespace {

constexpr std::size_t kUrls = 16384;

void run(const std::string& command) {
  // NOLINTNEXTLINE(bugprone-command-processor): paths of this build and of the user who runs it
  require(std::system(command.c_str()) == 0, "this command failed: " + command);
}

/// Whether both rules find a domain in the host as it stands, which then is one for libpsl, too.
bool isOrdinary(const vu_cctld& table, const std::string& url) {
  const vu_domain found = table.classify(url);
  const vu_domain byList = table.classify(url, vu_match::publicSuffix);
  return found.status == VU_SUCCESS && byList.status == VU_SUCCESS && !found.isAddress &&
         !found.host.empty() && found.host.back() != '.' && found.host.front() != '.' &&
         found.host.find("..") == std::string_view::npos &&
         std::none_of(found.host.begin(), found.host.end(),
                      [](char c) { return c >= 'A' && c <= 'Z'; });
}

std::vector<std::string> readUrls(const std::string& path, const vu_cctld& table) {
  std::ifstream file(path);
  require(file.is_open(), "the file of URLs cannot be read: " + path);
  std::vector<std::string> urls;
  for (std::string url; std::getline(file, url);) {
    if (isOrdinary(table, url)) urls.push_back(url);
  }
  std::sort(urls.begin(), urls.end());
  urls.erase(std::unique(urls.begin(), urls.end()), urls.end());
  // NOLINTNEXTLINE(bugprone-random-generator-seed): every run in the same order
  std::shuffle(urls.begin(), urls.end(), std::mt19937(1));
  if (urls.size() > kUrls) urls.resize(kUrls);
  return urls;
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
  static const TemporaryFile collected;
  Inputs& all = storage();
  all.smoke = smoke;
  all.listFile = VU_BENCH_LIST;
  all.suffixFile = suffixes.path();
  run(VU_BENCH_TOOL " suffixes build " VU_BENCH_LIST " -o " + all.suffixFile + " 2>/dev/null");
  const vu_cctld table(all.suffixFile.c_str());
  require(table.suffixCount() > 8000, "the suffix table is not whole");

  std::string from = urlFile;
  if (from.empty()) {
    from = collected.path();
    run(VU_BENCH_COLLECT " >" + from);
  }
  all.urls = readUrls(from, table);
  require(!all.urls.empty(), "no URL with a registered domain in " + from);
  if (all.urls.size() < 4096 && !smoke) {
    std::cerr << "vu_bench: only " << all.urls.size()
              << " URLs: branch predictors may learn them, and results look better than they are\n";
  }
  for (const std::string& url : all.urls) all.hosts.emplace_back(bareHostCut(url));
}

}  // namespace vu::bench
