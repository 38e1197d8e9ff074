// The states of the URL Standard's parser from the scheme to the port, without what leaves no trace
// in the host: credentials are only stepped over, and a path is never read. One pass over scheme
// and slashes, two over the authority.

#include "url/authority.h"

#include <algorithm>
#include <array>

namespace vu::detail {
namespace {

constexpr int kEnd = -1;

bool isDigit(int c) { return c >= '0' && c <= '9'; }
bool isLetter(int c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }
bool inScheme(int c) { return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.'; }

/// Reads a text as if its tabs and line ends were not there.
class Reader {
 public:
  explicit Reader(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {
    skipIgnored();
  }

  /// The current byte, or kEnd.
  int peek() const { return at_ != end_ ? static_cast<unsigned char>(*at_) : kEnd; }
  void next() {
    ++at_;
    skipIgnored();
  }
  bool take(char c) {
    if (peek() != static_cast<unsigned char>(c)) return false;
    next();
    return true;
  }
  const char* position() const { return at_; }
  const char* end() const { return end_; }
  /// Goes on at a place, where the end is or a byte that is not ignored.
  void moveTo(const char* place) { at_ = place; }
  /// What stands between a place and the current byte, less ignored bytes at its end.
  std::string_view from(const char* start) const {
    std::string_view text(start, static_cast<std::size_t>(at_ - start));
    while (!text.empty() && isIgnored(text.back())) text.remove_suffix(1);
    return text;
  }

 private:
  void skipIgnored() {
    while (at_ != end_ && isIgnored(*at_)) ++at_;
  }

  const char* at_;
  const char* end_;
};

struct Scheme {
  std::string_view name;
  std::int32_t port;
};
constexpr std::array<Scheme, 6> kSpecial{
    {{"http", 80}, {"https", 443}, {"ws", 80}, {"wss", 443}, {"ftp", 21}, {"file", -1}}};
constexpr const Scheme* kHttp = &kSpecial.front();
constexpr const Scheme* kFile = &kSpecial.back();

/// The special scheme of that name, or null.
const Scheme* findSpecial(std::string_view name) {
  for (const Scheme& scheme : kSpecial) {
    Reader letters(name);
    std::size_t same = 0;
    while (same < scheme.name.size() && (letters.peek() | 0x20) == scheme.name[same]) {
      letters.next();
      ++same;
    }
    if (same == scheme.name.size() && letters.peek() == kEnd) return &scheme;
  }
  return nullptr;
}

/// Reads a scheme and its colon; false, at any place, where there is none.
bool readScheme(Reader& reader, std::string_view& name) {
  const char* const start = reader.position();
  if (!isLetter(reader.peek())) return false;
  while (inScheme(reader.peek())) reader.next();
  name = reader.from(start);
  return reader.take(':');
}

/// Whether what follows a scheme's colon is a port instead, of a host without a scheme.
bool isPortOnly(Reader reader) {
  if (!isDigit(reader.peek())) return false;
  while (isDigit(reader.peek())) reader.next();
  const int end = reader.peek();
  return end == kEnd || end == '/' || end == '?' || end == '#';
}

/// What a byte may be to an authority, as bits.
enum ByteKind : unsigned char {
  kDelimiter = 1,
  kBackslash = 2,
  kAt = 4,
  kColon = 8,
  kBracket = 16
};

constexpr std::array<unsigned char, 256> makeKinds() {
  std::array<unsigned char, 256> kinds{};
  kinds['/'] = kinds['?'] = kinds['#'] = kDelimiter;
  kinds['\\'] = kBackslash;
  kinds['@'] = kAt;
  kinds[':'] = kColon;
  kinds['['] = kinds[']'] = kBracket;
  return kinds;
}

constexpr std::array<unsigned char, 256> kKinds = makeKinds();

/// What ends an authority; only that of a special scheme ends at a backslash.
unsigned endsOf(bool isSpecial) { return isSpecial ? kDelimiter | kBackslash : kDelimiter; }

bool endsAuthority(int c, bool isSpecial) {
  return c == kEnd || (kKinds[static_cast<unsigned char>(c)] & endsOf(isSpecial)) != 0;
}

/// The first byte that is of one of these kinds, or the end.
const char* findKind(const char* at, const char* end, unsigned kinds) {
  return std::find_if(at, end,
                      [=](char c) { return (kKinds[static_cast<unsigned char>(c)] & kinds) != 0; });
}

/// Steps over credentials: everything up to the last "@" of the authority.
bool skipCredentials(Reader& reader, bool isSpecial) {
  const unsigned kinds = endsOf(isSpecial) | kAt;
  const char* last = nullptr;
  const char* at = findKind(reader.position(), reader.end(), kinds);
  for (; at != reader.end() && *at == '@'; at = findKind(at + 1, reader.end(), kinds)) last = at;
  if (last == nullptr) return false;
  reader.moveTo(last);
  reader.next();
  return true;
}

/// Reads the host, up to the end of the authority or a colon outside of brackets.
std::string_view readHost(Reader& reader, bool isSpecial) {
  const unsigned kinds = endsOf(isSpecial) | kColon | kBracket;
  const char* const start = reader.position();
  const char* at = findKind(start, reader.end(), kinds);
  bool inBrackets = false;
  for (; at != reader.end(); at = findKind(at + 1, reader.end(), kinds)) {
    if (*at == ':' ? !inBrackets : *at != '[' && *at != ']') break;
    if (*at != ':') inBrackets = *at == '[';
  }
  reader.moveTo(at);
  return reader.from(start);
}

void readPort(Reader& reader, bool isSpecial, std::int32_t ownPort, Authority& found) {
  constexpr std::int32_t kTooLarge = 65536;
  std::int32_t port = isDigit(reader.peek()) ? 0 : -1;
  for (; isDigit(reader.peek()); reader.next()) {
    port = port * 10 + (reader.peek() - '0');
    if (port > kTooLarge) port = kTooLarge;
  }
  if (!endsAuthority(reader.peek(), isSpecial)) {
    found.refused = vu_host_refusal::portInvalid;
  } else if (port == kTooLarge) {
    found.refused = vu_host_refusal::portOutOfRange;
  } else if (port != ownPort) {
    found.port = port;
  }
}

bool isWindowsDrive(std::string_view host) {
  Reader reader(host);
  if (!isLetter(reader.peek())) return false;
  reader.next();
  return (reader.take(':') || reader.take('|')) && reader.peek() == kEnd;
}

void readFileHost(Reader& reader, Authority& found) {
  for (int slash = 0; slash < 2; ++slash) {
    if (!reader.take('/') && !reader.take('\\')) return;
  }
  const char* const start = reader.position();
  while (!endsAuthority(reader.peek(), true)) reader.next();
  found.host = reader.from(start);
  if (isWindowsDrive(found.host)) found.host = {};
}

void readAuthority(Reader& reader, std::int32_t ownPort, Authority& found) {
  const bool hasCredentials = skipCredentials(reader, found.isSpecial);
  found.host = readHost(reader, found.isSpecial);
  const bool hasPort = reader.take(':');
  if (found.host.empty() && (found.isSpecial || hasCredentials || hasPort)) {
    found.refused = vu_host_refusal::hostMissing;
  } else if (hasPort) {
    readPort(reader, found.isSpecial, ownPort, found);
  }
}

/// What stands behind the colon of a scheme, special or not.
void readAfterScheme(Reader& reader, const Scheme* special, Authority& found) {
  found.isSpecial = special != nullptr;
  found.isFile = special == kFile;
  if (found.isFile) {
    readFileHost(reader, found);
  } else if (special != nullptr) {
    while (reader.take('/') || reader.take('\\')) continue;
    readAuthority(reader, special->port, found);
  } else if (reader.take('/') && reader.take('/')) {
    readAuthority(reader, -1, found);
  }
}

std::string_view strip(std::string_view url) {
  const auto outside = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
  while (!url.empty() && outside(url.front())) url.remove_prefix(1);
  while (!url.empty() && outside(url.back())) url.remove_suffix(1);
  return url;
}

}  // namespace

Authority findAuthority(std::string_view url, vu_url_text how) noexcept {
  Authority found;
  const Reader whole(strip(url));
  Reader reader = whole;
  std::string_view name;
  const bool hasScheme = readScheme(reader, name);
  const Scheme* const special = hasScheme ? findSpecial(name) : nullptr;
  if (how == vu_url_text::typed && special == nullptr && (!hasScheme || isPortOnly(reader))) {
    reader = whole;
    readAfterScheme(reader, kHttp, found);
  } else if (hasScheme) {
    readAfterScheme(reader, special, found);
  } else {
    found.refused = vu_host_refusal::missingScheme;
  }
  return found;
}

}  // namespace vu::detail
