// Both integer mixes and lookup2 are published algorithms; their constants are theirs. Words are
// put together from single bytes, which compilers turn into one load where the machine allows it.

#include "vu/hash.h"

namespace {

std::uint32_t wordAt(const unsigned char* p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 |
         std::uint32_t{p[3]} << 24;
}

/// One line of lookup2's mixing step but for its shift.
void subtract(std::uint32_t& target, std::uint32_t first, std::uint32_t second) {
  target -= first;
  target -= second;
}

void mix(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c) {
  subtract(a, b, c), a ^= c >> 13;
  subtract(b, c, a), b ^= a << 8;
  subtract(c, a, b), c ^= b >> 13;
  subtract(a, b, c), a ^= c >> 12;
  subtract(b, c, a), b ^= a << 16;
  subtract(c, a, b), c ^= b >> 5;
  subtract(a, b, c), a ^= c >> 3;
  subtract(b, c, a), b ^= a << 10;
  subtract(c, a, b), c ^= b >> 15;
}

std::uint32_t lookup2(const unsigned char* p, std::uint32_t length) {
  if (p == nullptr || length == 0) return 0;
  std::uint32_t a = 0x9e3779b9;
  std::uint32_t b = a;
  std::uint32_t c = 0;
  std::uint32_t left = length;
  for (; left >= 12; left -= 12, p += 12) {
    a += wordAt(p);
    b += wordAt(p + 4);
    c += wordAt(p + 8);
    mix(a, b, c);
  }
  c += length;
  // The lowest byte of c is the length's: the bytes from the eighth on stand one place higher.
  switch (left) {
    case 11:
      c += std::uint32_t{p[10]} << 24;
      [[fallthrough]];
    case 10:
      c += std::uint32_t{p[9]} << 16;
      [[fallthrough]];
    case 9:
      c += std::uint32_t{p[8]} << 8;
      [[fallthrough]];
    case 8:
      b += std::uint32_t{p[7]} << 24;
      [[fallthrough]];
    case 7:
      b += std::uint32_t{p[6]} << 16;
      [[fallthrough]];
    case 6:
      b += std::uint32_t{p[5]} << 8;
      [[fallthrough]];
    case 5:
      b += p[4];
      [[fallthrough]];
    case 4:
      a += std::uint32_t{p[3]} << 24;
      [[fallthrough]];
    case 3:
      a += std::uint32_t{p[2]} << 16;
      [[fallthrough]];
    case 2:
      a += std::uint32_t{p[1]} << 8;
      [[fallthrough]];
    case 1:
      a += p[0];
      break;
    default:
      break;
  }
  mix(a, b, c);
  return c;
}

}  // namespace

unsigned int hashfunctor<unsigned int>::operator()(unsigned int key,
                                                   unsigned int /*unused*/) const {
  std::uint32_t k = key;
  k += ~(k << 15);
  k ^= k >> 10;
  k += k << 3;
  k ^= k >> 6;
  k += ~(k << 11);
  k ^= k >> 16;
  return k;
}

unsigned int hashfunctor<unsigned long long>::operator()(unsigned long long key,
                                                         unsigned int /*unused*/) const {
  std::uint64_t k = key;
  k += ~(k << 32);
  k ^= k >> 22;
  k += ~(k << 13);
  k ^= k >> 8;
  k += k << 3;
  k ^= k >> 15;
  k += ~(k << 27);
  k ^= k >> 31;
  return static_cast<unsigned int>(k);
}

unsigned int hashfunctor<unsigned char*>::strhash(const unsigned char* key, unsigned int length) {
  return lookup2(key, length);
}

void hashfunctor<unsigned char*>::mixInt(unsigned int& a, unsigned int& b, unsigned int& c) {
  mix(a, b, c);
}

unsigned int hashfunctor<unsigned char*>::operator()(const unsigned char* key,
                                                     unsigned int length) const {
  return lookup2(key, length);
}

unsigned int hashfunctor<char*>::strhash(const unsigned char* key, unsigned int length) {
  return lookup2(key, length);
}

void hashfunctor<char*>::mixInt(unsigned int& a, unsigned int& b, unsigned int& c) { mix(a, b, c); }

unsigned int hashfunctor<char*>::operator()(const char* key, unsigned int length) const {
  if (key == nullptr) return 0;
  if (length == 0) length = static_cast<unsigned int>(std::strlen(key));
  return lookup2(reinterpret_cast<const unsigned char*>(key), length);
}

int vu_memcmp(const unsigned char* a, const unsigned char* b, unsigned int n) {
  return *a == *b && std::memcmp(a, b, n) == 0 ? 0 : 1;
}

template class vu_data<unsigned char*, 20>;

// The header has this function inline, so that no other code here would make the library export it;
// a program that takes its address without inlining it needs the one that stands here.
[[gnu::used]] static int (*const exported)(const unsigned char*, const unsigned char*) = vu_cmpUC20;
