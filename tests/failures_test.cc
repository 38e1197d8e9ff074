// Memory that runs out. Every allocation that an operation makes, in the library and in PCRE and
// OpenSSL under it, fails once; then every allocation from it on. Nothing may leak, only what is
// documented may be thrown, the object must be left as documented, and serve again.

#include <list>
#include <memory>

#include <gtest/gtest.h>

#include "tests/allocations.h"
#include "tests/plain/cipher.h"
#include "tests/plain/settings.h"
#include "tests/process.h"
#include "tests/support.h"
#include "vu/vu.h"

namespace vu::test {
namespace {

const std::string kLong = "a-text-that-is-too-long-for-the-room-that-a-string-has-in-itself";

std::string stateOf(const std::string& text) { return text; }
std::string stateOf(const std::stringstream& out) { return out.str(); }
std::string stateOf(const vu_pcrexml& /*parser*/) { return "made"; }
std::string stateOf(const vu_getopt& parser) { return recordsOf(parser); }

using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;

std::string stateOf(const Pairs& pairs) { return std::string(pairs.size(), '.'); }

std::string stateOf(const vu_pcre& pattern) {
  int vector[9] = {};
  return val2str(pattern.match("xab", 3, 0, 0, vector, 9)) + " at " + val2str(vector[0]);
}

std::string stateOf(const xmldata& tree) {
  std::stringstream text;
  tree.displayText(text, 0);
  return text.str();
}

std::string stateOf(const vu_config& store) {
  std::string state;
  state += messageOf([&] { state = contentsOf(store); });
  for (const char* name : {"own", kLong.c_str()}) {
    state += messageOf([&] { state += store.getParam(name) + store.origin(name); });
  }
  return state;
}

std::string stateOf(const vu_cctld& table) {
  std::string state = val2str(table.suffixCount()) + " suffixes, " + val2str(table.maxLabels()) +
                      " labels, " + table.defaultDomain() + "\n";
  for (const char* url : {"a.b.co.xy", "a.b.ltd.zz", "a.A.xy", "x.a-long-label-indeed.ltd.xy"}) {
    state.append(table.classify(url).domain).append(" ");
    state.append(table.classify(url, vu_match::publicSuffix).domain).append("\n");
  }
  return state;
}

/// An engine with what its last message came to.
struct Engine {
  Engine(int mode, const EVP_CIPHER* cipher) : engine(mode, cipher, "p", bytes("salt"), 4, 3) {}
  void run(const std::string& in) { out = process(engine, in); }

