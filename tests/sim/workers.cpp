#include "sim/workers.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <utility>

#include "sim/error.h"
#include "sim/unix_socket.h"
#include "sim/wait.h"
#include "sim/worker_protocol.h"
#include "sim/worker_report.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

constexpr int longestQueue = 4096;

constexpr double secondsForOlderOnes = 1;
constexpr double secondsBetweenLooks = 0.01;

bool isOlder(const Worker* a, const Worker* b) {
  return a->start.age < b->start.age;
}

std::string standinProgram() {
  const char* fromEnvironment = std::getenv("SIM_WORKER");
  return fromEnvironment != nullptr ? fromEnvironment : SIM_WORKER_STANDIN;
}

Descriptor listenAt(const char* path) {
  fs::remove(path);
  Descriptor listener = bindTo(path, SOCK_STREAM);
  if (::listen(listener.get(), longestQueue) != 0) {
    throw systemError(std::string("listening at ") + path);
  }
  return listener;
}

std::string commandLine(const std::vector<std::string>& arguments) {
  std::string line;
  for (const std::string& argument : arguments) {
    line += " '" + argument + "'";
  }
  return line;
}

bool endsInTime(const ProcessHandle& process, const Deadline& deadline) {
  pollfd ended{process.endEvents(), POLLIN, 0};
  return ::poll(&ended, 1, deadline.millisecondsLeft()) > 0;
}

}  // namespace

Worker::Worker(WorkerStart started, Descriptor connection)
    : start(std::move(started)), connection_(std::move(connection)) {}

void Worker::exitWith(int status) {
  command("exit " + std::to_string(status) + "\n");
}

void Worker::dieBy(int signal) {
  command("signal " + std::to_string(signal) + "\n");
}

void Worker::command(const std::string& line) {
  if (::send(connection_.get(), line.data(), line.size(), MSG_NOSIGNAL) < 0) {
    throw systemError("sending worker " + std::to_string(start.pid) + " the order " + line);
  }
}

bool Worker::isRunning() {
  char unused = 0;
  return connection_.isOpen() && ::recv(connection_.get(), &unused, 1, MSG_PEEK | MSG_DONTWAIT) < 0;
}

void Worker::waitForEnd(const Deadline& deadline) {
  // A worker never sends after its report: the connection becomes readable only by its end.
  if (!waitReadable(connection_.get(), deadline)) {
    throw TimedOut("the end of worker " + std::to_string(start.pid) + commandLine(start.arguments));
  }
}

void installWorkerStandin(const std::string& path) {
  fs::create_directories(fs::path(path).parent_path());
  fs::remove(path);
  fs::create_symlink(standinProgram(), path);
}

void installUsualWorkers() {
  for (const char* name : {"usb_rx_keyboard", "usb_rx_scsi", "usb_rx_generic"}) {
    installWorkerStandin(std::string("/sim/bin/") + name);
  }
}

Workers::Workers()
    : listener_(listenAt(worker_protocol::socketPath)), stateReport_([this] { return describe(); }) {
  // Workers outlive the daemon; they come back to this process, which ends and reaps them.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
}

Worker& Workers::waitForWorker(const Deadline& deadline) {
  waitUntil("a worker", deadline, listener_.get(), [this] {
    acceptReported();
    return !waiting_.empty();
  });
  // One that was started earlier may be on its way to report; a child that is no worker never does.
  const Deadline patience(secondsForOlderOnes);
  while (!isOldest(*waiting_.front()) && !patience.passed()) {
    static_cast<void>(waitReadable(listener_.get(), patience.atMost(secondsBetweenLooks)));
    acceptReported();
  }
  return take(*waiting_.front());
}

Worker& Workers::waitForWorkerOf(const std::string& device, const Deadline& deadline) {
  auto found = waiting_.end();
  waitUntil("a worker of " + device, deadline, listener_.get(), [&] {
    acceptReported();
    found = std::find_if(waiting_.begin(), waiting_.end(),
                         [&device](const Worker* worker) { return worker->device() == device; });
    return found != waiting_.end();
  });
  return take(**found);
}

bool Workers::isOldest(const Worker& worker) const {
  const std::vector<pid_t> siblings = childrenOf(worker.start.parent);
  return std::none_of(siblings.begin(), siblings.end(), [&](pid_t sibling) {
    const std::optional<ProcessAge> age = ageOf(sibling);
    return age && *age < worker.start.age && !hasReported(sibling) && sim::isRunning(sibling);
  });
}

bool Workers::hasReported(pid_t process) const {
  return std::any_of(workers_.begin(), workers_.end(),
                     [process](const Worker& worker) { return worker.start.pid == process; });
}

Worker& Workers::take(Worker& worker) {
  std::erase(waiting_, &worker);
  return worker;
}

void Workers::forget(const Worker& worker) {
  std::erase(waiting_, &worker);
  workers_.remove_if([&worker](const Worker& known) { return &known == &worker; });
}

std::size_t Workers::count() {
  acceptReported();
  return workers_.size();
}

void Workers::acceptReported() {
  while (true) {
    Descriptor connection(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection.isOpen()) {
      return;
    }
    WorkerStart start = receiveReport(connection.get());
    Worker& worker = workers_.emplace_back(std::move(start), std::move(connection));
    waiting_.insert(std::upper_bound(waiting_.begin(), waiting_.end(), &worker, isOlder), &worker);
  }
}

std::vector<Workers::EndingWorker> Workers::dismissAll() {
  acceptReported();
  std::vector<EndingWorker> ending;
  for (const Worker& worker : workers_) {
    if (ageOf(worker.start.pid) == worker.start.age) {
      ending.push_back({worker.start.pid, ProcessHandle(worker.start.pid)});
    }
  }
  waiting_.clear();
  workers_.clear();  // closes their connections
  return ending;
}

void Workers::endAll() noexcept {
  try {
    const Deadline deadline(1);
    for (const EndingWorker& worker : dismissAll()) {
      if (!endsInTime(worker.process, deadline)) {
        worker.process.signal(SIGKILL);
      }
      ::waitpid(worker.pid, nullptr, 0);
    }
  } catch (const std::exception&) {
    // A worker that is left ends by itself when its connection closes.
  }
}

std::string Workers::describe() const {
  std::string text = "workers that have reported: " + std::to_string(workers_.size()) + "\n";
  for (const Worker& worker : workers_) {
    text += "  " + std::to_string(worker.start.pid) + commandLine(worker.start.arguments) + "\n";
  }
  return text;
}

}  // namespace sim
