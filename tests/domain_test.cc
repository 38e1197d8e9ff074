#include "vu/domain.h"

#include <sys/mman.h>

#include <atomic>
#include <ctime>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "domain/host.h"
#include "domain/name_key.h"
#include "domain/plain_host_core.h"
#include "domain/table_builder.h"
#include "tests/allocations.h"
#include "tests/plain/lookup2.h"
#include "tests/plain/table.h"
#include "tests/support.h"

namespace vu::test {
namespace {

/// What a reload leaves that fails stands with the readers of files; this is of one that succeeds,
/// or has too few suffixes.
TEST(Table, ReloadsOnlyWhatIsAskedFor) {
  const TemporaryFile good("co.xy 3\n");
  const TemporaryFile wide("ltd.co.xy 9\na.xy 3\nb.xy 3\n");
  const std::string few = "Top level domain definition file [" + std::string(good.path()) +
                          "] has 1 suffixes, fewer than 2";
  vu_cctld table(wide.path());
  vu_shared_cctld shared(wide.path());
  EXPECT_EQ(few, messageOf([&] { table.reload(good.path()); }));  // half of three
  EXPECT_EQ(few, messageOf([&] { shared.reload(good.path()); }));
  EXPECT_EQ("co.xy", table.classify("shop.co.xy").domain);
  errno = EINTR;  // of another call, long ago
  EXPECT_EQ(1, table.reload(good.path(), 1));
  EXPECT_EQ(1, shared.reload(good.path(), 1));
  EXPECT_EQ(few, messageOf([&] { table.reload(good.path(), 2); }));
  EXPECT_EQ(9, table.maxLabels());  // never lowered
  EXPECT_EQ("shop.co.xy", table.classify("shop.ltd.shop.co.xy").domain);
  EXPECT_EQ(
      "Top level domain definition file [NULL] open error : " + std::string(std::strerror(EFAULT)),
      messageOf([&] { table.initSet(nullptr); }));
}

/// A file is written in place, without end: it is taken whole between two records, or not at all.
TEST(Table, RefusesFilesThatChangeWhileTheyAreRead) {
  TemporaryFile file;
  std::string content;
  for (int i = 0; i < 20000; ++i) content += "s" + std::to_string(i) + ".xy 3\n";
  file.rewrite(content);
  vu_cctld table(file.path());
  std::atomic<bool> done{false};
  std::thread writer([&] {
    std::ofstream out(file.path(), std::ios::app);
    while (!done) out << "more.xy 3\n" << std::flush;
  });
  const std::string changed = "Top level domain definition file [" + std::string(file.path()) +
                              "] changed while it was read";
  std::string message;
  // The system may write a record in two pieces, and the file look whole in between.
  for (int i = 0; i < 1000 && message != changed; ++i) {
    message = messageOf([&] { table.reload(file.path()); });
  }
  done = true;
  writer.join();
  EXPECT_EQ(changed, message);
  EXPECT_LE(20000, table.suffixCount());
}

/// A compiled table that is cut, flipped or another thing is refused with the table as it was.
TEST(Table, RefusesSpoiledTables) {
  detail::TableBuilder builder;
  builder.add("co.xy");
  std::string good = builder.finish({3, ""});
  detail::seal(good);
  const auto spoiled = [&good](std::size_t at) {
    std::string bytes = good;
    bytes[at] = static_cast<char>(bytes[at] ^ 64);
    return bytes;
  };
  std::string another = good;
  another[8] = 9;
  const TemporaryFile file, before("net.xy 3\n");
  const std::string place = '[' + std::string(file.path()) + "] ";
  const std::string table = "Suffix table " + place, list = "Public Suffix List " + place;
  const struct {
    std::string bytes;
    std::string fault;
    bool opens = false;  ///< By `open`, which reads the header only.
  } rows[] = {
      {good, "", true},
      {good.substr(0, 50), table + "is cut off"},
      {good.substr(0, good.size() - 1), table + "is cut off"},
      {good + "x", table + "is followed by something else"},
      {another, table + "is of version 9, which this library cannot read"},
      {spoiled(33), table + "is damaged"},
      {spoiled(good.size() - 1), table + "is damaged", true},
      {"// a list\nco.xy\na..b\n", list + "line 3 is no suffix rule: a..b"},
      {"// a surrogate\n\xed\xbf\xbf", list + "line 2 is no suffix rule: \xed\xbf\xbf"},
      {"// nothing\n", list + "has no rules"},
      {"// a list\nco.xy\n" + std::string(detail::kLongestToken, 'a'), "", true},
  };
  for (const auto& row : rows) {
    file.rewrite(row.bytes);
    vu_cctld loaded(before.path());
    EXPECT_EQ(row.fault, messageOf([&] { loaded.reload(file.path()); }));
    EXPECT_EQ(row.fault, messageOf([&] { loaded.openBytes(row.bytes, file.path()); }));
    EXPECT_EQ(row.fault.empty() ? "b.co.xy" : "co.xy", loaded.classify("a.b.co.xy").domain);
    EXPECT_EQ(row.opens ? "" : row.fault, messageOf([&] { loaded.open(file.path()); }));
  }
}

/// Compiled tables are kept, and read by other releases and machines: what they are made of stays.
TEST(Table, KeepsTheFormatOfItsBytes) {
  detail::TableBuilder builder;
  for (const char* rule : {"uk", "co.uk", "Ltd.co.uk", "*.ck", "!www.ck", "x.y.deep.uk",
                           "sixteen-bytes.uk", "seven-and-twenty-bytes.co.uk"}) {
    builder.add(rule, detail::kIcannRules);
  }
  std::string block = builder.finish({4, "version: 1\n"});
  EXPECT_EQ(94807803U, plainHash(block));
  // Additions raise the minor version only.
  block[10] = 1;
  detail::seal(block);
  vu_cctld table(nullptr);
  EXPECT_EQ(8, table.openBytes(block, "of a later release"));
  // What it has found stays found while it grows.
  detail::TableBuilder large;
  for (int i = 0; i < 2000; ++i) large.add("n" + val2str(i % 1000));
  EXPECT_EQ(1000U, large.count());
}

/// Names of which a table keeps the same key, as somebody may choose them, are told apart.
TEST(Table, TellsNamesOfTheSameKeyApart) {
  using Pair = std::pair<std::string, std::string>;
  for (const Pair& alike : {Pair("ob.cjb", "so.yko"), Pair("dj.fu", "np.eax"), Pair("cmxw", "qjar"),
                            Pair("obl", "xnlti")}) {
    for (const auto& [name, other] : {alike, Pair(alike.second, alike.first)}) {
      ASSERT_EQ(0U, static_cast<std::uint32_t>(detail::nameKey(name) ^ detail::nameKey(other)));
      for (const std::string& list : {name + "\nfar-away.xy", "far-away.xy\n" + name}) {
        vu_cctld table(nullptr);
        table.openBytes("// a list\n" + list, "");
        const auto rules = [&table](const std::string& host) {
          const std::string url = "www.b." + host;
          std::string all = table.explain(url).text();
          for (const unsigned narrowing : {0U, unsigned{VU_LISTED_ONLY}}) {
            all += ' ' + table.explain(url, vu_match::publicSuffix, narrowing).text();
          }
          return all;
        };
        const bool isTop = name.find('.') == std::string::npos;
        EXPECT_EQ((isTop ? "" : name) + ' ' + name + ' ' + name, rules(name));
        EXPECT_EQ(" * *", rules(other)) << list;
      }
    }
  }
}

/// As told plainly, by a fuzz target; these hold the plain telling itself.
TEST(Lookup, WorkedExamples) {
  const TemporaryFile file("co.xy 3\n");
  const struct {
    const char* url;
    const char* defaultDomain;
    std::string expected;
  } rows[] = {
      {"ftp://mail.shop.co.xy:21/a", "", " | 11 10 0 | shop.co.xy 0"},
      {"010.1.1.254", "", " | 0 11 167838206 | 010.1.1.254 167838206"},
      {"10.1.2.255", "", " | 5 5 0 | 2.255 0"},
      {"1.2?x", "", "vu_cctld::lookup: Not a URL domain name 1.2?x | -1 0 258 | unchanged 258"},
      {"intranet/page", "",
       "Ill-formed domain name [intranet/page] - record too short 1 | -1 0 0 | unchanged 0"},
      {"intranet.", "corp.xy", " | -1 9 0 | intranet..corp.xy 0"},
      {"ftp:///x", "", " | 6 0 0 | Internal lookup return NULLunchanged 0"},
      {".", "corp.xy", " | 0 1 0 |  0"},
  };
  for (const auto& row : rows) {
    const vu_cctld table(file.path(), row.defaultDomain);
    EXPECT_EQ(row.expected, outcome(table, row.url)) << row.url;
  }
  const vu_cctld table(nullptr);
  int length = 1, reserved = 1;
  unsigned ip = 1;
  std::string domain = "unchanged";
  EXPECT_EQ("Top Level Domain lookup error : Empty URL",
            messageOf([&] { table.lookup(nullptr, length, ip, reserved); }));
  EXPECT_EQ(0U, static_cast<unsigned>(length) + static_cast<unsigned>(reserved) + ip);
  EXPECT_EQ("Top Level Domain lookup error : Empty URL",
            messageOf([&] { table.lookup(nullptr, domain, ip); }));
  EXPECT_EQ("unchanged", domain);
  const long before = allocations;
  for (const char* url : {"http://www.shop.xy/", "http://www.shop--longer-than-a-string.xy.."}) {
    table.lookup(url, length, ip, reserved);
    static_cast<void>(table.explain(url));
    EXPECT_EQ(before, allocations);
    table.lookup(url, domain, ip);
  }
  EXPECT_EQ(before + 1, allocations);  // for the longer text
}

/// What is told at a glance, "" where that is not enough, wherever the ends of what is looked at in
/// one go may lie.
TEST(Lookup, TellsOrdinaryHostsAtAGlance) {
  const std::pair<const char*, const char*> rows[] = {
      {".y.zz", "y.zz"},
      {".b1-_.zz.", "b1-_.zz"},
      {".y.zz/?", "y.zz"},
      {".y.zz:80", "y.zz"},
      {"..y.zz", ""},
      {".-y.zz", ""},
      {".y_.-.zz", ""},
      {".y?.zz", ""},
      {".y.2z", ""},
      {".y.zz..", ""},
      {"", ""},
      {".", ""},
  };
  for (std::size_t size = 1; size < 140; ++size) {
    for (const std::string front : {"", "http://"}) {
      for (const auto& [behind, lastTwo] : rows) {
        const ExactCopy copy(front + std::string(size, 'x') + behind);
        const std::string_view url = copy.view();
        const auto found = detail::findPlainHost(url.data(), url.size());
        const std::size_t start = found ? found.lastTwo() : 0, end = found ? found.nameEnd() : 0;
        EXPECT_EQ(lastTwo, url.substr(start, end - start)) << url;
      }
    }
  }
}

/// The classes of bytes one at a time.
detail::ByteClasses plainClasses(const std::string& text) {
  detail::ByteClasses all{};
  for (std::size_t i = 0; i < 64; ++i) {
    const std::uint64_t bit = std::uint64_t{1} << i;
    if (detail::beginsLabel(text[i])) all.beginnings |= bit;
    if (text[i] == '.') all.dots |= bit;
    if (!detail::insideLabel(text[i]) && text[i] != '.') all.others |= bit;
  }
  return all;
}

/// Every way to classify bytes, and to find hosts whatever stands behind their URLs.
TEST(Lookup, ClassifiesBytesInEveryWay) {
  std::mt19937 random(8);
  const auto same = [](detail::PlainHost a, detail::PlainHost b) {
    return a.start() == b.start() && a.end() == b.end() && a.lastTwo() == b.lastTwo() &&
           a.nameEnd() == b.nameEnd();
  };
  for (int i = 0; i < 20000 / kLess; ++i) {
    // Every byte there is, those beside the bounds of a class, and much like URLs.
    const std::string_view bytes = i % 3 == 1 ? "-./09:@AZ[_`az{" : "abcdef.xyz0123-./:";
    std::string text(64, '\0');
    for (char& c : text) {
      c = i % 3 == 0 ? static_cast<char>(random()) : bytes[random() % bytes.size()];
    }
    const std::size_t size = random() % 64;
    std::string other = text.substr(0, size) + "://" + text;
    const auto expected = plainClasses(text);
    const auto host = detail::findPlainHostByWords(text.data(), size);
    for (const detail::Way& way : detail::everyWay()) {
      const auto found = way.classify(text.data());
      ASSERT_EQ(expected.beginnings, found.beginnings) << text;
      ASSERT_EQ(expected.dots, found.dots) << text;
      ASSERT_EQ(expected.others, found.others) << text;
      ASSERT_TRUE(same(host, way.find(text.data(), size))) << text;
      ASSERT_TRUE(same(host, way.find(other.data(), size))) << text << ' ' << size;
      other[size] = '\0';
      ASSERT_TRUE(text.find('\0') < size || same(host, way.find(other.data(), detail::kUpToNul)))
          << text << ' ' << size;
    }
  }
}

/// A text may end where its memory does.
TEST(Lookup, ReadsNoPageThatIsNotItsOwn) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* const room =
      mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, room);
  char* const end = static_cast<char*>(room) + page;
  ASSERT_EQ(0, mprotect(end, page, PROT_NONE));
  const vu_cctld table(nullptr, "corp.xy");
  const std::string url = "http://www." + std::string(50, 'a') + ".shop.xy/";
  const auto found = [&table](const char* text) {
    std::string domain;
    unsigned ip = 0;
    return messageOf([&] { table.lookup(text, domain, ip); }) + domain;
  };
  for (std::size_t size = 0; size <= url.size(); ++size) {
    const std::string text = url.substr(url.size() - size);
    text.copy(end - size, size);
    EXPECT_EQ(table.classify(text).domain, table.classify({end - size, size}).domain);
    std::memcpy(end - size - 1, text.c_str(), size + 1);
    EXPECT_EQ(found(text.c_str()), found(end - size - 1));
  }
  munmap(room, 2 * page);
}

TEST(Lookup, HostileHostsTakeTimeInProportion) {
  std::string deep = "a";
  for (int i = 0; i < 511; ++i) deep += ".a";
  const TemporaryFile file(deep + " 32767\nb.a 32767\n");
  const vu_cctld table(file.path());
  std::string labels;
  for (int i = 0; i < 500000; ++i) labels += "a.";
  for (const std::string& host : {std::string(1000000, '.'), labels, labels + "b.a", "b." + labels,
                                  std::string(1000000, '-'), std::string(1000000, 'a')}) {
    for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
      const std::clock_t begin = std::clock();
      for (int i = 0; i < 10; ++i) EXPECT_EQ(host, table.classify(host, match).host);
      const std::clock_t took = std::clock() - begin;
      EXPECT_LT(took, 2 * CLOCKS_PER_SEC) << host.substr(0, 10);  // a quadratic way takes minutes
    }
  }
}

}  // namespace
}  // namespace vu::test
