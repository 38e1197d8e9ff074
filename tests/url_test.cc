// Hosts as browsers see them: rows, ICU's own calls and Node's URL as second opinions.

#include "vu/url.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>
#include <unicode/uidna.h>

#include "fuzz/seeds.h"
#include "tests/allocations.h"
#include "tests/process.h"
#include "tests/support.h"
#include "url/idna.h"
#include "vu/domain.h"
#include "vu/url_c.h"

namespace vu::test {
namespace {

std::string shown(const vu_host& host) {
  if (host.refused != vu_host_refusal::none) return refusalName(host.refused);
  static constexpr const char* kKinds[] = {"none", "name", "ipv4", "ipv6", "opaque"};
  std::string text = kKinds[static_cast<int>(host.kind)];
  if (!host.text.empty()) text += ' ' + std::string(host.text);
  return host.port < 0 ? text : text + ' ' + std::to_string(host.port);
}

std::string hostOf(std::string_view url, vu_url_text how = vu_url_text::url) {
  const ExactCopy copy(url);
  std::vector<char> buffer(browserHostBound(url.size()));
  return shown(browserHost(copy.view(), buffer.data(), buffer.size(), how));
}

/// What neither Node decides nor a man page tells: which rule refuses, and texts as typed.
TEST(Url, HostsAsBrowsersSeeThem) {
  const struct {
    const char* url;
    const char* host;
    const char* typed = "";  ///< As typed, where it is asked.
  } rows[] = {
      {"http://1.2.3.08", "IPv4-non-numeric-part"},
      {"http://1.2.3.4.5", "IPv4-too-many-parts"},
      {"http://[::1", "IPv6-unclosed"},
      {"http://[:1]", "IPv6-invalid-compression"},
      {"http://[::1::]", "IPv6-multiple-compression"},
      {"http://[1:2:3:4:5:6:7:8:9]", "IPv6-too-many-pieces"},
      {"http://[1:2]", "IPv6-too-few-pieces"},
      {"http://[::1%25eth0]", "IPv6-invalid-code-point"},
      {"http://[1:2:3:4:5:6:7:1.2.3.4]", "IPv4-in-IPv6-too-many-pieces"},
      {"http://[::1.2.3.04]", "IPv4-in-IPv6-invalid-code-point"},
      {"http://[::1.2.3.256]", "IPv4-in-IPv6-out-of-range-part"},
      {"http://[::1.2.3]", "IPv4-in-IPv6-too-few-parts"},
      {"foo://User@A%zz\x01\xFF~:8/", "opaque A%zz%01%EF%BF%BD~ 8"},
      {"foo://a b", "host-invalid-code-point"},
      {"foo://u@/", "host-missing"},
      {"http://h:8x", "port-invalid"},
      {"http://h:65536/", "port-out-of-range"},
      {"http://a%00", "domain-invalid-code-point"},
      // ASCII is taken as it is, whatever its ACE labels say; what is beyond is not.
      {"http://xn--A.1.xn--mgbb", "name xn--a.1.xn--mgbb"},
      {"http://xn--a.\xC3\xA9", "domain-to-ASCII"},
      {"http://xn--zy0c.\xC3\xA9", "domain-to-ASCII"},  // U+DFFF, the last surrogate
      {"http://B\xC3\xBC\xE3\x80\x82xn--E-\xC2\xADGA", "domain-to-ASCII"},
      {"//host/x", "missing-scheme-non-relative-URL", "name host"},
      {"user@host", "missing-scheme-non-relative-URL", "name host"},
      {"localhost:8080?x", "none", "name localhost 8080"},
      {"\tlocal\nhost:80", "none", "name localhost"},
      {"a.b:81/x", "none", "name a.b 81"},
      {"a.b:81x", "none", "none"},
      {"file:a.b:81", "none", "none"},
      {"localhost:8080\\x", "none", "none"},
      {"user:80@host", "none", "none"},
      {"http:80", "ipv4 0.0.0.80", "ipv4 0.0.0.80"},
      {"my_host:81", "missing-scheme-non-relative-URL", "name my_host 81"},
      {"", "missing-scheme-non-relative-URL", "host-missing"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.host, hostOf(row.url)) << row.url;
    const std::string typed = *row.typed != 0 ? hostOf(row.url, vu_url_text::typed) : "";
    EXPECT_EQ(row.typed, typed) << row.url;
  }
}

TEST(Url, PlacesRoomAndAllocations) {
  char buffer[9];
  const std::string_view plain = "https://www.example.com:8443/x";
  const std::string_view capital = "https://u@\tEXAMPLE.\nCOM/";
  const long before = allocations;
  const vu_host here = browserHost(plain, buffer);
  EXPECT_EQ(vu_host_refusal::noRoom, browserHost(capital, buffer).refused);
  EXPECT_EQ(capital.substr(11, 12), browserHost(capital, buffer).source);
  EXPECT_EQ(buffer, browserHost("http://EXAMPLE.x", buffer).text.data());
  EXPECT_EQ("[::1]", browserHost("http://[::1]/", nullptr, 0).text);
  EXPECT_EQ(before, allocations);
  EXPECT_EQ(plain.data() + 8, here.text.data());

  allocationsLeft = 0;
  const vu_host starved = browserHost("http://--\xC3\xA9/", buffer);
  allocationsLeft = -1;
  EXPECT_EQ(vu_host_refusal::noMemory, starved.refused);
}

TEST(Url, DomainsOfHosts) {
  const TemporaryFile file("co.uk 3\n*.ck 3\n");
  vu_cctld table(nullptr);
  table.initSet(file.path());
  const struct {
    const char* url;
    const char* shortest;  // status, domain
    const char* publicSuffix;
  } rows[] = {
      {"http://google.com:80@www.EVIL.co.uk./", "0 evil.co.uk", "0 evil.co.uk"},
      {"http://_x.-y.b.a.ck", "0 a.ck", "0 b.a.ck"},
      {"http://a!b.c.co.uk", "202 ", "0 c.co.uk"},
      {"http://a..x.co.uk", "0 x.co.uk", "0 x.co.uk"},
      {"http://!.co.uk", "204 ", "202 "},
      {"http://!a.co.uk", "0 a.co.uk", "202 "},
      {"http://1.2.-", "202 ", "202 "},
      {"http://[", "202 ", "202 "},
  };
  for (const auto& row : rows) {
    char buffer[64];
    const vu_host host = browserHost(row.url, buffer);
    for (const vu_match match : {vu_match::shortest, vu_match::publicSuffix}) {
      const vu_domain found = table.classify(host, match);
      EXPECT_EQ(match == vu_match::shortest ? row.shortest : row.publicSuffix,
                std::to_string(found.status) + ' ' + std::string(found.domain))
          << row.url;
      EXPECT_TRUE(found.kind == host.kind && found.address == host.address) << row.url;
      EXPECT_EQ(host.text, found.host) << row.url;
    }
  }
}

TEST(Url, ForC) {
  vu_host_record record{};
  char buffer[64];
  const std::string url = "http://u@EXAMPLE.com:81/";
  const auto call = [&](const char* text, std::size_t size, int form, std::size_t recordSize) {
    return vu_browser_host(text, size, form, buffer, sizeof buffer, &record, recordSize);
  };
  ASSERT_EQ(0, call(url.data(), url.size(), VU_TEXT_URL, sizeof record));
  EXPECT_EQ(1, record.kind + record.refused);
  EXPECT_EQ(81, record.port);
  EXPECT_EQ("EXAMPLE.com", url.substr(record.source_start, record.source_length));
  ASSERT_EQ(1, record.text_in_buffer);
  EXPECT_EQ("example.com", std::string(buffer + record.text_start, record.text_length));
  ASSERT_EQ(0, call("x.y", 3, VU_TEXT_TYPED, sizeof record));
  EXPECT_EQ(0, record.text_in_buffer + static_cast<int>(record.text_start));
  ASSERT_EQ(0, call(nullptr, 0, VU_TEXT_URL, sizeof record));
  EXPECT_STREQ("missing-scheme-non-relative-URL", vu_refusal_name(record.refused));
  EXPECT_EQ(0U, record.source_start + record.text_start);
#if SIZE_MAX > UINT32_MAX
  ASSERT_EQ(0, call("x", std::size_t{1} << 32, VU_TEXT_URL, sizeof record));
  EXPECT_STREQ("too-long", vu_refusal_name(record.refused));
#endif
  EXPECT_EQ(1, call(nullptr, 1, VU_TEXT_URL, sizeof record));
  EXPECT_EQ(1, call("x", 1, 2, sizeof record));
  EXPECT_EQ(1, call("x", 1, VU_TEXT_URL, sizeof record - 1));
  EXPECT_STREQ("unknown", vu_refusal_name(256));
}

/// A name through ICU's own call, with what the URL Standard has it overlook and `more`; "!" for a
/// refusal.
std::string byIcu(const std::string& name, unsigned more = 0) {
  UErrorCode error = U_ZERO_ERROR;
  static UIDNA* const idna =
      uidna_openUTS46(UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII |
                          UIDNA_NONTRANSITIONAL_TO_UNICODE,
                      &error);
  UIDNAInfo info = UIDNA_INFO_INITIALIZER;
  char ascii[4096];
  const int size = uidna_nameToASCII_UTF8(idna, name.data(), static_cast<int>(name.size()), ascii,
                                          sizeof ascii, &info, &error);
  constexpr unsigned kOverlooked = UIDNA_ERROR_EMPTY_LABEL | UIDNA_ERROR_LABEL_TOO_LONG |
                                   UIDNA_ERROR_DOMAIN_NAME_TOO_LONG | UIDNA_ERROR_LEADING_HYPHEN |
                                   UIDNA_ERROR_TRAILING_HYPHEN | UIDNA_ERROR_HYPHEN_3_4;
  if (U_FAILURE(error) || (info.errors & ~(kOverlooked | more)) != 0) return "!";
  return {ascii, static_cast<std::size_t>(size)};
}

/// Whether some label is an ACE prefix with nothing, or with nothing but ASCII behind it; older
/// releases of ICU let those pass.
bool hasIdleAceLabel(const std::string& ascii) {
  std::istringstream labels(ascii);
  for (std::string label; std::getline(labels, label, '.');) {
    if (label.substr(0, 4) == "xn--" && label.back() == '-') return true;
  }
  return false;
}

TEST(Url, NamesBeyondAsciiAsIcuHasThem) {
  const fuzz::Seeds seeds(VU_SOURCE "/fuzz/seeds/url.txt");
  std::mt19937 random;
  for (int i = 0; i < 50000 / kLess; ++i) {
    std::string name;
    for (auto pieces = 1 + random() % 6; pieces > 0; --pieces) {
      name += seeds.words[random() % seeds.words.size()];
      char point[4];
      int size = 0;
      if (random() % 8 == 0) U8_APPEND_UNSAFE(point, size, 0xE000 + random() % 0x10000);
      name.append(point, static_cast<std::size_t>(size));
    }
    std::string ascii;
    std::pmr::string quick;
    if (!detail::nameToAsciiInSteps(name, ascii)) ascii = "!";
    const bool isTaken = detail::nameToAscii(name, quick);
    ASSERT_EQ(ascii, isTaken ? std::string(quick) : "!") << name;
    const std::string icu = byIcu(name);
    ASSERT_EQ(hasIdleAceLabel(icu) ? "!" : icu, ascii) << name;
  }
}

bool isBeyondAscii(std::string_view source) {
  return std::any_of(source.begin(), source.end(),
                     [](char c) { return c == '%' || static_cast<unsigned char>(c) >= 0x80; });
}

/// Whether a difference to Node is known. Older releases of Node look into the ACE labels of an
/// ASCII name, take some that stand for nothing in others, and hold none but the labels that are
/// written from right to left to the rules for names with such a label. Since Unicode 15.1 a
/// capital sharp s stands for a small one, no longer for "ss".
bool isKnown(std::string_view source, const std::string& ours, const std::string& node) {
  const std::string accepted = ours == "!" ? node : ours;
  const std::string name = accepted.substr(0, accepted.find(' '));
  const bool isRefused = byIcu(name) == "!";
  if ((node == "!" && isRefused) || hasIdleAceLabel(name)) return true;
  const bool isDirection = ours == "!" && isRefused && byIcu(name, UIDNA_ERROR_BIDI) == name;
  return isBeyondAscii(source) && (isDirection || source.find("\u1E9E") != std::string_view::npos);
}

// VU_TEST_URLS is the number of inputs: a million takes a minute.
TEST(Url, AgreesWithNode) {
  if (run("node --version").status != 0) GTEST_SKIP() << "Node is not there";
  const char* const wanted = std::getenv("VU_TEST_URLS");
  fuzz::Inventor inventor{fuzz::Seeds(VU_SOURCE "/fuzz/seeds/url.txt")};
  std::vector<std::string> urls(wanted != nullptr ? std::stoul(wanted) : 100000 / kLess);
  std::string questions;
  for (std::string& url : urls) {
    url = inventor.next();
    if (!url.empty()) url = (url[0] % 2 != 0 ? "http://" : "") + url.substr(1);
    questions += printHexical(bytes(url), static_cast<int>(url.size()), 0, false) + "\n";
  }
  std::istringstream answers(run("node '" VU_SOURCE "/tests/url_oracle.mjs'", questions).out);
  std::size_t others = 0, hosts = 0;  // others: by another Unicode release
  for (const std::string& url : urls) {
    std::vector<char> buffer(browserHostBound(url.size()));
    const vu_host host = browserHost(url, buffer.data(), buffer.size());
    std::string ours = "!", node;
    ASSERT_TRUE(std::getline(answers, node));
    if (host.refused == vu_host_refusal::none) {
      ours = std::string(host.text) + ' ' + (host.port < 0 ? "" : std::to_string(host.port));
    }
    if (!host.text.empty()) ++hosts;
    if (ours == node || isKnown(host.source, ours, node)) continue;
    ++others;
    EXPECT_TRUE(isBeyondAscii(host.source) || host.text.find("xn--") != std::string_view::npos)
        << url << "\nours " << ours << "\nNode " << node;
  }
  EXPECT_GE(urls.size() / 10000, others);
  EXPECT_LE(urls.size() / 10, hosts);
}

TEST(Url, TimeInProportion) {
  const auto repeated = [](const std::string& piece) {
    std::string text;
    while (text.size() < 300000 / kLess) text += piece;
    return text;
  };
  for (const std::string host :
       {"\xC3\xA9", "\xC3\xA9\xD0\xB1", "xn--9ca.", "a\xCC\x81\xCC\xA3", "\xCC\x81\xCC\xA3",
        "\xCC\x81\xCD\x8F\xCC\xA3", "\xE0\xA4\x95\xE0\xA5\x8D\xE2\x80\x8D", "\xD7\x90.",
        "\xE2\x80\x8C", "\xEF\xB7\xBB", "\xE3\x8C\x95.", "%41", "@", "[", "0.", "9", "\t:", "\xFF",
        "\\"}) {
    for (const std::string& url :
         {"http://" + repeated(host) + "\xC3\xA9", "http://xn--" + repeated("a9") + repeated(host),
          "foo://" + repeated(host)}) {
      std::vector<char> buffer(browserHostBound(url.size()));
      const std::clock_t start = std::clock();
      browserHost(url, buffer.data(), buffer.size());
      EXPECT_GT(5.0, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC) << host;
    }
  }
}

}  // namespace
}  // namespace vu::test
