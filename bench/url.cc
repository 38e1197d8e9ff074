// Hosts as browsers see them with the domain below a public suffix, beside the service's own cut of
// the same URLs; names beyond ASCII beside the libraries that one would take otherwise, with
// libpsl.

#include "vu/url.h"

#include <dlfcn.h>
#include <idn2.h>
#include <libpsl.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <unicode/uidna.h>

#include "bench/support.h"
#include "vu/domain.h"

namespace vu::bench {
namespace {

const vu_cctld& ourTable() {
  static const vu_cctld table(inputs().suffixFile.c_str());
  return table;
}

vu_domain classifyOnly(std::string_view url) {
  return ourTable().classify(url, vu_match::publicSuffix);
}

vu_domain browserDomain(std::string_view url, char (&buffer)[256]) {
  return ourTable().classify(browserHost(url, buffer), vu_match::publicSuffix);
}

/// Without what only an address bar takes for a URL, and without numbers, which the two rules read
/// in ways of their own.
const std::vector<std::string_view>& urls() {
  static const std::vector<std::string_view> kUrls = [] {
    std::vector<std::string_view> found;
    for (const std::string_view url : inputs().urls) {
      const std::string_view host = classifyOnly(url).host;
      const bool isNumber = !host.empty() && host.back() >= '0' && host.back() <= '9';
      if (url.find("://") != std::string_view::npos && !isNumber) found.push_back(url);
    }
    return found;
  }();
  return kUrls;
}

void browser(benchmark::State& state) {
  char buffer[256];
  for (const std::string_view url : urls()) {
    require(browserDomain(url, buffer).domain == classifyOnly(url).domain,
            "wrong domain of " + std::string(url));
  }
  measureEach(state, urls(), [&](std::string_view url) { return browserDomain(url, buffer); });
}

void hostAlone(benchmark::State& state) {
  char buffer[256];
  measureEach(state, urls(), [&](std::string_view url) { return browserHost(url, buffer); });
}

void serviceCut(benchmark::State& state) { measureEach(state, urls(), classifyOnly); }

// ---------------------------------------------------------------------------------------------
// ada, whose functions for C Node's own library has: Debian's nodejs brings it, VU_LIBNODE names
// another

struct AdaText {
  const char* data;
  std::size_t length;
};

class Ada {
  void* library_ = open();  // never closed; the functions are looked up in it

 public:
  bool isThere() const { return library_ != nullptr; }

  void* (*parse)(const char* url, std::size_t length) = find<decltype(parse)>("ada_parse");
  bool (*canParse)(const char* url, std::size_t length) = find<decltype(canParse)>("ada_can_parse");
  AdaText (*hostOf)(void* parsed) = find<decltype(hostOf)>("ada_get_hostname");
  void (*release)(void* parsed) = find<decltype(release)>("ada_free");

 private:
  static void* open() {
    const char* const named = std::getenv("VU_LIBNODE");
    for (const char* name : {named != nullptr ? named : "", "libnode.so.115", "libnode.so.108"}) {
      void* const library = *name != '\0' ? dlopen(name, RTLD_NOW | RTLD_LOCAL) : nullptr;
      if (library != nullptr) return library;
    }
    return nullptr;
  }

  template <typename Function>
  Function find(const char* name) const {
    return isThere() ? reinterpret_cast<Function>(dlsym(library_, name)) : nullptr;
  }
};

const Ada& ada() {
  static const Ada opened;
  return opened;
}

/// The length of the host, which is in a record that goes at once.
std::size_t parseByAda(std::string_view url) {
  void* const parsed = ada().parse(url.data(), url.size());
  const std::size_t length = ada().hostOf(parsed).length;
  ada().release(parsed);
  return length;
}

void adaParse(benchmark::State& state) {
  char buffer[256];
  for (const std::string_view url : urls()) {
    require(parseByAda(url) == browserHost(url, buffer).text.size(),
            "wrong host of " + std::string(url));
  }
  measureEach(state, urls(), parseByAda);
}

void adaCheck(benchmark::State& state) {
  const auto check = [](std::string_view url) { return ada().canParse(url.data(), url.size()); };
  for (const std::string_view url : urls()) require(check(url), "refused: " + std::string(url));
  measureEach(state, urls(), check);
}

// ---------------------------------------------------------------------------------------------
// Names beyond ASCII

std::vector<std::string> wideHosts() {
  constexpr std::array<const char*, 8> kWords{"bücher", "münchen", "правда",   "例え",
                                              "пример", "한국어",  "εταιρεία", "smørrebrød"};
  constexpr std::array<const char*, 4> kEnds{".com", ".co.uk", ".de", ".co.jp"};
  std::vector<std::string> hosts;
  for (std::size_t i = 0; i < 4096; ++i) {
    hosts.push_back(std::string("www.") + kWords[i % kWords.size()] + std::to_string(i * 31 % 997) +
                    kEnds[i / 8 % kEnds.size()]);
  }
  return hosts;
}

const psl_ctx_t* pslTable() {
  static const std::unique_ptr<psl_ctx_t, void (*)(psl_ctx_t*)> table(
      psl_load_file(inputs().listFile.c_str()), psl_free);
  return table.get();
}

std::string_view domainByPsl(const char* host) {
  const char* const domain = psl_registrable_domain(pslTable(), host);
  return domain != nullptr ? domain : "";
}

/// The domain of a host in UTF-8; `room` holds it.
using WideDomain = std::string_view (*)(const std::string& host, char (&room)[256]);

std::string_view wideByUs(const std::string& host, char (&room)[256]) {
  const vu_host found = browserHost(host, room, vu_url_text::typed);
  return ourTable().classify(found, vu_match::publicSuffix).domain;
}

std::string_view wideByIcu(const std::string& host, char (&room)[256]) {
  UErrorCode error = U_ZERO_ERROR;
  static const UIDNA* const idna = uidna_openUTS46(
      UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII, &error);
  UIDNAInfo info = UIDNA_INFO_INITIALIZER;
  uidna_nameToASCII_UTF8(idna, host.data(), static_cast<int>(host.size()), room, sizeof room, &info,
                         &error);
  return domainByPsl(room);
}

std::string_view wideByIdn2(const std::string& host, char (&room)[256]) {
  char* ascii = nullptr;
  if (idn2_to_ascii_8z(host.c_str(), &ascii, IDN2_NONTRANSITIONAL) != IDN2_OK) return "";
  std::strncpy(room, ascii, sizeof room - 1);
  idn2_free(ascii);
  return domainByPsl(room);
}

void wide(benchmark::State& state, WideDomain domainOf) {
  const std::vector<std::string> hosts = wideHosts();
  char room[256] = {};
  char other[256] = {};
  for (const std::string& host : hosts) {
    const std::string_view domain = domainOf(host, room);
    require(domain.find("xn--") == 0 && domain == wideByIcu(host, other),
            "wrong domain of " + host);
  }
  measureEach(state, hosts, [&](const std::string& host) { return domainOf(host, room); });
}

}  // namespace

void registerUrl() {
  add("url/browser/vu", browser);
  add("url/browser/service", serviceCut);
  add("url/host/vu", hostAlone);
  if (ada().isThere()) {
    add("url/host/ada-parse", adaParse);
    add("url/host/ada-can-parse", adaCheck);
  }
  add("url/idn/vu", [](benchmark::State& state) { wide(state, wideByUs); });
  add("url/idn/icu-and-libpsl", [](benchmark::State& state) { wide(state, wideByIcu); });
  add("url/idn/libidn2-and-libpsl", [](benchmark::State& state) { wide(state, wideByIdn2); });
}

}  // namespace vu::bench
