#pragma once

#include "unit/ulx/library_calls.h"

/** Counts the mutexes that are held, during a scope in which none is really locked. */
class HeldMutexes {
 public:
  [[nodiscard]] int count() const { return count_; }

 private:
  int count_ = 0;
  support::Replaced<int(pthread_mutex_t*)> lock_{library::mutexLock, [this](pthread_mutex_t*) {
                                                   ++count_;
                                                   return 0;
                                                 }};
  support::Replaced<int(pthread_mutex_t*)> unlock_{library::mutexUnlock, [this](pthread_mutex_t*) {
                                                     --count_;
                                                     return 0;
                                                   }};
};
