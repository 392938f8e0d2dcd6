#include "unit/workers/supervision_world.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>

#include "ctrl/settings.h"
#include "workers/launch.h"

namespace {

constexpr double microsecondsPerSecond = 1e6;
constexpr double nanosecondsPerSecond = 1e9;

void waitUntilEnded(pid_t child) {
  siginfo_t info{};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
}

}  // namespace

SupervisionWorld::SupervisionWorld()
    : clock_(library::gettimeofday, [this](timeval* time, void*) { return tellTime(time); }),
      sleeping_(library::nanosleep, [this](const timespec* request, timespec*) { return sleep(*request); }) {}

int SupervisionWorld::tellTime(timeval* time) const {
  const double whole = std::floor(now);
  time->tv_sec = static_cast<time_t>(whole);
  time->tv_usec = static_cast<suseconds_t>(std::lround((now - whole) * microsecondsPerSecond));
  return 0;
}

int SupervisionWorld::sleep(const timespec& request) {
  const double seconds =
      static_cast<double>(request.tv_sec) + static_cast<double>(request.tv_nsec) / nanosecondsPerSecond;
  pauses.push_back(seconds);
  now += seconds;
  if (inPause) {
    inPause();
  }
  return 0;
}

std::string SupervisionWorld::plugWithWorker(const sim::UsbDevice& plugged) {
  std::string directory = sysfs.add(plugged);
  launchGenericWorker(*ctrl, directory);
  return directory;
}

void SupervisionWorld::exitNext(int status) {
  sim::Worker& worker = board.waitForWorker();
  worker.exitWith(status);
  waitUntilEnded(worker.start.pid);
}

void SupervisionWorld::exitWorkerOf(const std::string& path, int status) {
  sim::Worker& worker = board.waitForWorkerOf(path);
  worker.exitWith(status);
  waitUntilEnded(worker.start.pid);
}

void SupervisionWorld::killNext(int signal) {
  sim::Worker& worker = board.waitForWorker();
  worker.dieBy(signal);
  waitUntilEnded(worker.start.pid);
}

pid_t SupervisionWorld::exitedChild(int status) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(status);
  }
  waitUntilEnded(child);
  return child;
}

pid_t SupervisionWorld::exitedWorker(int status, const std::string& path) {
  const pid_t worker = exitedChild(status);
  ctrl->addWorker(worker, path);
  return worker;
}

Lines SupervisionWorld::saidReaping() {
  settings.debugCtrl = true;
  Lines lines = support::saidDuring([this] { reap(); });
  settings.debugCtrl = false;
  return lines;
}

void inSupervisionWorld(const std::function<void(SupervisionWorld&)>& body) {
  support::inPrivateWorld([&body] {
    SupervisionWorld world;
    body(world);
  });
}
