// Many URLs in one call. The caller owns what goes in and what comes out, so that nothing here
// allocates; where the texts lie is the only difference between the forms.
//
// In a table that no cache holds, a look-up waits for memory up to four times, for one piece after
// the other. A group of URLs goes through these steps together, each step asking for what the next
// one reads: so many wait at once.

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

/// Fetches what is listed for a group; how far that is needed is in `keys`, 0 for not at all.
void fetch(const SuffixTable& table, const PlainName* names, std::size_t count) noexcept {
  std::uint64_t keys[kGroup];
  for (std::size_t i = 0; i < count; ++i) {
    keys[i] = names[i].place ? names[i].key() : 0;
    table.prefetchFilter(keys[i]);
  }
  std::size_t listed = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (!names[i].place || !table.mayKnow(keys[i])) continue;
    const std::uint64_t key = vu::detail::nameKey(names[i].domain());
    table.prefetchBucket(key);
    keys[listed++] = key;
  }
  for (std::size_t i = 0; i < listed; ++i) table.prefetchRules(keys[i]);
  for (std::size_t i = 0; i < listed; ++i) table.prefetchText(keys[i]);
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

void write(vu_record& record, const Asked& asked, std::string_view url,
           const PlainName& name) noexcept {
  if (!name.place) {
    vu::detail::classifyInto(record, asked.all, url, asked.match);
  } else if (!mayBeListed(asked.table, asked.match, name)) {
    writePlain(record, name, name.lastTwo());
  } else {
    const auto cut = cutListed(asked.table, asked.maxLabels, asked.match, name);
    writePlain(record, name, cut.start);
    record.status = cut.status;
  }
}

/// `textAt` gives the URL of a number.
template <typename TextAt>
void writeGroup(const Asked& asked, TextAt textAt, std::size_t first, std::size_t count,
                vu_record* records) noexcept {
  PlainName names[kGroup];
  for (std::size_t i = 0; i < count; ++i) names[i] = plainNameOf(textAt(first + i));
  fetch(asked.table, names, count);
  for (std::size_t i = 0; i < count; ++i) write(records[i], asked, textAt(first + i), names[i]);
}

template <typename TextAt>
void writeAll(const Asked& asked, TextAt textAt, std::size_t first, std::size_t count,
              vu_record* records) noexcept {
  if (asked.table.bytes().size() <= kCached) {
    for (std::size_t i = 0; i < count; ++i) {
      const std::string_view url = textAt(first + i);
      write(records[i], asked, url, plainNameOf(url));
    }
    return;
  }
  for (std::size_t i = 0; i < count; i += kGroup) {
    writeGroup(asked, textAt, first + i, std::min(kGroup, count - i), records + i);
  }
}

/// A caller's record may be longer or shorter than ours.
template <typename TextAt>
void classifyAll(const Asked& asked, TextAt textAt, std::size_t count, vu_record* results,
                 std::size_t recordSize) noexcept {
  if (recordSize == sizeof(vu_record)) return writeAll(asked, textAt, 0, count, results);
  char* to = reinterpret_cast<char*>(results);
  const std::size_t known = std::min(recordSize, sizeof(vu_record));
  for (std::size_t first = 0; first < count; first += kGroup) {
    vu_record records[kGroup];
    const std::size_t some = std::min(kGroup, count - first);
    writeAll(asked, textAt, first, some, records);
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
