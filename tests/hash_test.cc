// Hash functions against published values and a plain telling of the string hash; equality
// of keys against every difference of a byte.

#include "vu/hash.h"

#include <gtest/gtest.h>

#include "tests/plain/lookup2.h"
#include "tests/support.h"

namespace vu::test {
namespace {

TEST(Hash, GivesThePublishedValues) {
  EXPECT_EQ(0x09237efdU, hashfunctor<unsigned int>()(0x12345678));
  EXPECT_EQ(0x4636b9c9U, hashfunctor<unsigned int>()(0, 7));
  EXPECT_EQ(0x5be890c4U, hashfunctor<unsigned long long>()(0x0123456789abcdef));
  EXPECT_EQ(0x9c352659U, hashfunctor<unsigned long long>()(0, 7));
  EXPECT_EQ(0x251e4793U, hashfunctor<char*>()("abc"));
  EXPECT_EQ(0x5f9ebd1dU, hashfunctor<unsigned char*>()(bytes(std::string(20, '\0')), 20));
  EXPECT_EQ(0U, hashfunctor<unsigned char*>()(nullptr, 5));
  EXPECT_EQ(0U, hashfunctor<char*>()(nullptr, 5));
  EXPECT_EQ(0U, hashfunctor<unsigned char*>::strhash(nullptr, 5));
  EXPECT_EQ(0U, hashfunctor<char*>()(nullptr));
  EXPECT_EQ(0x9c352659U, hashfunctor<std::uint64_t>()(0));
  static_assert(!std::is_invocable_v<hashfunctor<unsigned char*>, unsigned char*>,
                "no hasher of containers");
}

TEST(Hash, AgreesWithThePlainTelling) {
  std::mt19937 random(7);
  for (std::size_t length = 0; length < 300; ++length) {
    for (std::size_t offset = 0; offset < 8; ++offset) {
      std::string text(offset + length, '\0');
      for (char& c : text) c = static_cast<char>(random());
      const ExactCopy copy(text);
      const std::string_view key = copy.view().substr(offset);
      const auto size = static_cast<unsigned int>(key.size());
      const unsigned int expected = plainHash(key);
      ASSERT_EQ(expected, hashfunctor<unsigned char*>()(bytes(key), size)) << length;
      ASSERT_EQ(expected, hashfunctor<char*>::strhash(bytes(key), size)) << length;
      if (size == 0) continue;
      ASSERT_EQ(expected, hashfunctor<char*>()(key.data(), size)) << length;
      const std::string terminated(key.substr(0, key.find('\0')));
      ASSERT_EQ(plainHash(terminated), hashfunctor<char*>()(terminated.c_str())) << length;
    }
  }
  for (auto* const mix : {hashfunctor<char*>::mixInt, hashfunctor<unsigned char*>::mixInt}) {
    unsigned int word[3] = {1, 2, 3};
    mix(word[0], word[1], word[2]);
    EXPECT_EQ(0xb7b48902U, word[2]);
  }
}

TEST(Hash, KeysDifferInEveryByte) {
  const std::string text = "0123456789abcdefghij";
  for (std::size_t offset = 0; offset < 8; ++offset) {
    const ExactCopy first(std::string(offset, ' ') + text);
    const Byte* const a = bytes(first.view().substr(offset));
    const vu_data<unsigned char*, 20> record(a);
    EXPECT_TRUE(record.isKey(a));
    EXPECT_FALSE(record.isKey(nullptr));
    EXPECT_EQ(0, vu_cmpUC20(a, record.key()));
    EXPECT_EQ(0, vu_memcmp(a, record.key(), 20));
    for (std::size_t place = 0; place < 20; ++place) {
      for (int flip = 1; flip < 256; ++flip) {
        std::string other = text;
        other[place] = static_cast<char>(other[place] ^ flip);
        const ExactCopy second(other);
        const Byte* const b = bytes(second.view());
        const auto n = static_cast<unsigned int>(place);
        ASSERT_EQ(1, vu_cmpUC20(a, b)) << place;
        ASSERT_FALSE(record.isKey(b)) << place;
        ASSERT_EQ(1, vu_memcmp(a, b, n + 1)) << place;
        ASSERT_EQ(place == 0 ? 1 : 0, vu_memcmp(a, b, n)) << place;
      }
    }
  }
  Byte row[] = {1};
  vu_data<unsigned char*, 20> record(bytes(text), row);
  EXPECT_EQ(row, record.data());
  record.setData(nullptr);
  EXPECT_EQ(nullptr, record.data());
  EXPECT_TRUE((vu_data<char*, 3>(bytes(text)).isKey(bytes("012-"))));
  EXPECT_FALSE((vu_data<char*, 13>(bytes(text)).isKey(bytes("0123456789ab-"))));
}

}  // namespace
}  // namespace vu::test
