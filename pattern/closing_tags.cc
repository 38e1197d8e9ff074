#include "pattern/closing_tags.h"

#include <algorithm>

#include "pattern/characters.h"

namespace vu::detail {
namespace {

std::size_t placeOf(std::string_view name) {
  const auto byte = [name](std::size_t i) -> std::size_t {
    return static_cast<unsigned char>(name[i]);
  };
  return (name.size() * 7 + byte(0) * 5 + byte(name.size() - 1) * 3 + byte(name.size() / 2)) % 64;
}

std::string_view commonPrefix(std::string_view a, std::string_view b) {
  const std::size_t most = std::min(a.size(), b.size());
  const auto differ = std::mismatch(a.begin(), a.begin() + most, b.begin());
  return a.substr(0, static_cast<std::size_t>(differ.first - a.begin()));
}

}  // namespace

ClosingTags::ClosingTags(std::string_view text, std::size_t begin) {
  for (std::size_t at = text.find("</", begin); at != std::string_view::npos;
       at = text.find("</", at + 2)) {
    std::size_t end = at + 2;
    while (end < text.size() && contains(kNameCharacters, text[end])) ++end;
    if (end > at + 2 && end < text.size() && text[end] == '>') {
      add(text.substr(at + 2, end - at - 2), static_cast<int>(at));
    }
  }
}

void ClosingTags::add(std::string_view name, int at) {
  Name* known = lookUp(name);
  if (known == nullptr) known = &*names_.try_emplace(name).first;
  recent_[placeOf(name)] = known;
  const int index = static_cast<int>(tags_.size());
  tags_.push_back({at, -1});
  Occurrences& places = known->second;
  (places.last < 0 ? places.first : tags_[static_cast<std::size_t>(places.last)].next) = index;
  places.last = index;
}

ClosingTags::Name* ClosingTags::lookUp(std::string_view name) {
  Name*& recent = recent_[placeOf(name)];
  if (recent == nullptr || recent->first != name) {
    const auto found = names_.find(name);
    if (found == names_.end()) return nullptr;
    recent = &*found;
  }
  return recent;
}

int ClosingTags::find(Name& name, int begin, int end) {
  int& first = name.second.first;
  while (first >= 0 && tags_[static_cast<std::size_t>(first)].at < begin) {
    first = tags_[static_cast<std::size_t>(first)].next;
  }
  if (first < 0) return -1;
  const int at = tags_[static_cast<std::size_t>(first)].at;
  return end - at >= static_cast<int>(name.first.size()) + 3 ? at : -1;
}

int ClosingTags::find(std::string_view name, int begin, int end) {
  Name* const known = lookUp(name);
  return known != nullptr ? find(*known, begin, end) : -1;
}

std::string_view ClosingTags::shorterName(std::string_view name, int begin, int end,
                                          std::size_t& compared) {
  // In order, what `name` begins with stands in front of it, the longest last; between them stand
  // only names that part from it further on.
  std::string_view wanted = name.substr(0, name.size() - 1);
  while (!wanted.empty()) {
    auto candidate = names_.upper_bound(wanted);
    if (candidate == names_.begin()) break;
    --candidate;
    compared += candidate->first.size();
    const std::string_view common = commonPrefix(wanted, candidate->first);
    if (common.size() < candidate->first.size()) {
      wanted = common;
    } else if (find(*candidate, begin, end) >= 0) {
      return name.substr(0, common.size());
    } else {
      wanted = common.substr(0, common.size() - 1);
    }
  }
  return {};
}

}  // namespace vu::detail
