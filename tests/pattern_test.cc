#include "vu/pattern.h"

#include <pthread.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <fstream>
#include <memory>
#include <new>
#include <vector>

#include <gtest/gtest.h>

#include "pattern/jit_agreement.h"
#include "tests/support.h"

namespace vu::test {
namespace {

TEST(Pattern, RefusesWhatDoesNotCompile) {
  EXPECT_EQ("vu_pcre: Empty Regular Expression", messageOf([] { vu_pcre(nullptr, 2, 1); }));
  const struct {
    std::string pattern;
    int options;
    const char* message;  // the engine's own text behind it
  } rows[] = {{"a(", -1, "PCRE Compile Error [2] missing "},
              {"*", 0, "PCRE Compile Error [0] "},
              {"a", vu_pcre::notBol, "PCRE Compile Error [0] un"},
              {"\\y", vu_pcre::extra, "PCRE Compile Error ["},
              {std::string(100000, '('), 0, "PCRE Compile Error ["}};
  for (const auto& row : rows) {
    const std::string message = messageOf([&] { vu_pcre(row.pattern.c_str(), 2, row.options); });
    EXPECT_EQ(0U, message.rfind(row.message, 0)) << message;
  }
  EXPECT_EQ(1, vu_pcre("\\y", 1, 0).execute("y", 1, 0, 0));
  EXPECT_THROW(vu_pcre("a", -1, 0), std::bad_array_new_length);
  EXPECT_THROW(vu_pcre("a", INT_MAX, 0), std::bad_array_new_length);
}

/// Results and groups are compared with the interpreter's by a fuzz target.
TEST(Pattern, RefusesWhatIsNoSubject) {
  vu_pcre label("([a-z0-9][-_a-z0-9]*)", 2, 1);
  EXPECT_EQ(0, label.getContextOffset());
  ASSERT_EQ(2, label.execute("HOST.Name", 9, 0, 0));
  EXPECT_EQ(4, label.getContextOffset());
  EXPECT_EQ(-1, label.execute("???", 3, 0, 0));
  EXPECT_GE(0, label.getContextOffset());  // nothing of an earlier match survives
  vu_pcre wide("(a)(b)(c)(d)(e)(f)", 7, 0);
  EXPECT_EQ(7, wide.execute("abcdef", 6, 0, 0));
  EXPECT_EQ(-1, wide.execute("???", 3, 0, 0));
  EXPECT_GE(0, wide.results()[13]);
  int length = 0;
  for (const int index : {2, -1, INT_MIN, INT_MAX}) {
    EXPECT_EQ("vu_pcre::getResult : Index out of range : 1 - 2",
              messageOf([&] { label.getResult(index, "text", length); }));
    EXPECT_EQ("vu_pcre::getResult : Index out of range : 1 - 2",
              messageOf([&] { label.getResultStr(index, "text"); }));
  }
  EXPECT_EQ(vu_pcre::nullSubject, label.execute(nullptr, 1, 0, 0));
  EXPECT_EQ(vu_pcre::badLength, label.execute("text", -1, 0, 0));
  EXPECT_EQ(vu_pcre::badOffset, label.execute("text", 4, 5, 0));
  EXPECT_EQ(vu_pcre::badOffset, label.execute("text", 4, -1, 0));
  EXPECT_EQ(vu_pcre::badOption, label.execute("text", 4, 0, vu_pcre::caseless));
  EXPECT_EQ(vu_pcre::partialMatch, vu_pcre("ab", 1, 0).execute("a", 1, 0, vu_pcre::partialSoft));
  for (const int size : {1, 6}) {
    EXPECT_EQ(vu_pcre::nullSubject, label.match("text", 4, 0, 0, nullptr, size));
  }
  for (const auto& [pattern, options] : {std::pair("x|(*ACCEPT)", +vu_pcre::utf8),
                                         std::pair("(*UTF).", 0), std::pair(".", +vu_pcre::utf8)}) {
    vu_pcre each(pattern, 1, options);
    for (const char* bad : {"\xff", "\xc3"}) {
      EXPECT_EQ(vu_pcre::badUtf8, each.execute(bad, 1, 0, 0));
    }
    EXPECT_EQ(vu_pcre::badUtf8Offset, each.execute("\xc3\xa9", 2, 1, 0));
  }
  EXPECT_EQ("PCRE Output vector too small",
            messageOf([] { vu_pcre("", 0, 0).execute("", 0, 0, 0); }));
  int vector[6] = {};
  EXPECT_EQ(0, vu_pcre("(a)(b)(c)", 2, -1).match("abc", 3, 0, 0, vector, 6));
  EXPECT_EQ(3, vector[1]);
}

/// Which patterns just-in-time code is trusted with: none that it may treat in its own way.
TEST(Pattern, KnowsWhereTheEnginesAgree) {
  for (const char* agreed : {"", "a(b)c|d*?e+?f??", "(?:a)(?i:b)(?i)(?s-m:c)", "(?<n>a)(?P<m>b)",
                             "(?<=ab)c", "(?<!a)c", "\\d\\w\\(\\*\\++a{2}"}) {
    EXPECT_TRUE(detail::jitAgrees(agreed, 0)) << agreed;
    EXPECT_FALSE(detail::jitAgrees(agreed, vu_pcre::firstLine)) << agreed;
    EXPECT_FALSE(detail::jitAgrees(agreed, vu_pcre::extended)) << agreed;
  }
  for (const char* other :
       {"(?=a)",     "(?!a)",    "(?>a)",    "(?|a)",   "(?1)",    "(?R)",    "(?P=n)",
        "(?P>n)",    "(?(1)a)",  "(*F)a",    "a*+",     "a++",     "a?+",     "a{2}+",
        "(a)\\1",    "\\g1",     "\\k<n>",   "\\Qa\\E", "(?<=a)*", "(?<=a)+", "(?<!a)?",
        "(?<!a){2}", "(?<=(a))", "(?<=[a])", "(?<=\\w)"}) {
    EXPECT_FALSE(detail::jitAgrees(other, 0)) << other;
  }
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kSmallestStack = std::size_t{256} << 10;  // the sanitizers take their share
#else
constexpr std::size_t kSmallestStack = std::size_t{32} << 10;
#endif

/// On a small stack either limit may be met first.
void searchHostile(bool onSmallStack) {
  const struct {
    const char* pattern;
    std::size_t length;
    int expected;
  } rows[] = {{"^(a|b)*$", 5000000, vu_pcre::depthLimit},
              {"^(a|b)*$", 20000, vu_pcre::depthLimit},
              {"(a+)+$", 40, vu_pcre::stepLimit},
              {"(a|aa)+$", 60, vu_pcre::stepLimit},
              {"^(a(?1)?)", 1000000, vu_pcre::depthLimit}};
  // Compiled where there is room for that: on the first thread, which comes first.
  static std::vector<std::unique_ptr<vu_pcre>> patterns;
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const auto& row = rows[i];
    if (patterns.size() <= i) patterns.push_back(std::make_unique<vu_pcre>(row.pattern, 3, -1));
    vu_pcre& pattern = *patterns[i];
    const std::string subject = std::string(row.length, 'a') + '!';
    const std::clock_t begin = std::clock();
    const int size = static_cast<int>(subject.size());
    const int result = pattern.execute(subject.data(), size, 0, 0);
    const std::clock_t took = std::clock() - begin;
    EXPECT_TRUE(result == row.expected || (onSmallStack && result == vu_pcre::depthLimit))
        << row.pattern << " of " << row.length;
    EXPECT_LT(took, CLOCKS_PER_SEC / 2) << row.pattern;
    EXPECT_LT(pattern.execute(subject.data(), size, 0, vu_pcre::anchored), -1) << row.pattern;
  }
}

/// Runs `work` on a thread with a stack of `size` bytes, or of the least that the system allows.
void runOnStack(std::size_t size, void (*work)()) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  const auto least = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN));
  ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, std::max(size, least)));
  pthread_t thread;
  const auto start = [](void* function) -> void* {
    reinterpret_cast<void (*)()>(function)();
    return nullptr;
  };
  ASSERT_EQ(0, pthread_create(&thread, &attributes, start, reinterpret_cast<void*>(work)));
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(Pattern, HostileSearchesEndSoonOnASmallStack) {
  searchHostile(false);
  for (std::size_t size = kSmallestStack / 2; size <= std::size_t{1} << 20; size *= 2) {
    runOnStack(size, [] { searchHostile(true); });
  }
}