  vu_crypto engine;
  std::string out;
};

std::string stateOf(const Engine& engine) { return engine.out + hex(vu_crypto::cipherkey_, 128); }
std::string stateOf(const vu_key& key) { return hex(key.bytes(), 128); }

/// What may be made.
template <typename Pointer>
auto stateOf(const Pointer& pointer) -> decltype(stateOf(*pointer)) {
  return pointer ? stateOf(*pointer) : "none";
}

struct Outcome {
  std::string before, now, done;  ///< States; `done` is that of a good run.
  bool threw;
};

/// All or nothing.
bool whole(const Outcome& o) { return o.now == (o.threw ? o.before : o.done); }
/// What was done until then may stay.
bool started(const Outcome& o) { return o.threw ? o.done.rfind(o.now, 0) == 0 : o.now == o.done; }
/// Whatever is left is good for another try.
bool anything(const Outcome& o) { return o.threw || o.now == o.done; }
/// As `whole`, or an empty table.
bool cleared(const Outcome& o) { return whole(o) || o.now.rfind("0 suffixes", 0) == 0; }

/// How an operation may fail.
struct Terms {
  bool (*allowed)(const Outcome&) = whole;
  const char* message = nullptr;  ///< How a text begins that may stand for std::bad_alloc.
};

/// What there is to complain of after `act` on what `make` gives, in which allocation `number`,
/// counted from 0, fails. Clears `reached` when it makes fewer.
template <typename Make, typename Act>
std::string failAt(Make make, Act act, const Terms& terms, long number, const std::string& done,
                   bool& reached) {
  const auto object = make();
  Outcome outcome{stateOf(*object), "", done, true};
  std::string message;
  const long failuresBefore = failures;
  allocationsLeft = number;
  try {
    act(*object);
    outcome.threw = false;
  } catch (const std::bad_alloc&) {
  } catch (const vu_exception& failure) {
    allocationsLeft = -1;
    message = failure.what();
  }
  allocationsLeft = -1;
  reached = failures != failuresBefore;
  outcome.now = stateOf(*object);
  if (!message.empty() && (terms.message == nullptr || message.rfind(terms.message, 0) != 0)) {
    return "threw " + message;
  }
  if (!terms.allowed(outcome)) return (outcome.threw ? "threw, left " : "left ") + outcome.now;
  message = messageOf([&] { act(*object); });
  if (!message.empty()) return "then threw " + message;
  return terms.allowed == started || stateOf(*object) == done ? "" : "then left another state";
}

/// Fails each allocation of `act` on what `make` gives.
template <typename Make, typename Act>
void survives(const char* what, Make make, Act act, const Terms& terms = {}) {
  const auto good = make();
  act(*good);
  const std::string done = stateOf(*good);
  for (const bool forGood : {false, true}) {
    staysEmpty = forGood;
    std::string complaint;
    long number = 0;
    for (bool reached = true; reached && complaint.empty(); ++number) {
      // What is made once and kept for the process is no leak, nor is what OpenSSL's queue of
      // errors holds: the second time counts.
      long held = 0;
      for (int round = 0; round < 2 && complaint.empty(); ++round) {
        held = blocksHeld;
        complaint = failAt(make, act, terms, number, done, reached);
        ERR_clear_error();
      }
      if (complaint.empty() && blocksHeld != held) complaint = "leaks";
    }
    EXPECT_EQ("", complaint) << what << ", allocation " << number - 1
                             << (forGood ? " and all behind it" : "");
    EXPECT_LT(1, number) << what << " allocates nothing";
  }
  staysEmpty = false;
}

/// Makes a T each time it is called.
template <typename T, typename... Arguments>
auto making(Arguments... arguments) {
  return [=] { return std::make_unique<T>(arguments...); };
}

/// The same for a constructor, as `make` calls it.
template <typename Make>
void survivesMaking(const char* what, Make make, const Terms& terms = {}) {
  survives(
      what, making<decltype(make())>(), [make](auto& holder) { holder = make(); }, terms);
}

TEST(Failures, Pattern) {
  static std::string groups = "(a)\\1";  // more than a thread keeps room for
  while (groups.size() < 80) groups += "()";
  static const vu_pcre back(groups.c_str(), 1, -1);
  static NvalPcre nval("(a)=(b)");
  survivesMaking("vu_pcre", making<vu_pcre>("(a+)(b)", 3, -1), {whole, "PCRE Compile "});
  survives("match, a reference back", making<std::string>(),
           [](std::string& result) {
             int vector[3];
             result = val2str(back.match("aa", 2, 0, 0, vector, 3));
           },
           // PCRE's own result is no exception.
           {[](const Outcome& o) { return whole(o) || (!o.threw && o.now == "-6"); }});
  survives("insertNV2List", making<Pairs>(),
           [](Pairs& list) { insertNV2List(list, nval, "a=b a=b a=b", 0); }, {started});
}

TEST(Failures, Xml) {
  static const std::string text = "<a x='" + kLong + "'><b>" + kLong + "</b><c/></a><ab>x</ab>";
  static const int length = static_cast<int>(text.size());
  static vu_pcrexml parser;
  static const std::unique_ptr<const xmldata> tree(parser.execute(text.c_str(), "data"));
  const auto leaf = making<xmldata>("data", 4, nullptr, 0);
  survivesMaking("xmldata", leaf);
  survives("addData", leaf,
           [leaf](xmldata& node) {
             auto child = leaf();
             node.addData(child.get());
             static_cast<void>(child.release());
           },
           {started});
  // To streams that hand on what goes wrong.
  for (const int mode : {1, 2}) {
    survives("display", making<std::stringstream>(),
             [mode](std::stringstream& out) {
               out.clear();
               out.exceptions(std::ios::badbit);
               mode == 1 ? tree->displayXML(out, 0, 1) : tree->display(1, 2, out);
             },
             {started});
  }
  survivesMaking("vu_pcrexml", making<vu_pcrexml>(), {whole, "PCRE Compile "});
  survivesMaking("execute",
                 [] { return std::unique_ptr<xmldata>(parser.execute(text.c_str(), "data")); });
  survives("subpattern", leaf, [](xmldata& node) { parser.subpattern(&node, text.data(), length); },
           {started});
  survives("composeXmldata", leaf,
           [](xmldata& node) {
             static int offsets[18];
             static const vu_pcre element("<(\\w+)\\s*([^>]*)>(.*)</\\1>", 6, -1);
             const int rc = element.match(text.data(), length, 0, 0, offsets, 18);
             parser.composeXmldata(&node, text.data(), length, offsets, rc);
           },
           {started});
}

TEST(Failures, Config) {
  static const TemporaryFile file("\nuserdata " + kLong + "\n# none\nisdaemon 3\nsystemID x\n");
  static const Arguments arguments(
      {"daemon", "-D", "-x", "user=short", "-v7", "-c", file.path(), "-D"});
  static const int argc = arguments.count();
  static char* const* const argv = arguments.vector();
  static const config_helper records[] = {
      {kLong.c_str(), 's', kLong.c_str()}, {"own", 'b', flagValue(3)}, {nullptr, 0, nullptr}};
  const auto parser = making<vu_getopt>(argc, argv, nullptr);
  const auto fresh = making<vu_getopt>(0, nullptr, nullptr);
  const auto store = [] {
    auto made = std::make_unique<vu_config>(nullptr);
    made->initConfig(1, argv, nullptr);
    made->setParam("systemID", "by the program", 's');
    return made;
  };
  const Terms ofFiles{whole, "Cannot "};
  survivesMaking("vu_getopt", parser, ofFiles);
  survives("setConfigFile", fresh, [](vu_getopt& p) { p.setConfigFile(file.path()); },
           {anything, "Cannot "});
  survives("parseConfigLine", parser,
           [](vu_getopt& p) { p.parseConfigLine("userdata " + kLong + kLong); });
  survivesMaking("vu_config", making<vu_config>(records));
  survives(
      "initConfig", store, [](vu_config& s) { s.initConfig(argc, argv, nullptr); }, ofFiles);
  survives(
      "reload", store, [](vu_config& s) { s.reload(argc, argv, nullptr); }, ofFiles);
  survives("configParams", store, [](vu_config& s) { s.configParams(records); });
  survives("setParam", store, [](vu_config& s) { s.setParam("own", kLong.c_str(), 's'); });
}

TEST(Failures, Domain) {
  static const TemporaryFile old("co.xy 3\nzz 2\n");
  static const TemporaryFile file("ltd.co.xy 5\na-long-label-indeed.ltd.xy 5\n*.zz 3\nA.XY 4\n");
  static const vu_cctld usual(old.path(), kLong.c_str());
  const auto table = making<vu_cctld>(old.path(), "corp.xy");
  survivesMaking("vu_cctld", making<vu_cctld>(file.path(), kLong.c_str()),
                 {cleared, "PCRE Compile "});
  survives("initSet", table, [](vu_cctld& t) { t.initSet(file.path()); }, {cleared});
  survives("reload", table, [](vu_cctld& t) { t.reload(file.path()); });
  for (const char* url : {"http://www.a-domain-of-some-length.xy/", "http://host/"}) {
    survives("lookup", making<std::string>(), [url](std::string& domain) {
      unsigned ip = 0;
      usual.lookup(url, domain, ip);
    });
  }
}

TEST(Failures, Crypto) {
  const auto makeFirst = [] {
    std::fill_n(vu_crypto::cipherkey_, 128, Byte{0});
    return std::make_unique<Engine>(1, nullptr);
  };
  const auto wholeOrNoKey = [](const Outcome& o) {
    return whole(o) || o.now == std::string(256, '0');
  };
  inChild([=] {
    Engine aes(1, nullptr);
    aes.run(kLong);
    const Terms ofMessages{anything, "Cipher "};
    const auto encipher = [](Engine& engine) { engine.run(kLong); };
    survives("AES", making<Engine>(1, nullptr), encipher, ofMessages);
    survives("RC4", making<Engine>(1, EVP_rc4()), encipher, ofMessages);
    survives(
        "deciphering", making<Engine>(0, nullptr), [&aes](Engine& e) { e.run(aes.out); },
        ofMessages);
    survivesMaking("vu_crypto", making<Engine>(1, EVP_rc4()));
    survivesMaking("vu_crypto, the first", makeFirst, {wholeOrNoKey});
    survivesMaking("vu_key", making<vu_key>("phrase", bytes("salt"), 4, 3),
                   {whole, "vu_key: Derivation "});
    survives("vu_domainKey", making<std::string>(),
             [](std::string& key) { key = hex(vu_domainKey(kLong).data(), 20); },
             {whole, "vu_domainKey: "});
  });
}

/// RC4 has an OpenSSL context of our own, made once in a process: each of its first hundred
/// allocations fails in a process's first try. Behind them stands the loading of a provider, where
/// OpenSSL 3.0 crashes itself.
TEST(Failures, FirstOfTheProcess) {
  const auto lengthOfMessage = [](const EVP_CIPHER* cipher) {
    vu_crypto engine(1, cipher, nullptr, nullptr, 0, 1);
    return val2str(process(engine, "text").size());
  };
  const auto behindAes = [&] {
    lengthOfMessage(nullptr);
    return std::make_unique<std::string>();
  };
  const auto act = [&](std::string& text) { text = lengthOfMessage(EVP_rc4()); };
  for (long number = 0; number < 100; ++number) {
    inChild([&] {
      bool reached = false;
      EXPECT_EQ("", failAt(behindAes, act, {whole, "Cipher Init failed : "}, number, "4", reached))
          << "allocation " << number;
      EXPECT_TRUE(reached);
      if (!HasFailure()) std::_Exit(0);  // before anybody looks for what OpenSSL itself loses
    });
  }
}

}  // namespace
}  // namespace vu::test
