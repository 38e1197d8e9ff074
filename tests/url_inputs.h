// URLs with every trick that hosts are hidden by, in random order: for comparisons of two readers.

#ifndef VU_TESTS_URL_INPUTS_H_
#define VU_TESTS_URL_INPUTS_H_

#include <random>
#include <string>
#include <vector>

namespace vu::test {

class UrlInventor {
 public:
  explicit UrlInventor(unsigned seed) : random_(seed) {}

  std::string next() {
    if (oneIn(16)) return bytes(random_() % 24);
    static const Words kSchemes{"http:", "https:", "HtTp:",    "ht\ttp:", "ws:", "wss:", "ftp:",
                                "file:", "foo:",   "a+b-c.d:", "mailto:", "1a:", "http", ""};
    static const Words kSlashes{"//", "//", "//", "//", "/", "", "\\\\", "/\\", "///", "/\n/"};
    static const Words kCredentials{"",  "",   "",     "",     "user@",          "u:p@",
                                    "@", ":@", "a@b@", "%40@", "google.com:80@", "[@"};
    static const Words kPorts{"",       "",       "",    ":80",          ":443",  ":0080", ":",
                              ":65535", ":65536", ":8x", ":99999999999", ":\t21", ":8080 "};
    static const Words kTails{"", "/", "?x", "#y", "\\z", "/p@q:r", " ", "\t", "/%zz\xFF", "@"};
    std::string url = any({"", "", "", " ", "\x01\n", "\t"});
    url += any(kSchemes) + any(kSlashes) + any(kCredentials) + host() + any(kPorts) + any(kTails);
    if (oneIn(8)) url.insert(random_() % (url.size() + 1), bytes(1));
    return url;
  }

  /// A name with bytes beyond ASCII, in UTF-8.
  std::string wideName() {
    std::string name;
    for (auto pieces = 1 + random_() % 6; pieces > 0; --pieces) {
      static const Words kPieces{"a",
                                 "b-",
                                 "1",
                                 ".",
                                 ".",
                                 "xn--",
                                 "xn--9ca",
                                 "xn--bcher-kva",
                                 "xn--4dbrk0ce",
                                 "xn--a-",
                                 "\xC3\xA9",
                                 "\xC3\x9F",
                                 "\xE3\x80\x82",
                                 "\xC2\xAD",
                                 "\xE2\x80\x8C",
                                 "\xE2\x80\x8D",
                                 "\xCC\x81",
                                 "\xCC\xA3",
                                 "\xD7\x90",
                                 "\xD8\xA7",
                                 "\xD9\xA1",
                                 "\xE0\xA5\x8D",
                                 "\xE0\xA4\x95",
                                 "\xEF\xBC\x91",
                                 "\xEF\xBD\x81",
                                 "\xF0\x9D\x9F\x98",
                                 "\xEF\xBF\xBD",
                                 "\xED\x95\x9C",
                                 "\xE1\x84\x92",
                                 "\xE1\x85\xA1",
                                 "\xE2\x89\xA0",
                                 "=\xCC\xB8",
                                 "\xD8\xA8",
                                 "\xCD\x85",
                                 "\xEF\xB7\xBA"};
      name += oneIn(8) ? codePoint() : any(kPieces);
    }
    return name;
  }

 private:
  using Words = std::vector<std::string>;

  bool oneIn(unsigned n) { return random_() % n == 0; }
  const std::string& any(const Words& words) { return words[random_() % words.size()]; }

  std::string bytes(std::size_t count) {
    std::string text;
    while (count-- > 0) {
      text += oneIn(2) ? static_cast<char>(random_()) : "[]:/@?#%\\.0x1 \t<>^|`{}"[random_() % 23];
    }
    return text;
  }

  std::string codePoint() {
    const auto point = 0x80 + random_() % (oneIn(4) ? 0x20000 : 0x3000);
    std::string text;
    if (point >= 0x10000) text += static_cast<char>(0xF0 | point >> 18);
    text += static_cast<char>(point >= 0x10000 ? 0x80 | (point >> 12 & 63) : 0xE0 | point >> 12);
    text += static_cast<char>(0x80 | (point >> 6 & 63));
    return text + static_cast<char>(0x80 | (point & 63));
  }

  std::string address6() {
    std::string text = "[";
    for (auto pieces = random_() % 10; pieces > 0; --pieces) {
      text += any({"0", "0", "1", "ab", "FFFF", "12345", "", "::", "1.2.3.4", "255.256.0.01", "g"});
      if (!oneIn(8)) text += ':';
    }
    if (oneIn(2)) text += "1";
    return oneIn(16) ? text : text + ']';
  }

  std::string host() {
    switch (random_() % 8) {
      case 0:
        return address6();
      case 1: {
        std::string text;
        for (auto parts = 1 + random_() % 5; parts > 0; --parts) {
          text += any({"0", "1", "127", "255", "256", "0x7f", "0X", "010", "08", "4294967295",
                       "4294967296", "2130706433", "0x100000000", "a", ""});
          if (parts > 1 || oneIn(8)) text += '.';
        }
        return text;
      }
      case 2:
        return wideName();
      default: {
        std::string text;
        for (auto pieces = random_() % 7; pieces > 0; --pieces) {
          text += any({"example", "EXAMPLE", "com",       "co",  "uk",  ".",      ".",       ".",
                       "xn--9ca", "xn--a",   "XN--",      "%65", "%2E", "%C3%A9", "%41",     "%",
                       "%zz",     "%00",     "%2f",       "1",   "0x",  "-",      "_",       "\t",
                       "!",       "$",       "localhost", "C|",  "c:",  "%\n31",  "\xC3\xA9"});
        }
        return text;
      }
    }
  }

  std::mt19937 random_;
};

}  // namespace vu::test

#endif  // VU_TESTS_URL_INPUTS_H_
