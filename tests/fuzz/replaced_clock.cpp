#include "fuzz/replaced_clock.h"

#include <sys/time.h>

#include <cstdint>
#include <ctime>
#include <utility>

namespace fuzz {

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t nanosecondsPerMicrosecond = 1'000;

bool isReplaced = false;
std::int64_t now = 0;  // in nanoseconds
std::function<void()> sleepHandler;

timespec timespecOfNow() {
  return {.tv_sec = now / nanosecondsPerSecond, .tv_nsec = now % nanosecondsPerSecond};
}

void pass(const timespec& duration) {
  now += duration.tv_sec * nanosecondsPerSecond + duration.tv_nsec;
}

}  // namespace

ReplacedClock::ReplacedClock(std::function<void()> onSleep) {
  isReplaced = true;
  sleepHandler = std::move(onSleep);
}

ReplacedClock::~ReplacedClock() {
  isReplaced = false;
  sleepHandler = nullptr;
}

}  // namespace fuzz

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

int __real_clock_gettime(clockid_t clock, timespec* time);
int __real_gettimeofday(timeval* time, void* zone);
int __real_nanosleep(const timespec* duration, timespec* rest);

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
  if (!fuzz::isReplaced) {
    return __real_clock_gettime(clock, time);
  }
  *time = fuzz::timespecOfNow();
  return 0;
}

int __wrap_gettimeofday(timeval* time, void* zone) {
  if (!fuzz::isReplaced) {
    return __real_gettimeofday(time, zone);
  }
  const timespec now = fuzz::timespecOfNow();
  *time = {.tv_sec = now.tv_sec, .tv_usec = now.tv_nsec / fuzz::nanosecondsPerMicrosecond};
  return 0;
}

std::int64_t __real__ZNSt6chrono3_V212steady_clock3nowEv();

// That of std::chrono::steady_clock, whose time point is a number of nanoseconds.
std::int64_t __wrap__ZNSt6chrono3_V212steady_clock3nowEv() {
  return fuzz::isReplaced ? fuzz::now : __real__ZNSt6chrono3_V212steady_clock3nowEv();
}

int __wrap_nanosleep(const timespec* duration, timespec* rest) {
  if (!fuzz::isReplaced) {
    return __real_nanosleep(duration, rest);
  }
  fuzz::pass(*duration);
  fuzz::sleepHandler();
  return 0;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
