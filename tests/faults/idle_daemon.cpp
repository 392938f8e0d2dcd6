#include "faults/idle_daemon.h"

#include <sys/syscall.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "sim/process_table.h"

namespace {

std::string fileOf(pid_t process, const std::string& name) {
  std::ifstream file("/proc/" + std::to_string(process) + "/" + name);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

// 'R', 'S', 't' (held by a tracer), 'Z' and others; a blank when there is no such process.
char stateOf(pid_t process) {
  const std::string stat = fileOf(process, "stat");
  const std::size_t nameEnd = stat.rfind(") ");
  return nameEnd == std::string::npos ? ' ' : stat[nameEnd + 2];
}

long callOf(pid_t process) {
  long number = -1;
  std::istringstream(fileOf(process, "syscall")) >> number;
  return number;
}

bool isSelect(long call) {
#ifdef SYS_select
  if (call == SYS_select) {
    return true;
  }
#endif
  return call == SYS_pselect6;
}

}  // namespace

bool sleepsInSelect(pid_t process) {
  // A tracer holds the process within the call, too; it sleeps only where the state says so before and after.
  return stateOf(process) == 'S' && isSelect(callOf(process)) && stateOf(process) == 'S';
}

bool isZombie(pid_t process) {
  return stateOf(process) == 'Z';
}

bool hasZombie(pid_t process) {
  const std::vector<pid_t> children = sim::childrenOf(process);
  return std::any_of(children.begin(), children.end(), isZombie);
}
