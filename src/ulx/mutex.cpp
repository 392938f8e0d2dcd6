#include "ulx/mutex.h"

#include "ulx/exceptions.h"

namespace ulx {
namespace {

void requireSuccess(const char* call, int code) {
  if (code != 0) {
    throwErrno(call, code);
  }
}

}  // namespace

Mutex::Mutex() {
  requireSuccess("pthread_mutex_init()", pthread_mutex_init(&mutex_, nullptr));
}

Mutex::~Mutex() {
  pthread_mutex_destroy(&mutex_);
}

void Mutex::lock() {
  requireSuccess("pthread_mutex_lock()", pthread_mutex_lock(&mutex_));
}

void Mutex::unlock() {
  requireSuccess("pthread_mutex_unlock()", pthread_mutex_unlock(&mutex_));
}

MutexLock::MutexLock(Mutex& mutex) : mutex_(mutex) {
  mutex_.lock();
}

MutexLock::~MutexLock() {
  mutex_.unlock();
}

}  // namespace ulx
