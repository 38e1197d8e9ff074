// Look-ups in the suffix table, beside libpsl with the same list and beside the bare cut of the
// host.

#include "vu/domain.h"

#include <libpsl.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <thread>

#include "bench/support.h"
#include "tests/plain/table.h"

namespace vu::bench {
namespace {

using Psl = std::unique_ptr<psl_ctx_t, void (*)(psl_ctx_t*)>;
using Strings = std::vector<std::string>;

Psl loadPsl(const std::string& path) { return {psl_load_file(path.c_str()), psl_free}; }

const vu_cctld& ourTable() {
  static const vu_cctld table(inputs().suffixFile.c_str());
  return table;
}

const psl_ctx_t* pslTable() {
  static const Psl table = loadPsl(inputs().listFile);
  return table.get();
}

/// The domain of a URL by libpsl, which wants the host as a text of its own.
std::string_view domainByPsl(const psl_ctx_t* table, std::string_view url) {
  char text[1024];
  const std::string_view host = bareHostCut(url).substr(0, sizeof text - 1);
  std::memcpy(text, host.data(), host.size());
  text[host.size()] = '\0';
  const char* const domain = psl_registrable_domain(table, text);
  return domain != nullptr ? host.substr(static_cast<std::size_t>(domain - text)) : "";
}

// ---------------------------------------------------------------------------------------------
// Real URLs in the real table

/// Checks every URL before `job` is measured on them: `domainOf` against `expected`.
template <typename DomainOf, typename Expected, typename Job>
void lookUp(benchmark::State& state, DomainOf domainOf, Expected expected, Job job) {
  for (std::string_view url : inputs().urls) {
    require(domainOf(url) == expected(url), "wrong domain of " + std::string(url));
  }
  measureEach(state, inputs().urls, job);
}

std::string_view shortestByPlainTelling(std::string_view url) {
  static test::PlainTable table;
  static const std::string loaded = table.load(inputs().suffixFile.c_str());
  return table.classify(url).domain;
}

std::string_view longestByPsl(std::string_view url) { return domainByPsl(pslTable(), url); }

void classify(benchmark::State& state) {
  const vu_cctld& table = ourTable();
  const auto job = [&](std::string_view url) { return table.classify(url); };
  lookUp(
      state, [&](std::string_view url) { return job(url).domain; }, shortestByPlainTelling, job);
}

void lookup(benchmark::State& state) {
  const vu_cctld& table = ourTable();
  int length = 0;
  unsigned address = 0;
  int reserved = 0;
  const auto job = [&](std::string_view url) {
    return table.lookup(url.data(), length, address, reserved);
  };
  const auto domainOf = [&](std::string_view url) {
    const char* const start = job(url);
    return std::string_view(start, static_cast<std::size_t>(length));
  };
  lookUp(state, domainOf, shortestByPlainTelling, job);
}

void lookupString(benchmark::State& state) {
  const vu_cctld& table = ourTable();
  unsigned address = 0;
  std::string domain;
  const auto job = [&](std::string_view url) {
    table.lookup(url.data(), domain, address);
    return domain.data();
  };
  const auto domainOf = [&](std::string_view url) {
    job(url);
    return std::string_view(domain);
  };
  lookUp(state, domainOf, shortestByPlainTelling, job);
}

void publicSuffix(benchmark::State& state) {
  const vu_cctld& table = ourTable();
  const auto job = [&](std::string_view url) {
    return table.classify(url, vu_match::publicSuffix);
  };
  lookUp(
      state, [&](std::string_view url) { return job(url).domain; }, longestByPsl, job);
}

void explain(benchmark::State& state) {
  vu_cctld table(nullptr);
  table.open(inputs().tableFile.c_str());
  const auto job = [&](std::string_view url) { return table.explain(url, vu_match::publicSuffix); };
  lookUp(
      state, [&](std::string_view url) { return job(url).domain.domain; }, longestByPsl, job);
}

void libpsl(benchmark::State& state) {
  const psl_ctx_t* const table = pslTable();
  const auto job = [&](std::string_view url) { return domainByPsl(table, url); };
  const auto byOurs = [](std::string_view url) {
    return ourTable().classify(url, vu_match::publicSuffix).domain;
  };
  lookUp(state, job, byOurs, job);
}

void hostCut(benchmark::State& state) {
  const auto job = [](std::string_view url) { return bareHostCut(url); };
  lookUp(
      state, job, [](std::string_view url) { return ourTable().classify(url).host; }, job);
}

/// Many URLs in one call, or in as many calls.
void many(benchmark::State& state, const vu_cctld& table, const std::vector<vu_text>& urls,
          bool inOneCall) {
  std::vector<vu_record> records(urls.size());
  std::vector<vu_record> expected(urls.size());
  const auto oneByOne = [&](std::vector<vu_record>& to) {
    for (std::size_t i = 0; i < urls.size(); ++i) table.classify(&urls[i], 1, &to[i]);
    return to.data();
  };
  const auto together = [&] {
    table.classify(urls.data(), urls.size(), records.data());
    return records.data();
  };
  oneByOne(expected);
  require(std::memcmp(together(), expected.data(), urls.size() * sizeof(vu_record)) == 0,
          "many URLs in one call come to something else");
  const auto count = static_cast<std::int64_t>(urls.size());
  if (inOneCall) {
    measureCall(state, together, count);
  } else {
    measureCall(
        state, [&] { return oneByOne(records); }, count);
  }
}

void batch(benchmark::State& state, bool inOneCall) {
  std::vector<vu_text> urls;
  for (const std::string_view url : inputs().urls) urls.push_back({url.data(), url.size()});
  many(state, ourTable(), urls, inOneCall);
}

void threads(benchmark::State& state) {
  const vu_cctld& table = ourTable();
  measureEach(state, inputs().urls, [&](std::string_view url) { return table.classify(url); });
}

// ---------------------------------------------------------------------------------------------
// What is refused

/// A third each: a user name in front of the host, a suffix itself, a single label.
Strings refusedUrls() {
  Strings suffixes;
  std::ifstream file(inputs().suffixFile);
  std::string suffix;
  for (int labels = 0; file >> suffix >> labels;) {
    if (labels == 3 && suffix[0] != '*' && suffix[0] != '!') suffixes.push_back(suffix);
  }
  Strings refused;
  for (const std::string& host : inputs().hosts) {
    const std::size_t turn = refused.size();
    if (turn == 16384) break;
    if (turn % 3 == 0) {
      refused.push_back("http://user@" + host + "/index.html");
    } else if (turn % 3 == 1) {
      refused.push_back("https://" + suffixes[turn * 31 % suffixes.size()] + "/index.html");
    } else {
      refused.push_back("http://" + host.substr(0, host.find('.')) + "-intranet/index.html");
    }
  }
  return refused;
}

void refusedByClassify(benchmark::State& state) {
  const Strings urls = refusedUrls();
  const vu_cctld& table = ourTable();
  const auto job = [&](const std::string& url) { return table.classify(url).status; };
  for (const std::string& url : urls) require(job(url) != VU_SUCCESS, "not refused: " + url);
  measureEach(state, urls, job);
}

void refusedByLookup(benchmark::State& state) {
  const Strings urls = refusedUrls();
  const vu_cctld& table = ourTable();
  const auto isRefused = [&](const std::string& url) {
    int length = 0;
    unsigned address = 0;
    int reserved = 0;
    try {
      table.lookup(url.c_str(), length, address, reserved);
    } catch (const vu_exception&) {
      return true;
    }
    return false;
  };
  for (const std::string& url : urls) require(isRefused(url), "not refused: " + url);
  measureEach(state, urls, isRefused);
}

void addresses(benchmark::State& state) {
  std::mt19937 random(6);
  Strings urls;
  for (int i = 0; i < 4096; ++i) {
    urls.push_back("http://10." + std::to_string(random() % 255) + '.' +
                   std::to_string(random() % 255) + '.' + std::to_string(random() % 255) + "/x");
  }
  const auto job = [](const std::string& url) { return ourTable().classify(url); };
  for (const std::string& url : urls) require(job(url).isAddress(), "no address: " + url);
  measureEach(state, urls, job);
}

// ---------------------------------------------------------------------------------------------
// Tables of other sizes

std::string suffixNumber(std::int64_t i) {
  return "s" + std::to_string(i) + ".t" + std::to_string(i % 1000);
}

/// All but the first label of a host of 255 bytes and 127 labels, in one of several spellings.
std::string worstEnd(int spelling) {
  std::string text;
  for (int i = 0; i < 126; ++i) {
    text += '.';
    text += static_cast<char>('a' + (i + spelling) % 26);
  }
  return text;
}

/// What stands in the table as the end of a longer suffix, so that no look-up may stop early; and
/// what does not stand there at all.
constexpr int kOnTheWay = 0;
constexpr int kUnlisted = 1;

/// Suffixes of two labels, in our file and in a Public Suffix List, and hosts below them.
struct GeneratedTable {
  vu_cctld ours{nullptr};
  Psl psl{nullptr, psl_free};
  Strings hosts;

