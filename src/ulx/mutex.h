#pragma once

#include <pthread.h>

namespace ulx {

/** A POSIX mutex with default attributes. Throws the class of the error number that a call returns. */
class Mutex {
 public:
  /** Throws "pthread_mutex_init()". */
  Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;
  ~Mutex();

  /** Throws "pthread_mutex_lock()". */
  void lock();
  /** Throws "pthread_mutex_unlock()". */
  void unlock();

 private:
  pthread_mutex_t mutex_{};
};

/** Holds a mutex during its scope. The mutex must outlive it. */
class MutexLock {
 public:
  explicit MutexLock(Mutex& mutex);
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;
  ~MutexLock();

 private:
  Mutex& mutex_;
};

}  // namespace ulx
