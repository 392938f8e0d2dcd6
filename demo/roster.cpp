#include "demo/roster.h"

#include <algorithm>

#include "sim/error.h"

namespace demo {

const NumberedWorker& Roster::add(sim::Worker& worker, const std::string& device) {
  entries_.push_back({{++started_, device, &worker}, sim::ProcessHandle(worker.start.pid)});
  const Entry& entry = entries_.back();
  if (entry.process.isOpen()) {
    ends_.watch(entry.process.endEvents());
  }
  return entry.worker;
}

const NumberedWorker& Roster::find(int number) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [number](const Entry& entry) { return entry.worker.number == number; });
  if (found == entries_.end()) {
    throw sim::Error("no worker #" + std::to_string(number) + " runs");
  }
  return found->worker;
}

std::vector<NumberedWorker> Roster::of(const std::string& directory) const {
  std::vector<NumberedWorker> found = all();
  std::erase_if(found, [&directory](const NumberedWorker& worker) {
    return !(worker.device + "/").starts_with(directory + "/");
  });
  return found;
}

std::vector<NumberedWorker> Roster::all() const {
  std::vector<NumberedWorker> workers;
  std::transform(entries_.begin(), entries_.end(), std::back_inserter(workers),
                 [](const Entry& entry) { return entry.worker; });
  return workers;
}

std::vector<NumberedWorker> Roster::takeEnded() {
  std::vector<NumberedWorker> ended = all();
  std::erase_if(ended, [](const NumberedWorker& worker) { return worker.worker->isRunning(); });
  for (const NumberedWorker& worker : ended) {
    remove(worker.number);
  }
  return ended;
}

bool Roster::someHaveEnded() const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [](const Entry& entry) { return !entry.worker.worker->isRunning(); });
}

void Roster::remove(int number) {
  entries_.remove_if([number](const Entry& entry) { return entry.worker.number == number; });
}

}  // namespace demo
