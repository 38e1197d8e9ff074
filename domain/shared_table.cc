// A table that is renewed while it is read. Readers share the table of the moment; a new one is
// made aside, and the lock that they take for a pointer is held for one exchange of pointers.

#include <mutex>
#include <utility>

#include "vu/domain.h"

struct vu_shared_cctld::State {
  std::mutex reloading;  ///< So that of two reloads the later one lasts.
  std::mutex exchanging;
  std::shared_ptr<const vu_cctld> table;
};

vu_shared_cctld::vu_shared_cctld(const char* path, const char* defaultDomain)
    : state_(std::make_unique<State>()) {
  auto table = std::make_shared<vu_cctld>(nullptr, defaultDomain);
  table->reload(path);
  state_->table = std::move(table);
}

vu_shared_cctld::~vu_shared_cctld() = default;

std::shared_ptr<const vu_cctld> vu_shared_cctld::get() const {
  const std::lock_guard<std::mutex> guard(state_->exchanging);
  return state_->table;
}

int vu_shared_cctld::reload(const char* path, int least) {
  const std::lock_guard<std::mutex> one(state_->reloading);
  std::shared_ptr<const vu_cctld> old = get();
  if (least < 0) least = old->suffixCount() - old->suffixCount() / 2;
  auto fresh = std::make_shared<vu_cctld>(nullptr, old->defaultDomain().c_str());
  const int count = fresh->reload(path, least);
  const std::lock_guard<std::mutex> guard(state_->exchanging);
  old = std::exchange(state_->table, std::move(fresh));  // which goes when no lock is held
  return count;
}
