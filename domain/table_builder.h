// Making the block of a table from its rules.

#ifndef VU_DOMAIN_TABLE_BUILDER_H_
#define VU_DOMAIN_TABLE_BUILDER_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "domain/table_format.h"

namespace vu::detail {

class TableBuilder {
 public:
  TableBuilder();

  /// Makes room for about this many tokens.
  void reserve(std::size_t tokens);

  /// Lists a token, a suffix or a rule with "*." or "!" in front, no longer than kLongestToken;
  /// `section` is one of SectionBits. Throws only when memory runs out, or the numbers of the
  /// format do.
  void add(std::string_view token, unsigned section = kOwnRules);

  /// The number of distinct tokens.
  std::size_t count() const { return count_; }

  struct Facts {
    int maxLabels = 0;
    std::string info;  ///< Lines of a name, ": " and a value.
  };

  /// The block, but for its checksum. Nothing can be listed any more.
  std::string finish(const Facts& facts);

 private:
  /// A rule on its way: as in the block, with its whole key.
  struct Draft {
    std::uint64_t key;
    std::uint32_t text;
    std::uint16_t length;
    std::uint8_t listings;
    std::uint8_t sections;
  };
  using Index = std::uint32_t;

  Index findOrAdd(std::string_view name);
  void listAsIs(Index at, Listing spelled, unsigned section);
  void link(std::string_view name);
  void resize(std::size_t slots);
  std::string_view nameOf(const Draft& draft) const {
    return std::string_view(texts_).substr(draft.text, draft.length);
  }
  std::string filter() const;
  std::string tops() const;
  void sortIntoBuckets(std::string& buckets, std::string& rules) const;

  std::vector<Draft> drafts_;
  std::vector<Index> slots_;  ///< One more than a draft's place, by its key; 0: free. Half full.
  std::string texts_;
  std::size_t count_ = 0;
  std::size_t ofSection_[3] = {};
};

/// Gives a block its checksum: to be called before it is written.
void seal(std::string& block);

}  // namespace vu::detail

#endif  // VU_DOMAIN_TABLE_BUILDER_H_