  explicit GeneratedTable(std::int64_t size) {
    std::string records;
    std::string rules;
    for (std::int64_t i = 0; i < size; ++i) {
      records += suffixNumber(i) + " 3\n";
      rules += suffixNumber(i) + '\n';
    }
    records += "zz" + worstEnd(kOnTheWay) + " 128\n";
    ours.initSet(TemporaryFile(records).path().c_str());
    psl = loadPsl(TemporaryFile(rules).path());
    std::mt19937 random(7);
    for (int i = 0; i < 4096; ++i) {
      const std::string name = "name" + std::to_string(random() % 100000);
      hosts.push_back("www." + name + '.' +
                      suffixNumber(static_cast<std::int64_t>(random()) % size));
    }
  }
};

const GeneratedTable& generatedTable(std::int64_t size) {
  static std::map<std::int64_t, GeneratedTable> made;
  return made.try_emplace(size, size).first->second;
}

void tableSize(benchmark::State& state, bool ours) {
  const GeneratedTable& table = generatedTable(state.range(0));
  for (const std::string& host : table.hosts) {
    const std::string_view domain = std::string_view(host).substr(4);
    require(table.ours.classify(host).domain == domain, "wrong domain of " + host);
    require(domainByPsl(table.psl.get(), host) == domain, "wrong domain by libpsl of " + host);
  }
  if (ours) {
    measureEach(state, table.hosts,
                [&](const std::string& host) { return table.ours.classify(host); });
  } else {
    measureEach(state, table.hosts,
                [&](const std::string& host) { return domainByPsl(table.psl.get(), host); });
  }
}

/// So many hosts that no cache holds what they are looked up by.
void batchMillion(benchmark::State& state, bool inOneCall) {
  const std::int64_t size = inputs().atMost(1000000, 1000);
  std::mt19937 random(9);
  Strings hosts;
  for (std::int64_t i = inputs().atMost(262144, 1000); i > 0; --i) {
    hosts.push_back("www.a." + suffixNumber(static_cast<std::int64_t>(random()) % size));
  }
  std::vector<vu_text> urls;
  for (const std::string& host : hosts) urls.push_back({host.data(), host.size()});
  many(state, generatedTable(size).ours, urls, inOneCall);
}

void worstHost(benchmark::State& state, int spelling) {
  const vu_cctld& table = generatedTable(inputs().atMost(1000000, 1000)).ours;
  Strings hosts;
  for (int i = 100; i < 1000; ++i) hosts.push_back(std::to_string(i) + worstEnd(spelling));
  const auto job = [&](const std::string& host) { return table.classify(host); };
  for (const std::string& host : hosts) {
    require(host.size() == 255 && job(host).domain == host.substr(host.size() - 3),
            "wrong domain of the worst host");
  }
  measureEach(state, hosts, job);
}

// ---------------------------------------------------------------------------------------------
// Hosts of other shapes

/// 1024 hosts made by `make` from their number; both matchers look up below "co.uk".
template <typename Make>
void shape(benchmark::State& state, bool ours, Make make) {
  Strings hosts;
  for (unsigned int i = 0; i < 1024; ++i) hosts.push_back(make(i));
  const auto byOurs = [](const std::string& host) { return ourTable().classify(host); };
  const auto byPsl = [](const std::string& host) { return domainByPsl(pslTable(), host); };
  for (const std::string& host : hosts) {
    require(!byPsl(host).empty() && byOurs(host).domain == byPsl(host), "wrong domain of " + host);
  }
  if (ours) {
    measureEach(state, hosts, byOurs);
  } else {
    measureEach(state, hosts, byPsl);
  }
}

void labelCount(benchmark::State& state, bool ours) {
  shape(state, ours, [&](unsigned int i) {
    std::string host;
    for (std::int64_t label = 2; label < state.range(0); ++label, i = i * 7 + 1) {
      host += static_cast<char>('a' + i % 26);
      host += '.';
    }
    return host + "co.uk";
  });
}

void hostLength(benchmark::State& state, bool ours) {
  shape(state, ours, [&](unsigned int i) {
    const std::size_t own = static_cast<std::size_t>(state.range(0)) - std::strlen("..co.uk");
    std::string label(own / 2, static_cast<char>('a' + i % 26));
    return label + '.' + std::string(own - own / 2, static_cast<char>('a' + i / 26 % 26)) +
           ".co.uk";
  });
}

// ---------------------------------------------------------------------------------------------
// Loading

void load(benchmark::State& state) {
  const auto job = [] { return vu_cctld(inputs().suffixFile.c_str()).suffixCount(); };
  require(job() > 8000, "the table is not loaded whole");
  measureCall(state, job);
}

void openCompiled(benchmark::State& state) {
  const auto job = [] { return vu_cctld(nullptr).open(inputs().tableFile.c_str()); };
  require(job() > 8000, "the compiled table is not whole");
  measureCall(state, job);
}

void openDafsa(benchmark::State& state, const std::string& path) {
  const auto job = [&path] { return loadPsl(path) != nullptr; };
  require(job(), "libpsl does not open its compiled list");
  measureCall(state, job);
}

void loadByPsl(benchmark::State& state) {
  const auto job = [] { return psl_suffix_count(loadPsl(inputs().listFile).get()); };
  require(job() > 8000, "libpsl does not load the list whole");
  measureCall(state, job);
}

/// Bytes on the heap, by the allocator's own count.
std::size_t heapInUse() {
  const struct mallinfo2 all = mallinfo2();
  return all.uordblks + all.hblkhd;
}

/// Tells what `load` leaves on the heap, as the counter "bytes"; the time is of no interest.
template <typename Load>
void memory(benchmark::State& state, Load load) {
  std::size_t bytes = 0;
  while (state.KeepRunning()) {
    const std::size_t before = heapInUse();
    const auto table = load();
    bytes = heapInUse() - before;
  }
  require(bytes > 10000, "no table is loaded");
  state.counters["bytes"] = static_cast<double>(bytes);
}

void sizeOf(benchmark::State& state, const std::string& path) {
  auto bytes = std::filesystem::file_size(path);
  while (state.KeepRunning()) benchmark::DoNotOptimize(bytes);
  state.counters["bytes"] = static_cast<double>(bytes);
}

/// What the processes have together, shared memory counted once, by the kernel's own count.
std::size_t memoryOf(const std::vector<pid_t>& processes) {
  std::size_t all = 0;
  for (const pid_t each : processes) {
    std::ifstream file("/proc/" + std::to_string(each) + "/smaps_rollup");
    for (std::string line; std::getline(file, line);) {
      if (line.compare(0, 4, "Pss:") == 0) all += std::stoul(line.substr(4)) * 1024;
    }
  }
  return all;
}

/// Tells what ten processes take more together once each has called `use`, as the counter "bytes".
template <typename Use>
void memoryOfTen(benchmark::State& state, Use use) {
  int begin[2];
  int used[2];
  require(pipe(begin) == 0 && pipe(used) == 0, "there is no pipe");
  std::vector<pid_t> processes;
  char bytes[10] = {};
  while (processes.size() < sizeof bytes) {
    processes.push_back(fork());
    require(processes.back() >= 0, "there is no process");
    if (processes.back() != 0) continue;
    if (read(begin[0], bytes, 1) != 1) _exit(1);
    use();
    if (write(used[1], bytes, 1) != 1) _exit(1);
    pause();
    _exit(0);
  }
  const std::size_t before = memoryOf(processes);
  require(write(begin[1], bytes, sizeof bytes) == sizeof bytes, "the processes do not begin");
  for (std::size_t i = 0; i < sizeof bytes; ++i) {
    require(read(used[0], bytes, 1) == 1, "a process does not end its work");
  }
  const std::size_t after = memoryOf(processes);
  for (const pid_t each : processes) {
    kill(each, SIGKILL);
    waitpid(each, nullptr, 0);
  }
  for (const int each : {begin[0], begin[1], used[0], used[1]}) close(each);
  require(after > before, "the processes take no memory");
  while (state.KeepRunning()) benchmark::DoNotOptimize(bytes);
  state.counters["bytes"] = static_cast<double>(after - before);
}

/// Opens a table by `open` and looks all URLs up in it; it stays until the process ends.
void useOurs(const std::function<void(vu_cctld&)>& open) {
  static vu_cctld table(nullptr);
  open(table);
  for (const std::string_view url : inputs().urls) {
    benchmark::DoNotOptimize(table.classify(url, vu_match::publicSuffix));
  }
}

void useTheirs(const std::string& path) {
  static const Psl table = loadPsl(path);
  for (const std::string_view url : inputs().urls) {
    benchmark::DoNotOptimize(domainByPsl(table.get(), url));
  }
}

void registerTen(const std::string& dafsa) {
  add("domain/memory/ten-compiled", [](benchmark::State& state) {
    memoryOfTen(state,
                [] { useOurs([](vu_cctld& table) { table.open(inputs().tableFile.c_str()); }); });
  });
  add("domain/memory/ten-definition", [](benchmark::State& state) {
    memoryOfTen(state, [] {
      useOurs([](vu_cctld& table) { table.initSet(inputs().suffixFile.c_str()); });
    });
  });
  if (!std::filesystem::exists(dafsa)) return;
  add("domain/memory/ten-dafsa",
      [dafsa](benchmark::State& state) { memoryOfTen(state, [&dafsa] { useTheirs(dafsa); }); });
}

void registerLoading() {
  add("domain/load/vu", load);
  add("domain/load/libpsl", loadByPsl);
  add("domain/memory/vu", [](benchmark::State& state) {
    memory(state, [] { return std::make_unique<vu_cctld>(inputs().suffixFile.c_str()); });
  });
  add("domain/memory/libpsl",
      [](benchmark::State& state) { memory(state, [] { return loadPsl(inputs().listFile); }); });
  const std::string dafsa = std::filesystem::path(inputs().listFile).replace_extension(".dafsa");
  const auto addSize = [](const char* name, const std::string& path) {
    add(name, [path](benchmark::State& state) { sizeOf(state, path); });
  };
  registerTen(dafsa);
  addSize("domain/memory/definition-file", inputs().suffixFile);
  addSize("domain/memory/compiled-table", inputs().tableFile);
  add("domain/open/vu", openCompiled);
  if (std::filesystem::exists(dafsa)) {
    addSize("domain/memory/dafsa", dafsa);
    add("domain/open/libpsl-dafsa", [dafsa](benchmark::State& state) { openDafsa(state, dafsa); });
  }
}

using Series = void (*)(benchmark::State&, bool);

void addSeries(const std::string& job, Series series, std::initializer_list<std::int64_t> values) {
  for (const bool ours : {true, false}) {
    const std::string name = "domain/" + job + (ours ? "/vu" : "/libpsl");
    auto* const all = add(name, [=](benchmark::State& state) { series(state, ours); });
    for (const std::int64_t value : values) {
      if (value == inputs().atMost(value, 10000)) all->Arg(value);
    }
  }
}

}  // namespace

void registerDomain() {
  add("domain/classify/vu", classify);
  add("domain/lookup/vu", lookup);
  add("domain/lookup-string/vu", lookupString);
  add("domain/public-suffix/vu", publicSuffix);
  add("domain/explain/vu", explain);
  add("domain/classify/libpsl", libpsl);
  add("domain/classify/host-cut", hostCut);
  for (const bool inOneCall : {true, false}) {
    const std::string who = inOneCall ? "/vu" : "/single";
    add("domain/batch" + who, [=](benchmark::State& state) { batch(state, inOneCall); });
    add("domain/batch-million" + who,
        [=](benchmark::State& state) { batchMillion(state, inOneCall); });
  }
  add("domain/address/vu", addresses);
  add("domain/refused/classify", refusedByClassify);
  add("domain/refused/lookup", refusedByLookup);
  add("domain/worst-host/vu", [](benchmark::State& state) { worstHost(state, kUnlisted); });
  add("domain/longest-walk/vu", [](benchmark::State& state) { worstHost(state, kOnTheWay); });
  const int cores = static_cast<int>(std::max(2U, std::thread::hardware_concurrency()));
  add("domain/threads/vu", threads)->ThreadRange(1, 2 * cores)->UseRealTime();
  registerLoading();
  addSeries("labels", labelCount, {3, 4, 8, 16, 32, 64, 127});
  addSeries("host-length", hostLength, {12, 16, 24, 32, 48, 64, 96, 128});
  addSeries("table-size", tableSize, {100, 1000, 10000, 100000, 1000000});
}

}  // namespace vu::bench
