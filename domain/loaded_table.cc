// Reading is one pass over the file. The set of suffixes is filled in its own order, from records
// that are sorted first; the tree in the order of the file.

#include "domain/loaded_table.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
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
    std::size_t at;
    std::size_t length;
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
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < sizeof number; ++i) {
    number = number << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
  }
  return number;
}

Records readRecords(const char* path) {
  DefinitionFile file(path);
  if (!file.isOpen()) {
    const int error = errno;
    throw vu_exception(std::string("Top level domain definition file [") +
                       (path != nullptr ? path : "NULL") +
                       "] open error : " + std::strerror(error));
  }
  Records records;
  while (!file.atEnd()) {
    if (!file.read()) return records;
    const std::string_view token = file.token();
    records.tokens.push_back({beginningOf(token), records.texts.size(), token.size()});
    records.texts += token;
    if (file.labels() > records.maxLabels) records.maxLabels = file.labels();
  }
  records.complete = true;
  return records;
}

/// Sorts by the first eight bytes, one byte after the other from the last: in time in proportion to
/// their number, and without comparisons, of which a processor would mispredict half.
void sortByBeginnings(std::vector<Records::Token>& tokens) {
  std::vector<Records::Token> sorted(tokens.size());
  for (unsigned shift = 0; shift < 64; shift += 8) {
    const auto byteOf = [shift](const Records::Token& token) {
      return token.beginning >> shift & 255;
    };
    std::array<std::size_t, 256> places{};
    for (const Records::Token& token : tokens) ++places[byteOf(token)];
    std::size_t before = 0;
    for (std::size_t& place : places) before += std::exchange(place, before);
    for (const Records::Token& token : tokens) sorted[places[byteOf(token)]++] = token;
    tokens.swap(sorted);
  }
}

/// Puts tokens in order: a set that is filled in order needs no search.
std::vector<Records::Token> sorted(const Records& records) {
  std::vector<Records::Token> tokens = records.tokens;
  sortByBeginnings(tokens);
  for (auto first = tokens.begin(); first != tokens.end();) {
    const auto last = std::find_if(first, tokens.end(), [first](const Records::Token& token) {
      return token.beginning != first->beginning;
    });
    std::sort(first, last, [&records](const Records::Token& a, const Records::Token& b) {
      return records.text(a) < records.text(b);
    });
    first = last;
  }
  return tokens;
}

}  // namespace

LoadedTable loadTable(const char* path) {
  const Records records = readRecords(path);
  LoadedTable loaded;
  for (const Records::Token& token : sorted(records)) {
    loaded.suffixes.emplace_hint(loaded.suffixes.end(), records.text(token));
  }
  loaded.tree->reserve(records.tokens.size());
  for (const Records::Token& token : records.tokens) loaded.tree->insert(records.text(token));
  loaded.tree->indexPairs();
  loaded.maxLabels = records.maxLabels;
  if (!records.complete) {
    loaded.error =
        "Top level domain : Read Error at [" + val2str(loaded.suffixes.size() + 1) + "]-th record";
  }
  return loaded;
}

}  // namespace vu::detail