/// Engines recurse to compile: for groups inside of each other, and along references.
TEST(Pattern, HostilePatternsAreRefusedOnASmallStack) {
  std::string chain = "(?<=(?1))";
  for (int i = 2; i < 3000; ++i) chain += "(a(?" + std::to_string(i) + "))";
  static const std::string patterns[] = {"a", repeated("(", 249) + "a" + repeated(")*", 249),
                                         repeated("(?=a|", 240) + repeated("|b)", 240),
                                         chain + "(a)"};
  static std::string outcomes;
  for (std::size_t size = kSmallestStack / 2; size <= std::size_t{8} << 20; size *= 2) {
    outcomes.clear();
    runOnStack(size, [] {
      for (const std::string& each : patterns) {
        const std::string message = messageOf([&] { vu_pcre(each.c_str(), 2, 0); });
        outcomes += message.find("not enough stack") != std::string::npos ? '-' : '+';
      }
    });
    if (size == std::size_t{256} << 10) {
      EXPECT_EQ("+---", outcomes);
    }
  }
  EXPECT_EQ("++++", outcomes);
}

#ifndef __SANITIZE_THREAD__  // which does not know of other stacks
#ifdef __s390x__
constexpr int kFewBytes = 1;  // where PCRE 8 may have no just-in-time code, for the interpreter
#else
constexpr int kFewBytes = 20;  // for the just-in-time code alone
#endif

