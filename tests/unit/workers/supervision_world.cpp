#include "unit/workers/supervision_world.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>

#include "workers/launch.h"

namespace {

constexpr double microsecondsPerSecond = 1e6;
constexpr double nanosecondsPerSecond = 1e9;

}  // namespace

void waitUntilEnded(pid_t child) {
  siginfo_t info{};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
}

Supervision::Supervision()
    : clock_(library::gettimeofday, [this](timeval* time, void*) { return showTime(time); }),
      sleeping_(library::nanosleep, [this](const timespec* request, timespec*) { return sleep(*request); }) {}

int Supervision::showTime(timeval* time) const {
  const double whole = std::floor(now_);
  time->tv_sec = static_cast<time_t>(whole);
  time->tv_usec = static_cast<suseconds_t>(std::lround((now_ - whole) * microsecondsPerSecond));
  return 0;
}

int Supervision::sleep(const timespec& request) {
  const double seconds =
      static_cast<double>(request.tv_sec) + static_cast<double>(request.tv_nsec) / nanosecondsPerSecond;
  pauses_.push_back(seconds);
  now_ += seconds;
  if (inPause_) {
    inPause_();
  }
  return 0;
}

std::string Supervision::plugWithWorker(const sim::UsbDevice& plugged) {
  std::string directory = sysfs_.add(plugged);
  launchGenericWorker(*ctrl_, directory);
  return directory;
}

void Supervision::exitNext(int status) {
  sim::Worker& worker = workers_.waitForWorker();
  worker.exitWith(status);
  waitUntilEnded(worker.start.pid);
}

void Supervision::killNext(int signal) {
  sim::Worker& worker = workers_.waitForWorker();
  worker.dieBy(signal);
  waitUntilEnded(worker.start.pid);
}

pid_t Supervision::exitedChild(int status) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(status);
  }
  waitUntilEnded(child);
  return child;
}

pid_t Supervision::exitedWorker(int status, const std::string& path) {
  const pid_t worker = exitedChild(status);
  ctrl_->addWorker(worker, path);
  return worker;
}
