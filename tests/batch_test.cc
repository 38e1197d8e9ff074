// Many URLs in one call, against one at a time.

#include <sys/mman.h>

#include <gtest/gtest.h>

#include "fuzz/seeds.h"
#include "tests/allocations.h"
#include "tests/support.h"
#include "vu/domain.h"

namespace vu::test {
namespace {

/// The bytes of a record, told from the single look-up.
std::string expected(const vu_cctld& table, std::string_view url, vu_match match) {
  const vu_domain found = table.classify(url, match);
  const auto startOf = [&](std::string_view part) {
    return part.data() == nullptr ? 0U : static_cast<std::uint32_t>(part.data() - url.data());
  };
  vu_record record{};
  record.status = found.status;
  record.kind = static_cast<std::uint8_t>(found.kind);
  record.host_start = startOf(found.host);
  record.host_length = static_cast<std::uint32_t>(found.host.size());
  record.domain_start = startOf(found.domain);
  record.domain_length = static_cast<std::uint32_t>(found.domain.size());
  std::copy(found.address.begin(), found.address.end(), record.address);
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

TEST(Batch, AgreesWithSingleLookUps) {
  const std::string few = "co.uk 3\n*.ck 3\n!www.ck 2\nCO.xy 3\n";
  std::string many = few;  // more than a cache holds
  for (int i = 0; i < 50000; ++i) many += "n" + val2str(i) + ".xy 3\n";
  fuzz::Inventor inventor{fuzz::Seeds(VU_SOURCE "/fuzz/seeds/table.txt")};
  std::string bytes = "skipped";
  std::vector<std::int32_t> narrow = {static_cast<std::int32_t>(bytes.size())};
  for (int i = 0; i < 20000; ++i) {
    bytes += inventor.next();
    narrow.push_back(static_cast<std::int32_t>(bytes.size()));
  }
  const ExactCopy copy(bytes);
  const std::vector<std::int64_t> wide(narrow.begin(), narrow.end());
  const std::size_t count = narrow.size() - 1;
  std::vector<vu_text> texts(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto start = static_cast<std::size_t>(narrow[i]);
    texts[i] = {copy.view().data() + start, static_cast<std::size_t>(narrow[i + 1]) - start};
  }
  for (const auto& [content, match] :
       {std::pair(few, vu_match::shortest), std::pair(few, vu_match::publicSuffix),
        std::pair(many, vu_match::shortest), std::pair(many, vu_match::publicSuffix)}) {
    const TemporaryFile file(content);
    const vu_cctld table(file.path(), "corp.xy");
    for (const std::size_t size : {sizeof(vu_record), std::size_t{40}, std::size_t{61}}) {
      // Full of what must be overwritten, and nothing behind it.
      std::vector<std::vector<char>> rooms(3, std::vector<char>(count * size, '\xee'));
      const auto room = [&](std::size_t i) {
        return reinterpret_cast<vu_record*>(rooms[i].data());
      };
      const long before = allocations;
      table.classify(copy.view().data(), narrow.data(), count, room(0), match, size);
      table.classify(copy.view().data(), wide.data(), count, room(1), match, size);
      table.classify(texts.data(), count, room(2), match, size);
      EXPECT_EQ(before, allocations);
      std::vector<char> all;
      for (const vu_text& url : texts) {
        std::string record = expected(table, {url.data, url.size}, match);
        record.resize(size);
        all.insert(all.end(), record.begin(), record.end());
      }
      for (const std::vector<char>& each : rooms) EXPECT_TRUE(all == each);
    }
  }
}

TEST(Batch, RefusesWhatIsNoText) {
  const vu_cctld table(nullptr);
  vu_record found[4];
  const std::int32_t offsets[] = {-1, 5, 3, 3};
  table.classify("a.b.c", offsets, 3, found);
  EXPECT_EQ(VU_COUNTRY_CODE_EMPTY_URL, found[0].status);
  EXPECT_EQ(VU_COUNTRY_CODE_EMPTY_URL, found[1].status);
  EXPECT_EQ(VU_SUCCESS, found[2].status);
  const std::int64_t empty[] = {0, 0, 1};
  table.classify(nullptr, empty, 2, found);
  EXPECT_EQ(VU_SUCCESS, found[0].status);
  EXPECT_EQ(VU_COUNTRY_CODE_EMPTY_URL, found[1].status);
#if SIZE_MAX > UINT32_MAX && !defined __SANITIZE_THREAD__
  const std::size_t size = (std::size_t{1} << 32) + 10;
  void* room = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                    MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(MAP_FAILED, room);
  std::memcpy(room, "http://a.b/", 11);
  const auto* data = static_cast<const char*>(room);
  // The last host is longer than an int can tell.
  const vu_text urls[] = {
      {data, size}, {data, UINT32_MAX}, {nullptr, 3}, {data + 11, std::size_t{1} << 31}};
  table.classify(urls, 4, found);
  EXPECT_EQ(VU_MALFORMED_URL, found[0].status);
  EXPECT_EQ(0U, found[0].host_start + found[0].host_length);
  EXPECT_EQ(VU_SUCCESS, found[1].status);
  EXPECT_EQ(VU_COUNTRY_CODE_EMPTY_URL, found[2].status);
  EXPECT_EQ(VU_COUNTRY_CODE_NOT_A_DOMAIN, found[3].status);
  munmap(room, size);
#endif
}

}  // namespace
}  // namespace vu::test
