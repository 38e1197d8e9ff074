// Matching by public suffix against libpsl, over every rule of the system's list.

#include <libpsl.h>

#include <algorithm>
#include <cctype>

#include <gtest/gtest.h>

#include "tests/support.h"
#include "vu/domain.h"

namespace {

constexpr char kList[] = "/usr/share/publicsuffix/public_suffix_list.dat";

std::string inUpperCase(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  return text;
}

/// The registered domain as libpsl sees it. It takes the name in front of a wildcard for a suffix,
/// which by the list's rules needs a line of its own; what holds for such a name then is what holds
/// above it.
std::string expected(const psl_ctx_t* psl, const std::vector<std::string>& rules,
                     const std::string& host) {
  const auto listed = [&rules](const std::string& rule) {
    return std::binary_search(rules.begin(), rules.end(), rule);
  };
  const std::string parent = host.substr(host.find('.') + 1);
  if (parent != host && listed("*." + host) && !listed(host) && !listed("*." + parent)) {
    const std::string above = expected(psl, rules, parent);
    return above.empty() ? host : above;
  }
  const char* domain = psl_registrable_domain(psl, host.c_str());
  return domain != nullptr ? domain : "";
}

TEST(PublicSuffix, AgreesWithLibpsl) {
  const vu::test::TemporaryFile file;
  ASSERT_EQ(0, std::system((std::string(VU_TOOL) + " suffixes build " + kList + " -o " +
                            file.path() + " 2>/dev/null")
                               .c_str()));
  const std::unique_ptr<psl_ctx_t, void (*)(psl_ctx_t*)> psl(psl_load_file(kList), psl_free);
  ASSERT_NE(nullptr, psl);
  const vu_cctld table(file.path());

  std::vector<std::string> rules;
  std::istringstream lines(vu::test::contentOf(file.path()));
  std::string rule;
  int labels = 0;
  while (lines >> rule >> labels) rules.push_back(rule);
  ASSERT_EQ(static_cast<std::size_t>(table.suffixCount()), rules.size());
  ASSERT_GT(rules.size(), 8000U);
  std::sort(rules.begin(), rules.end());

  int compared = 0;
  for (const std::string& each : rules) {
    const std::string name = each.substr(each[0] == '!' ? 1 : each[0] == '*' ? 2 : 0);
    for (const char* below : {"", "child.", "grand.child.", "1.grand.child."}) {
      const std::string host = below + name;
      const std::string domain = expected(psl.get(), rules, host);
      for (const std::string& form : {host, host + ".", "http://" + host + ":80/a.b"}) {
        ASSERT_EQ(domain, table.classify(form, vu_match::publicSuffix).domain) << form;
      }
      ASSERT_EQ(inUpperCase(domain),
                table.classify(inUpperCase(host), vu_match::publicSuffix).domain)
          << host;
      ++compared;
    }
  }
  EXPECT_GT(compared, 32000);
}

}  // namespace
