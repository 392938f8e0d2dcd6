#include "ctrl/worker_table.h"

#include <utility>

void WorkerTable::add(pid_t pid, std::string devpath) {
  remove(pid);
  const std::string& path = byPid.emplace(pid, std::move(devpath)).first->second;
  byPath.erase(path);  // its key would go with the earlier worker
  byPath.emplace(path, pid);
}

void WorkerTable::remove(pid_t pid) {
  const auto worker = byPid.find(pid);
  if (worker == byPid.end()) {
    return;
  }
  const auto path = byPath.find(worker->second);
  if (path != byPath.end() && path->second == pid) {
    byPath.erase(path);
  }
  byPid.erase(worker);
}
