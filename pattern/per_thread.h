// What a thread makes once and keeps to its end.

#ifndef VU_PATTERN_PER_THREAD_H_
#define VU_PATTERN_PER_THREAD_H_

#include <memory>
#include <new>

namespace vu::detail {

/// The calling thread's own T. At the end of the process static objects may still search when the
/// first thread's own is gone: what is read here has no destructor, and says so.
template <typename T>
class PerThread {
 public:
  /// Made by the first call; null when there is no memory for it, or when the thread is ending.
  static T* get() noexcept {
    if (made_ == nullptr && !isOver_) make();
    return made_;
  }

 private:
  struct Owner {
    T* own = nullptr;
    ~Owner() {
      made_ = nullptr;
      isOver_ = true;
      delete own;
    }
  };

  __attribute__((noinline)) static void make() noexcept {
    thread_local Owner owner;
    made_ = owner.own = new (std::nothrow) T;
  }

  // Reached on every search: the model spares the call that finds a library's thread data.
  static inline thread_local T* made_ __attribute__((tls_model("initial-exec"))) = nullptr;
  static inline thread_local bool isOver_ __attribute__((tls_model("initial-exec"))) = false;
};

}  // namespace vu::detail

#endif  // VU_PATTERN_PER_THREAD_H_
