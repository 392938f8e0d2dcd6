#include "unit/tools/recorder/timed_action.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <ctime>
#include <utility>

#include "sim/error.h"

namespace {

timespec timeOf(double seconds) {
  const double whole = std::floor(seconds);
  return {static_cast<std::time_t>(whole), static_cast<long>((seconds - whole) * 1e9)};
}

sim::Descriptor startedTimer(double seconds, double interval) {
  sim::Descriptor timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
  const itimerspec times = {timeOf(interval), timeOf(seconds)};
  if (!timer.isOpen() || ::timerfd_settime(timer.get(), 0, &times, nullptr) != 0) {
    throw sim::systemError("timerfd");
  }
  return timer;
}

}  // namespace

TimedAction::TimedAction(double seconds, double interval, std::function<void()> act)
    : timer_(startedTimer(seconds, interval)), act_(std::move(act)), serving_(timer_.get(), [this] {
        std::uint64_t times = 0;
        static_cast<void>(::read(timer_.get(), &times, sizeof times));
        act_();
      }) {}
