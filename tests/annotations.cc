// What Clang's thread-safety analysis sees of the guards. Compiled by a test with -verify: every
// remark below must come, and no other.

#include <vu/locks.h>

vu_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
int table VU_GUARDED_BY(lock) = 0;
int shared VU_GUARDED_BY(vu_rwlock::_rwlock) = 0;
pthread_rwlock_t ordinary = PTHREAD_RWLOCK_INITIALIZER;

int change() VU_REQUIRES(lock) { return ++table; }
int use() VU_REQUIRES_SHARED(lock) { return table; }

void good() {
  vu_readlock reading(lock, 5);
  if (reading.owns_lock()) use();
  reading.unlock();
  vu_writelock writing(lock, std::defer_lock);
  if (writing.lock(5) == 0) change();
  {
    const vu_writelock all;
    shared = 1;
  }
  vu_writelock later(std::defer_lock);
  if (later.lock(5) == 0) shared = 2;
  const vu_readlock notAnalysed(ordinary);
}

int withoutLock() { return table; }       // expected-warning {{reading variable 'table' requires}}
void sharedWithoutLock() { shared = 1; }  // expected-warning {{requires holding mutex '_rwlock'}}

void wrongKind() {
  const vu_readlock reading(lock);
  change();  // expected-warning {{requires holding mutex 'lock' exclusively}}
}

void tooLate() {
  vu_writelock writing(lock);
  writing.unlock();
  change();  // expected-warning {{requires holding mutex 'lock' exclusively}}
}

void tooEarly() {
  vu_writelock writing(lock, std::defer_lock);
  if (writing.lock(5) != 0) change();  // expected-warning {{requires holding mutex}}
}
