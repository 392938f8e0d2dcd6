#include "bench/running_contender.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>
#include <utility>

#include "sim/deadline.h"
#include "sim/error.h"
#include "sim/files.h"
#include "sim/footprint.h"
#include "sim/process.h"
#include "sim/process_table.h"
#include "sim/uevent_sender.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr const char* outputFile = "/sim/contender.out";
constexpr const char* errorFile = "/sim/contender.err";
constexpr std::chrono::microseconds pause(500);
constexpr double patience = 60;

std::string folderOf(pid_t process) {
  return "/proc/" + std::to_string(process);
}

/** Empty for a process that has ended. */
std::string programOf(pid_t process) {
  std::error_code ended;
  return fs::read_symlink(folderOf(process) + "/exe", ended);
}

/** 'S' for one that waits, 'T' for one that is stopped, see proc(5). */
char stateOf(pid_t process) {
  std::ifstream file(folderOf(process) + "/stat");
  std::string line;
  std::getline(file, line);
  const std::size_t end = line.rfind(") ");
  return end == std::string::npos ? '\0' : line[end + 2];
}

void addWithDescendants(std::vector<pid_t>& processes, pid_t process) {
  processes.push_back(process);
  for (const pid_t child : sim::childrenOf(process)) {
    addWithDescendants(processes, child);
  }
}

std::vector<pid_t> withDescendants(pid_t process) {
  std::vector<pid_t> processes;
  addWithDescendants(processes, process);
  return processes;
}

/** None for a process that has ended, as a helper may. */
double processorSecondsUntilEnd(pid_t process) {
  try {
    return sim::processorSecondsOf(process);
  } catch (const sim::Error&) {
    return 0;
  }
}

bool everyEventIsTaken() {
  const std::vector<sim::UeventSender::Listener> listeners = sim::UeventSender::listeners();
  return std::ranges::all_of(listeners, [](const auto& listener) { return listener.queuedBytes == 0; });
}

pid_t start(const std::vector<std::string>& command) {
  sim::writeFile(outputFile, "");
  sim::writeFile(errorFile, "");
  return sim::startProcess(command, {}, outputFile, errorFile);
}

}  // namespace

bool isAnyoneListening() {
  return !sim::UeventSender::listeners().empty();
}

RunningContender::RunningContender(const Contender& contender, const std::vector<std::string>& command)
    : name_(contender.name()), program_(fs::canonical(contender.program())), pid_(start(command)) {}

RunningContender::~RunningContender() {
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
}

std::vector<pid_t> RunningContender::processes() const {
  std::vector<pid_t> all = withDescendants(pid_);
  std::erase_if(all, [this](pid_t process) { return programOf(process) != program_; });
  return all;
}

std::size_t RunningContender::workers() const {
  return withDescendants(pid_).size() - processes().size();
}

bool RunningContender::hasEnded() const {
  return !sim::isRunning(pid_);
}

void RunningContender::await(const std::string& awaited, const std::function<bool()>& condition) const {
  const sim::Deadline deadline(patience);
  while (!condition()) {
    if (hasEnded() || deadline.passed()) {
      throw sim::Error(name_ + (hasEnded() ? " has ended before " : " was waited for in vain: ") + awaited +
                       "\n" + sim::readFile(errorFile));
    }
    std::this_thread::sleep_for(pause);
  }
}

// Processes that hand work to each other may each be seen asleep although one of them always works: so none of them
// may have had a processor since the look before.
void RunningContender::awaitRest(std::size_t workers) const {
  std::optional<double> secondsBefore;
  await("its rest, with " + std::to_string(workers) + " workers", [this, workers, &secondsBefore] {
    const std::vector<pid_t> own = processes();
    const double seconds = processorSeconds();
    const bool hasRested = seconds == std::exchange(secondsBefore, seconds);
    return hasRested && everyEventIsTaken() && this->workers() == workers && !own.empty() &&
           std::ranges::all_of(own, [](pid_t process) { return stateOf(process) == 'S'; });
  });
}

void RunningContender::awaitListening() const {
  await("its uevent socket", isAnyoneListening);
  awaitRest();
}

void RunningContender::stop() const {
  ::kill(pid_, SIGSTOP);
  await("its stop", [this] { return stateOf(pid_) == 'T'; });
}

void RunningContender::resume() const {
  ::kill(pid_, SIGCONT);
}

double RunningContender::processorSeconds() const {
  double seconds = 0;
  for (const pid_t process : processes()) {
    seconds += processorSecondsUntilEnd(process);
  }
  return seconds;
}

long RunningContender::ownKilobytes() const {
  long sum = 0;
  for (const pid_t process : processes()) {
    std::ifstream memory(folderOf(process) + "/smaps_rollup");
    for (std::string word; memory >> word;) {
      if (long kilobytes = 0; word == "Private_Dirty:" && memory >> kilobytes) {
        sum += kilobytes;
      }
    }
  }
  return sum;
}

}  // namespace bench
