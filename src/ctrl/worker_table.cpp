#include "ctrl/worker_table.h"

void WorkerTable::add(pid_t pid, const std::string& devpath) {
  byPid[pid] = devpath;
  byPath[devpath] = pid;
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
