#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

/** Does something again and again, in intervals of so many seconds, until the end of the scope. */
class RepeatedAction {
 public:
  RepeatedAction(double seconds, const std::function<void()>& act)
      : thread_([seconds, act](const std::stop_token& stop) {
          while (!isStoppedWithin(seconds, stop)) {
            act();
          }
        }) {}

  /** Whether `stop` is requested before this time is over. */
  static bool isStoppedWithin(double seconds, const std::stop_token& stop) {
    std::mutex mutex;              // nothing is shared: the wait for the request needs one
    std::unique_lock lock(mutex);  // cppcheck-suppress localMutex
    return std::condition_variable_any().wait_for(lock, stop, std::chrono::duration<double>(seconds),
                                                  [&stop] { return stop.stop_requested(); });
  }

 private:
  std::jthread thread_;
};

/** Does something once, so many seconds from now, unless the scope has ended before. */
class TimedAction {
 public:
  TimedAction(double seconds, const std::function<void()>& act)
      : thread_([seconds, act](const std::stop_token& stop) {
          if (!RepeatedAction::isStoppedWithin(seconds, stop)) {
            act();
          }
        }) {}

 private:
  std::jthread thread_;
};
