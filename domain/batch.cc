// Many URLs in one call. The caller owns what goes in and what comes out, so that nothing here
// allocates; where the texts lie is the only difference between the forms.
//
// A group of URLs goes through the steps of a look-up together. Few hosts need the table's rules,
// and which of them do, a processor guesses wrongly: they are gathered first, without a branch, and
// done behind all others. In a table that no cache holds, a look-up waits for memory up to four
// times, for one piece after the other: each step asks for what the next one reads, so that many
// wait at once.

#include <algorithm>
#include <cstring>

#include "domain/plain_name.h"
#include "domain/record.h"
#include "domain/suffix_table.h"
#include "vu/domain.h"

namespace {

using vu::detail::PlainName;
using vu::detail::SuffixTable;

constexpr std::size_t kGroup = 32;
constexpr std::size_t kCached = std::size_t{1}
                                << 20;  // about what a processor's second cache holds

/// A question to a table, of which there are many.
struct Asked {
  const vu_cctld& all;
  const SuffixTable& table;
  int maxLabels;
  vu_match match;
};

PlainName plainNameOf(std::string_view url) noexcept {
  return url.size() <= std::numeric_limits<std::uint32_t>::max() ? vu::detail::plainName(url)
                                                                 : PlainName();
}

/// Those of a group for which a rule may be listed, by their numbers.
struct Listed {
  unsigned char numbers[kGroup];
  std::size_t count = 0;
};

/// Fetches what is listed for them.
void fetch(const SuffixTable& table, const PlainName* names, const Listed& listed) noexcept {
  std::uint64_t keys[kGroup];
  for (std::size_t i = 0; i < listed.count; ++i) {
    keys[i] = vu::detail::nameKey(names[listed.numbers[i]].domain());
    table.prefetchBucket(keys[i]);
  }
  for (std::size_t i = 0; i < listed.count; ++i) table.prefetchRules(keys[i]);
  for (std::size_t i = 0; i < listed.count; ++i) table.prefetchText(keys[i]);
}

/// Writes a plain host with the domain that begins there, or none for null.
void writePlain(vu_record& record, const PlainName& name, const char* domain) noexcept {
  const auto narrow = [](auto number) { return static_cast<std::uint32_t>(number); };
  record = {};
  record.kind = static_cast<std::uint8_t>(vu_host_kind::name);
  record.host_start = narrow(name.place.start());
  record.host_length = narrow(name.place.end() - name.place.start());
  if (domain == nullptr) return;
  record.domain_start = narrow(domain - name.text);
  record.domain_length = narrow(name.end() - domain);
}

/// Writes all records as if nothing were listed, and finds out for whom a rule may be.
template <typename UrlAt>
Listed writeUnlisted(const Asked& asked, UrlAt urlAt, const PlainName* names, std::size_t count,
                     vu_record* records) noexcept {
  const auto asksWild = static_cast<unsigned>(asked.match != vu_match::shortest);
  Listed listed;
  for (std::size_t i = 0; i < count; ++i) {
    if (!names[i].place) {
      vu::detail::classifyInto(records[i], asked.all, urlAt(i), asked.match);
      continue;
    }
    writePlain(records[i], names[i], names[i].lastTwo());
    listed.numbers[listed.count] = static_cast<unsigned char>(i);
    // As mayBeListed, without its branch, which is what one URL by itself is faster with.
    const auto isKnown = static_cast<unsigned>(asked.table.mayKnow(names[i].key()));
    const auto isWild = static_cast<unsigned>(asked.table.mayHaveWildcard(names[i].end()));
    listed.count += isKnown | (asksWild & isWild);
  }
  return listed;
}

/// A group has one URL at least.
template <typename UrlAt>
void writeGroup(const Asked& asked, UrlAt urlAt, std::size_t count, vu_record* records) noexcept {
  const bool isFar = asked.table.bytes().size() > kCached;
  PlainName names[kGroup];  // of which the first `count` are set
  std::size_t i = 0;
  do {
    names[i] = plainNameOf(urlAt(i));
    if (isFar && names[i].place) asked.table.prefetchFilter(names[i].key());
  } while (++i < count);
  const Listed listed = writeUnlisted(asked, urlAt, names, count, records);
  if (isFar) fetch(asked.table, names, listed);
  for (i = 0; i < listed.count; ++i) {
    const std::size_t at = listed.numbers[i];
    const auto cut = cutListed(asked.table, asked.maxLabels, asked.match, names[at]);
    writePlain(records[at], names[at], cut.start);
    records[at].status = cut.status;
  }
}

/// `textAt` gives the URL of a number. A caller's record may be longer or shorter than ours.
template <typename TextAt>
void classifyAll(const Asked& asked, TextAt textAt, std::size_t count, vu_record* results,
                 std::size_t recordSize) noexcept {
  char* to = reinterpret_cast<char*>(results);
  const std::size_t known = std::min(recordSize, sizeof(vu_record));
  for (std::size_t first = 0; first < count; first += kGroup) {
    const std::size_t some = std::min(kGroup, count - first);
    const auto urlAt = [=](std::size_t i) noexcept { return textAt(first + i); };
    if (recordSize == sizeof(vu_record)) {
      writeGroup(asked, urlAt, some, results + first);
      continue;
    }
    vu_record records[kGroup];
    writeGroup(asked, urlAt, some, records);
    for (std::size_t i = 0; i < some; ++i, to += recordSize) {
      std::memcpy(to, &records[i], known);
      std::memset(to + known, 0, recordSize - known);
    }
  }
}

template <typename Offset>
auto textsBetween(const char* bytes, const Offset* offsets) noexcept {
  return [=](std::size_t i) noexcept {
    const Offset start = offsets[i];
    const Offset end = offsets[i + 1];
    if (start < 0 || end < start) return std::string_view();
    // An engine may leave out the bytes where all its texts are empty.
    if (bytes == nullptr) return end == start ? std::string_view("") : std::string_view();
    return std::string_view(bytes + start, static_cast<std::size_t>(end - start));
  };
}

}  // namespace

void vu_cctld::classify(const char* bytes, const std::int32_t* offsets, std::size_t count,
                        vu_record* results, vu_match match, std::size_t recordSize) const noexcept {
  classifyAll({*this, *tldSet_, maxLabels_, match}, textsBetween(bytes, offsets), count, results,
              recordSize);
}

void vu_cctld::classify(const char* bytes, const std::int64_t* offsets, std::size_t count,
                        vu_record* results, vu_match match, std::size_t recordSize) const noexcept {
  classifyAll({*this, *tldSet_, maxLabels_, match}, textsBetween(bytes, offsets), count, results,
              recordSize);
}

void vu_cctld::classify(const vu_text* urls, std::size_t count, vu_record* results, vu_match match,
                        std::size_t recordSize) const noexcept {
  const auto textAt = [=](std::size_t i) noexcept {
    return urls[i].data == nullptr ? std::string_view()
                                   : std::string_view(urls[i].data, urls[i].size);
  };
  classifyAll({*this, *tldSet_, maxLabels_, match}, textAt, count, results, recordSize);
}
