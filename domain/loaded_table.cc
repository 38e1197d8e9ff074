// Reading is one pass over the file. The tree is filled in the order of the file, where neighbours
// tend to share a parent; the set of suffixes in its own order, from records sorted for it.

#include "domain/loaded_table.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "domain/definition_file.h"
#include "vu/foundation.h"

namespace vu::detail {
namespace {

/// The records of a definition file up to its end or the first bad one.
struct Records {
  std::string texts;
  struct Token {
    std::uint64_t beginning;  ///< Its first eight bytes: most comparisons need no more.
    std::uint32_t at;
    std::uint32_t length;
  };
  std::vector<Token> tokens;
  int maxLabels = 0;
  bool complete = false;

  std::string_view text(const Token& token) const {
    return std::string_view(texts).substr(token.at, token.length);
  }
};

/// The first eight bytes as a number that compares as they do; zeros stand for missing ones.
std::uint64_t beginningOf(std::string_view text) {
  constexpr std::size_t kCount = sizeof(std::uint64_t);
  const std::size_t count = std::min(text.size(), kCount);
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < count; ++i) {
    number = number << 8 | static_cast<unsigned char>(text[i]);
  }
  return count > 0 ? number << 8 * (kCount - count) : 0;
}

Records readRecords(std::string_view bytes, bool whole) {
  DefinitionFile file(bytes, whole);
  Records records;
  // For the usual list: what of this room is not used is never touched.
  records.texts.reserve(std::size_t{1} << 18);
  records.tokens.reserve(std::size_t{1} << 14);
  while (!file.atEnd()) {
    if (!file.read()) return records;
    const std::string_view token = file.token();
    if (records.texts.size() > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
    records.tokens.push_back({beginningOf(token), static_cast<std::uint32_t>(records.texts.size()),
                              static_cast<std::uint32_t>(token.size())});
    records.texts += token;
    if (file.labels() > records.maxLabels) records.maxLabels = file.labels();
  }
  records.complete = true;
  return records;
}

/// How many low bits of a beginning the sort by bytes leaves out: few tokens differ there alone.
constexpr unsigned kUnsortedBits = 16;

/// Sorts by the other bits, one byte after the other from the lowest: in time in proportion to the
/// number of tokens, and without comparisons, of which a processor would mispredict half.
void sortByBeginnings(std::vector<Records::Token>& tokens) {
  constexpr std::size_t kBytes = 8 - kUnsortedBits / 8;
  const auto byteOf = [](const Records::Token& token, std::size_t byte) {
    return static_cast<std::size_t>(token.beginning >> (kUnsortedBits + 8 * byte) & 255);
  };
  std::array<std::array<std::uint32_t, 256>, kBytes> places{};
  for (const Records::Token& token : tokens) {
    for (std::size_t byte = 0; byte < kBytes; ++byte) ++places[byte][byteOf(token, byte)];
  }
  std::vector<Records::Token> sorted(tokens.size());
  for (std::size_t byte = 0; byte < kBytes; ++byte) {
    std::uint32_t before = 0;
    for (std::uint32_t& place : places[byte]) before += std::exchange(place, before);
    for (const Records::Token& token : tokens) sorted[places[byte][byteOf(token, byte)]++] = token;
    tokens.swap(sorted);
  }
}

/// Puts tokens in order: a set that is filled in order needs no search.
void sort(Records& records) {
  std::vector<Records::Token>& tokens = records.tokens;
  sortByBeginnings(tokens);
  for (auto first = tokens.begin(); first != tokens.end();) {
    const auto last = std::find_if(first, tokens.end(), [first](const Records::Token& token) {
      return token.beginning >> kUnsortedBits != first->beginning >> kUnsortedBits;
    });
    std::sort(first, last, [&records](const Records::Token& a, const Records::Token& b) {
      return a.beginning != b.beginning ? a.beginning < b.beginning
                                        : records.text(a) < records.text(b);
    });
    first = last;
  }
}

}  // namespace

LoadedTable loadTable(std::string_view bytes, bool whole) {
  Records records = readRecords(bytes, whole);
  LoadedTable loaded;
  loaded.tree->reserve(records.tokens.size());
  for (const Records::Token& token : records.tokens) loaded.tree->insert(records.text(token));
  loaded.tree->indexPairs();
  sort(records);
  for (const Records::Token& token : records.tokens) {
    loaded.suffixes.emplace_hint(loaded.suffixes.end(), records.text(token));
  }
  loaded.maxLabels = records.maxLabels;
  if (!records.complete) {
    loaded.error =
        "Top level domain : Read Error at [" + val2str(loaded.suffixes.size() + 1) + "]-th record";
  }
  return loaded;
}

}  // namespace vu::detail
