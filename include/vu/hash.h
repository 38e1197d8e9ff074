// Hash functions for integer and text keys, and equality of binary keys of a fixed width.
//
//   std::unordered_map<unsigned int, std::string, hashfunctor<unsigned int>> names;
//   const unsigned int bucket = hashfunctor<char*>()("www.example.com") % buckets;
//   const vu_data<unsigned char*, 20> record(digest, row);
//   if (record.isKey(candidate)) return record.data();
//
// Hash values are 32 bits, the same on every platform, and never reduced. None of them is keyed:
// who chooses the keys can make them collide, so a table of strangers' keys needs another bound.
//
// Threads:  everything here is stateless or read-only; any number of threads may call at once.
// Errors:   none.
// Lifetime: hashes and comparisons keep no pointers. `vu_data` holds its key and the caller's
// pointer.

#ifndef VU_HASH_H_
#define VU_HASH_H_

#include <cstdint>
#include <cstring>

#include "vu/export.h"

// ---------------------------------------------------------------------------------------------
// Hash functions

/// A hash function for keys of type T: those below.
template <typename T>
class hashfunctor;

/// Thomas Wang's 32-bit integer mix, the first that he published. The second argument is ignored;
/// that it may be left out makes the object a hasher of the standard containers.
template <>
class VU_EXPORT hashfunctor<unsigned int> {
 public:
  /// The hash of `key`.
  unsigned int operator()(unsigned int key, unsigned int ignored = 0) const;
};

/// The low 32 bits of Thomas Wang's 64-bit integer mix, the first that he published.
template <>
class VU_EXPORT hashfunctor<unsigned long long> {
 public:
  /// The hash of `key`.
  unsigned int operator()(unsigned long long key, unsigned int ignored = 0) const;
};

/// The same of `std::uint64_t` where that is an `unsigned long`; wherever it is narrower, too, so
/// that a value has one hash.
template <>
class VU_EXPORT hashfunctor<unsigned long> : public hashfunctor<unsigned long long> {};

/// Bob Jenkins' lookup2 of `length` bytes, with an initial value of 0. A null key and a length of 0
/// give 0. Published in "Hash functions", Dr. Dobb's Journal, September 1997.
template <>
class VU_EXPORT hashfunctor<unsigned char*> {
 public:
  /// The hash of `length` bytes at `key`. The length has no default: as a hasher of a container,
  /// which gives none, the object would put all keys into one chain.
  unsigned int operator()(const unsigned char* key, unsigned int length) const;

  /// The hash itself. Time in proportion to `length`.
  static unsigned int strhash(const unsigned char* key, unsigned int length);
  /// Its mixing step, which changes all three.
  static void mixInt(unsigned int& a, unsigned int& b, unsigned int& c);
};

/// Bob Jenkins' lookup2 of a text: of `length` bytes, or, when that is 0, of those in front of its
/// NUL.
template <>
class VU_EXPORT hashfunctor<char*> {
 public:
  /// The hash of `length` bytes at `key`, or of all in front of the NUL when that is 0.
  unsigned int operator()(const char* key, unsigned int length = 0) const;

  /// The hash of `length` bytes, as for `unsigned char*`: a length of 0 gives 0 here.
  static unsigned int strhash(const unsigned char* key, unsigned int length);
  /// The mixing step, as for `unsigned char*`.
  static void mixInt(unsigned int& a, unsigned int& b, unsigned int& c);
};

// ---------------------------------------------------------------------------------------------
// Equality of binary keys. Pointers may have any alignment, and none may be null but where it says.

/// 0 when the first `n` bytes at `a` and `b` are equal, 1 when they are not. The first byte is
/// compared whatever `n` is.
VU_EXPORT int vu_memcmp(const unsigned char* a, const unsigned char* b, unsigned int n);

/// 0 when the 20 bytes at `a` and `b` are equal, 1 when they are not.
VU_EXPORT int vu_cmpUC20(const unsigned char* a, const unsigned char* b);

/// A key of `N` bytes, held in the object, behind a pointer of the caller's. libvu itself holds
/// `vu_data<unsigned char*, 20>`.
template <typename T, unsigned int N>
class VU_EXPORT vu_data {
 public:
  /// Copies the `N` bytes at `key`. `data` is the caller's record for this key; it is not owned.
  explicit vu_data(const unsigned char* key, T data = nullptr) : data_(data) {
    std::memcpy(key_, key, N);
  }

  /// The caller's record.
  T data() const { return data_; }
  /// Puts another record in its place; the old one is left to the caller.
  void setData(T data) { data_ = data; }
  /// The `N` bytes of the key; they live as long as the object.
  const unsigned char* key() const { return key_; }

  /// Whether the `N` bytes at `key` are this key; false for null.
  bool isKey(const unsigned char* key) const;

 private:
  T data_;
  unsigned char key_[N];
};

// ---------------------------------------------------------------------------------------------
// How keys are compared: word by word, here so that callers have it inline.

namespace vu::detail {

/// What is not equal in two words of type Word: 0 when all is.
template <typename Word>
Word difference(const unsigned char* a, const unsigned char* b) {
  Word x;
  Word y;
  std::memcpy(&x, a, sizeof x);
  std::memcpy(&y, b, sizeof y);
  return x ^ y;
}

template <unsigned int N>
bool equalKeys(const unsigned char* a, const unsigned char* b) {
  std::uint64_t different = 0;
  unsigned int at = 0;
  for (; at + 8 <= N; at += 8) different |= difference<std::uint64_t>(a + at, b + at);
  for (; at + 4 <= N; at += 4) different |= difference<std::uint32_t>(a + at, b + at);
  for (; at < N; ++at) different |= difference<unsigned char>(a + at, b + at);
  return different == 0;
}

}  // namespace vu::detail

inline int vu_cmpUC20(const unsigned char* a, const unsigned char* b) {
  return vu::detail::equalKeys<20>(a, b) ? 0 : 1;
}

template <typename T, unsigned int N>
inline bool vu_data<T, N>::isKey(const unsigned char* key) const {
  return key != nullptr && vu::detail::equalKeys<N>(key_, key);
}

// libvu holds this one. Declared behind the definitions, so that they can be inline all the same.
extern template class vu_data<unsigned char*, 20>;

#endif  // VU_HASH_H_
