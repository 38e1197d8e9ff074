#include "vu/pattern.h"

#include <pcre.h>
#include <pthread.h>
#include <ucontext.h>

#include <climits>
#include <ctime>
#include <new>

#include <gtest/gtest.h>

#include "pattern/jit_agreement.h"
#include "tests/plain/pattern.h"
#include "tests/support.h"

using vu::test::messageOf;

namespace {

/// Brings an object to where it searches in the way of one that is used often.
void searchOften(vu_pcre& pattern) {
  for (int i = 0; i < 100; ++i) messageOf([&] { pattern.execute("", 0, 0, 0); });
}

TEST(Pattern, RefusesWhatDoesNotCompile) {
  EXPECT_EQ("vu_pcre: Empty Regular Expression", messageOf([] { vu_pcre(nullptr, 2, 1); }));
  EXPECT_EQ("PCRE Compile Error [2] missing )", messageOf([] { vu_pcre("a(", 2, -1); }));
  EXPECT_EQ("PCRE Compile Error [0] nothing to repeat", messageOf([] { vu_pcre("*", 2, 0); }));
  EXPECT_THROW(vu_pcre("a", -1, 0), std::bad_array_new_length);
  EXPECT_THROW(vu_pcre("a", INT_MAX, 0), std::bad_array_new_length);
  EXPECT_NE("", messageOf([] { vu_pcre(std::string(100000, '(').c_str(), 2, 0); }));
}

TEST(Pattern, FindsLabels) {
  vu_pcre label("([a-z0-9][-_a-z0-9]*)", 2, 1);
  const char* subject = "HOST.Name";
  EXPECT_EQ(0, label.getContextOffset());
  ASSERT_EQ(2, label.execute(subject, 9, 0, 0));
  int length = 0;
  EXPECT_EQ(subject, label.getResult(1, subject, length));
  EXPECT_EQ(4, length);
  EXPECT_EQ("HOST", label.getResultStr(1, subject));
  EXPECT_EQ(4, label.getContextOffset());
  ASSERT_EQ(2, label.execute(subject, 9, 4, 0));
  EXPECT_EQ(5, label.results()[0]);
  EXPECT_EQ(9, label.results()[1]);
  EXPECT_EQ(-1, label.execute(subject, 9, 4, PCRE_ANCHORED));
  EXPECT_EQ(-1, label.execute("???", 3, 0, 0));
  EXPECT_EQ(0, label.getContextOffset());  // nothing of an earlier match survives
  for (const int index : {2, 3, -1, INT_MIN, INT_MAX}) {
    EXPECT_EQ("vu_pcre::getResult : Index out of range : 1 - 2",
              messageOf([&] { label.getResult(index, subject, length); }));
    EXPECT_EQ("vu_pcre::getResult : Index out of range : 1 - 2",
              messageOf([&] { label.getResultStr(index, subject); }));
  }
}

TEST(Pattern, RefusesWhatIsNoSubject) {
  vu_pcre label("([a-z0-9][-_a-z0-9]*)", 2, 1);
  vu_pcre byOption("x|(*ACCEPT)", 1, PCRE_UTF8);
  vu_pcre byPattern("(*UTF8).", 1, 0);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(PCRE_ERROR_NULL, label.execute(nullptr, 1, 0, 0));
    EXPECT_EQ(PCRE_ERROR_BADLENGTH, label.execute("text", -1, 0, 0));
    EXPECT_EQ(PCRE_ERROR_BADOFFSET, label.execute("text", 4, 5, 0));
    EXPECT_EQ(PCRE_ERROR_BADOFFSET, label.execute("text", 4, -1, 0));
    EXPECT_EQ(PCRE_ERROR_BADUTF8, byOption.execute("\xff", 1, 0, 0));
    EXPECT_EQ(PCRE_ERROR_BADUTF8, byPattern.execute("\xff", 1, 0, 0));
    for (vu_pcre* each : {&label, &byOption, &byPattern}) searchOften(*each);
  }
}