/// A stack that the program has switched to by itself, of which nobody knows the size, with a page
/// behind it that nobody may touch.
TEST(Pattern, SearchesOnAnyStack) {
  static ucontext_t usual, other;
  static int results[3];
  static const std::string subject(100000, 'a');
  static vu_pcre simple("^(a|b)*$", 2, -1);
  static vu_pcre backward("^(a|b)*$|(c)\\2", 3, -1);  // for the interpreter
  constexpr std::size_t kPage = 4096;
  for (std::size_t size = kSmallestStack / 2; size <= 2 * kSmallestStack; size *= 2) {
    char* const stack = static_cast<char*>(
        mmap(nullptr, size + kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(0, mprotect(stack, kPage, PROT_NONE));
    ASSERT_EQ(0, getcontext(&other));
    other.uc_stack.ss_sp = stack + kPage;
    other.uc_stack.ss_size = size;
    other.uc_link = &usual;
    makecontext(
        &other,
        [] {
          results[0] = simple.execute(subject.data(), kFewBytes, 0, 0);
          results[1] = simple.execute(subject.data(), 100000, 0, 0);
          results[2] = backward.execute(subject.data(), 100000, 0, 0);
        },
        0);
    ASSERT_EQ(0, swapcontext(&usual, &other));
    EXPECT_EQ(2, results[0]) << size;
    EXPECT_EQ(vu_pcre::depthLimit, results[1]) << size;
    EXPECT_EQ(vu_pcre::depthLimit, results[2]) << size;
    munmap(stack, size + kPage);
  }
}
#endif

/// A pattern takes little beside its code: the stack for that is its thread's.
TEST(Pattern, ShareTheStackOfTheirThread) {
  std::vector<std::unique_ptr<vu_pcre>> patterns;
  const auto addressSpaceWith = [&](std::size_t count) {
    while (patterns.size() < count) {
      patterns.push_back(std::make_unique<vu_pcre>("(a|b)+c", 2, -1));
      EXPECT_EQ(2, patterns.back()->execute("abc", 3, 0, 0));
    }
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
  };
  const long before = addressSpaceWith(10);
  EXPECT_LT(addressSpaceWith(2000) - before, 2000 * 12);  // KiB
}

/// What the just-in-time code cannot hold on its stack, the interpreter finds.
TEST(Pattern, DeepMatchesAreFound) {
  for (const std::size_t length : {500U, 1300U, 1500U, 1600U}) {
    vu_pcre pattern("^(a|b)*$", 2, -1);
    const std::string subject(length, 'b');
    EXPECT_EQ(2, pattern.execute(subject.data(), static_cast<int>(length), 0, 0)) << length;
    EXPECT_EQ(static_cast<int>(length), pattern.getContextOffset());
  }
  vu_pcre lazy("<(.*?)>", 2, -1);
  const std::string text = "<" + std::string(3000000, 'a') + ">";
  EXPECT_EQ(2, lazy.execute(text.data(), static_cast<int>(text.size()), 0, 0));
}

using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;

/// "name=value;" for each pair. What they are is compared with a plain telling by a fuzz target.
std::string written(const Pairs& pairs) {
  std::string all;
  for (const auto& [name, value] : pairs) {
    all += std::string(name.view()) + "=" + std::string(value.view()) + ";";
  }
  return all;
}

TEST(NameValue, AppendsToAList) {
  NvalPcre regex(R"((\w+)=(\w*))");
  Pairs list;
  EXPECT_EQ(0U, insertNV2List(list, regex, nullptr, 7));
  EXPECT_EQ(0U, insertNV2List(list, regex, std::string_view("a=1").substr(0, 0)));
  EXPECT_EQ(2U, insertNV2List(list, regex, "a=1 b=22", 0));
  EXPECT_EQ(4U, insertNV2List(list, regex, "a=1 b=22", 7));
  EXPECT_EQ("a=1;b=22;a=1;b=2;", written(list));
  EXPECT_EQ("22", findValue(list, "b")->view());
  EXPECT_EQ(nullptr, findValue(list, "e"));
  EXPECT_EQ("stingTinsert : PCRE error -32",
            messageOf([&] { insertNV2List(list, regex, "ab", UINT_MAX); }));
}

/// What a caller's own `execute` returns: pairs on the way, then a result.
class Scripted : public NvalPcre {
 public:
  explicit Scripted(int ending) : NvalPcre("(a)(b)"), ending_(ending) {}
  int execute(const char* subject, int length, int startOffset, int options) override {
    starts += val2str(startOffset) + " ";
    if (startOffset >= 4) return ending_;
    return NvalPcre::execute(subject, length, startOffset, options);
  }
  std::string starts;

 private:
  int ending_;
};

TEST(NameValue, ReportsFailuresOfTheCallersOwn) {
  for (const int ending : {-1, 0, -2, -8}) {
    Scripted regex(ending);
    Pairs list;
    EXPECT_EQ(ending == -1 ? "" : "stingTinsert : PCRE error " + val2str(ending),
              messageOf([&] { insertNV2List(list, regex, "ab.ab.", 0); }));
    EXPECT_EQ("a=b;a=b;", written(list));
    EXPECT_EQ("0 2 5 ", regex.starts);
  }
}

}  // namespace
}  // namespace vu::test
