// A stream done piece by piece in several threads. Each thread takes a piece, works on it and gives
// it away when its turn comes, so that a piece stays in one core's cache from beginning to end, and
// no thread is started or woken for the next one.

#ifndef VU_TOOLS_RELAY_H_
#define VU_TOOLS_RELAY_H_

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace vu::tool {

/// What a stream has given.
enum class Taken {
  nothing,  ///< It is at its end.
  little,   ///< It may have to be waited for: the piece is given away before the next one is taken.
  much      ///< More is likely to be there: another thread may take it meanwhile.
};

template <typename Piece>
class Relay {
 public:
  struct Steps {
    std::function<Taken(Piece&)> take;  ///< One call at a time.
    std::function<void(Piece&)> work;   ///< Any number of calls at a time, for a piece each.
    std::function<void(Piece&)> give;   ///< One call at a time, in the order of `take`.
  };

  /// Works until the stream is at its end, in this thread and in others, `threads` together, which
  /// begin one by one as there is much. What a step throws is thrown, once all pieces in front of
  /// it are given away and no thread is left; none behind it is given away.
  void run(std::size_t threads, const Steps& steps) {
    mostHelpers_ = threads - 1;
    hasEnded_ = false;
    taken_ = given_ = 0;
    work(piece(0), steps);
    for (std::thread& each : helpers_) each.join();
    helpers_.clear();
    if (failure_ != nullptr) std::rethrow_exception(std::exchange(failure_, nullptr));
  }

 private:
  /// Each thread's own, which is used again: touching fresh memory costs more than most work.
  Piece& piece(std::size_t thread) {
    if (thread == pieces_.size()) pieces_.push_back(std::make_unique<Piece>());
    return *pieces_[thread];
  }

  void work(Piece& piece, const Steps& steps) {
    while (!hasEnded_) workOnce(piece, steps);
  }

  void workOnce(Piece& piece, const Steps& steps) {
    std::unique_lock<std::mutex> taking(taking_);
    if (hasEnded_) return;
    const std::uint64_t turn = taken_++;
    std::exception_ptr failure;
    Taken taken = Taken::nothing;
    try {
      taken = steps.take(piece);
      if (taken == Taken::nothing) hasEnded_ = true;
      if (taken == Taken::much) {
        addHelper(steps);
        taking.unlock();
      }
      if (taken != Taken::nothing) steps.work(piece);
    } catch (...) {
      failure = std::current_exception();
    }
    finish(turn, failure, [&] {
      if (taken != Taken::nothing) steps.give(piece);
    });
  }

  /// The end of a turn: whatever failed in it is the end of all.
  template <typename Give>
  void finish(std::uint64_t turn, std::exception_ptr failure, Give give) {
    std::unique_lock<std::mutex> lock(giving_);
    turnEnds_.wait(lock, [&] { return turn == given_ || failure_ != nullptr; });
    if (failure_ != nullptr) return;
    try {
      if (failure == nullptr) give();
    } catch (...) {
      failure = std::current_exception();
    }
    ++given_;
    failure_ = failure;
    if (failure != nullptr) hasEnded_ = true;
    turnEnds_.notify_all();
  }

  /// Where the system has no thread or no memory for another, those that are there do.
  void addHelper(const Steps& steps) {
    if (helpers_.size() >= mostHelpers_) return;
    try {
      Piece& theirs = piece(helpers_.size() + 1);
      helpers_.emplace_back([this, &theirs, &steps] { work(theirs, steps); });
    } catch (const std::exception&) {
      mostHelpers_ = helpers_.size();
    }
  }

  std::mutex taking_;  // guards what follows, and is locked before the other
  std::vector<std::thread> helpers_;
  std::size_t mostHelpers_ = 0;
  std::vector<std::unique_ptr<Piece>> pieces_;
  std::uint64_t taken_ = 0;

  std::mutex giving_;  // guards what follows
  std::condition_variable turnEnds_;
  std::uint64_t given_ = 0;
  std::exception_ptr failure_;

  std::atomic<bool> hasEnded_{false};
};

}  // namespace vu::tool

#endif  // VU_TOOLS_RELAY_H_