TEST(Pattern, EmptyAndUnsetPairs) {
  vu_pcre empty("", 2, -1);
  ASSERT_EQ(1, empty.execute("abc", 3, 0, 0));
  int length = 77;
  EXPECT_EQ(nullptr, empty.getResult(0, "abc", length));
  EXPECT_EQ(77, length);
  EXPECT_EQ("vu_pcre::getResult : Empty result for index 0",
            messageOf([&] { empty.getResultStr(0, "abc"); }));
  vu_pcre optional("(a)?(b)", 4, -1);
  ASSERT_EQ(3, optional.execute("b", 1, 0, 0));
  EXPECT_EQ(-1, optional.results()[2]);
  EXPECT_EQ(nullptr, optional.getResult(1, "b", length));
  EXPECT_EQ(nullptr, optional.getResult(3, "b", length));
  EXPECT_EQ("b", optional.getResultStr(2, "b"));
}

TEST(Pattern, DotMatchesALineEndOnlyByDefault) {
  EXPECT_EQ(1, vu_pcre("a.b", 1, -5).execute("a\nb", 3, 0, 0));
  EXPECT_EQ(-1, vu_pcre("a.b", 1, 0).execute("a\nb", 3, 0, 0));
}

TEST(Pattern, VectorTooSmall) {
  vu_pcre three("(a)(b)(c)", 2, -1);
  EXPECT_EQ("PCRE Output vector too small", messageOf([&] { three.execute("abc", 3, 0, 0); }));
  EXPECT_EQ(-1, three.execute("xyz", 3, 0, 0));
  EXPECT_EQ("PCRE Output vector too small",
            messageOf([] { vu_pcre("", 0, 0).execute("", 0, 0, 0); }));
  int vector[6] = {};
  EXPECT_EQ(0, three.match("abc", 3, 0, 0, vector, 6));
  EXPECT_EQ(3, vector[1]);
}

/// Which patterns PCRE's just-in-time code is trusted with: none that it may treat in its own way.
TEST(Pattern, KnowsWhereTheEnginesAgree) {
  for (const char* agreed : {"", "a(b)c|d*?e+?f??", "(?:a)(?i:b)(?i)(?s-m:c)", "(?<n>a)(?P<m>b)",
                             "(?<=ab)c", "(?<!a)c", "\\d\\w\\(\\*\\++a{2}"}) {
    EXPECT_TRUE(vu::detail::jitAgrees(agreed, 0)) << agreed;
    EXPECT_FALSE(vu::detail::jitAgrees(agreed, PCRE_FIRSTLINE)) << agreed;
    EXPECT_FALSE(vu::detail::jitAgrees(agreed, PCRE_EXTENDED)) << agreed;
  }
  for (const char* other :
       {"(?=a)",     "(?!a)",    "(?>a)",    "(?|a)",   "(?1)",    "(?R)",    "(?P=n)",
        "(?P>n)",    "(?(1)a)",  "(*F)a",    "a*+",     "a++",     "a?+",     "a{2}+",
        "(a)\\1",    "\\g1",     "\\k<n>",   "\\Qa\\E", "(?<=a)*", "(?<=a)+", "(?<!a)?",
        "(?<!a){2}", "(?<=(a))", "(?<=[a])", "(?<=\\w)"}) {
    EXPECT_FALSE(vu::detail::jitAgrees(other, 0)) << other;
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
  } rows[] = {{"^(a|b)*$", 5000000, PCRE_ERROR_RECURSIONLIMIT},
              {"^(a|b)*$", 20000, PCRE_ERROR_RECURSIONLIMIT},
              {"(a+)+$", 40, PCRE_ERROR_MATCHLIMIT},
              {"(a|aa)+$", 60, PCRE_ERROR_MATCHLIMIT},
              {"^(a(?1)?)", 1000000, PCRE_ERROR_RECURSIONLIMIT}};
  for (const auto& row : rows) {
    vu_pcre pattern(row.pattern, 3, -1);
    const std::string subject = std::string(row.length, 'a') + '!';
    const std::clock_t begin = std::clock();
    const int size = static_cast<int>(subject.size());
    const int result = pattern.execute(subject.data(), size, 0, 0);
    const std::clock_t took = std::clock() - begin;
    EXPECT_TRUE(result == row.expected || (onSmallStack && result == PCRE_ERROR_RECURSIONLIMIT))
        << row.pattern << " of " << row.length;
    EXPECT_LT(took, CLOCKS_PER_SEC / 2) << row.pattern;
    searchOften(pattern);
    EXPECT_EQ(result, pattern.execute(subject.data(), size, 0, 0)) << row.pattern;
    EXPECT_LT(pattern.execute(subject.data(), size, 0, PCRE_ANCHORED), -1) << row.pattern;
    EXPECT_EQ(1, vu_pcre("b", 1, 0).execute("abc", 3, 1, PCRE_ANCHORED));
  }
}

TEST(Pattern, HostileSearchesEndSoon) { searchHostile(false); }

TEST(Pattern, HostileSearchesEndSoonOnASmallStack) {
  for (std::size_t size = kSmallestStack; size <= std::size_t{1} << 20; size *= 2) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, size));
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(
                     &thread, &attributes,
                     [](void*) -> void* {
                       searchHostile(true);
                       return nullptr;
                     },
                     nullptr));
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
  }
}

#ifndef __SANITIZE_THREAD__  // which does not know of other stacks
/// A stack that the program has switched to by itself, of which nobody knows the size.
TEST(Pattern, SearchesOnAnyStack) {
  static ucontext_t usual, other;
  std::vector<char> stack(std::size_t{512} << 10);
  ASSERT_EQ(0, getcontext(&other));
  other.uc_stack.ss_sp = stack.data();
  other.uc_stack.ss_size = stack.size();
  other.uc_link = &usual;
  makecontext(
      &other,
      [] {
        vu_pcre pattern("^(a|b)*$", 2, -1);
        const std::string subject(100000, 'a');
        EXPECT_EQ(2, pattern.execute(subject.data(), 20, 0, 0));
        EXPECT_EQ(PCRE_ERROR_RECURSIONLIMIT, pattern.execute(subject.data(), 100000, 0, 0));
      },
      0);
  ASSERT_EQ(0, swapcontext(&usual, &other));
}
#endif

/// Around the number of steps behind which PCRE gives up.
TEST(Pattern, TakesAsManyStepsAsPcre) {
  const vu::test::Interpreter plain("(a+)+[bc]", 0);
  vu_pcre pattern("(a+)+[bc]", 2, 0);
  for (const std::size_t length : {17U, 19U, 21U, 22U, 24U}) {
    const std::string subject = std::string(length, 'a') + "d";
    std::vector<int> offsets(6);
    EXPECT_EQ(plain.search(subject, 0, 0, offsets),
              pattern.execute(subject.data(), static_cast<int>(subject.size()), 0, 0))
        << length;
  }
}

/// What the just-in-time code cannot hold on its stack, the interpreter finds.
TEST(Pattern, DeepMatchesAreFound) {
  for (const std::size_t length : {500U, 1300U, 1500U, 2500U}) {
    vu_pcre pattern("^(a|b)*$", 2, -1);
    const std::string subject(length, 'b');
    EXPECT_EQ(2, pattern.execute(subject.data(), static_cast<int>(length), 0, 0)) << length;
    EXPECT_EQ(static_cast<int>(length), pattern.getContextOffset());
    searchOften(pattern);
    EXPECT_EQ(2, pattern.execute(subject.data(), static_cast<int>(length), 0, 0)) << length;
    EXPECT_EQ(static_cast<int>(length), pattern.getContextOffset());
  }
  vu_pcre lazy("<(.*?)>", 2, -1);
  const std::string text = "<" + std::string(3000000, 'a') + ">";
  EXPECT_EQ(2, lazy.execute(text.data(), static_cast<int>(text.size()), 0, 0));
}

}  // namespace
