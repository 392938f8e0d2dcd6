#include "examples/process_namespace.h"

#include <sys/wait.h>

#include <csignal>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/process.h"
#include "sim/process_table.h"
#include "support/eventually.h"

namespace examples {

namespace {

constexpr const char* output = "/sim/first-process";
constexpr const char* ready = "ready";

/** What the first process does: a shell takes the end of every child. */
constexpr const char* life =
    "mount --bind /usr/bin/busybox \"$(readlink -f /bin/sh)\" && echo ready\n"
    "while sleep 1; do :; done\n";

}  // namespace

ProcessNamespace::ProcessNamespace() {
  sim::writeFile(output, "");
  outer_ = sim::startProcess(
      {"/usr/bin/unshare", "--pid", "--fork", "--kill-child", "--mount-proc", busybox, "sh", "-c", life}, {},
      output, output);
  waitUntilReady();
}

void ProcessNamespace::waitUntilReady() {
  support::eventually("the first process of a namespace",
                      [this] { return !sim::isRunning(outer_) || !sim::readFile(output).empty(); });
  const std::vector<pid_t> children = sim::childrenOf(outer_);
  if (children.empty() || !sim::readFile(output).starts_with(ready)) {
    throw sim::Error("no namespace of processes: " + sim::readFile(output));
  }
  first_ = children.front();
}

ProcessNamespace::~ProcessNamespace() {
  ::kill(outer_, SIGKILL);
  ::waitpid(outer_, nullptr, 0);
}

std::vector<std::string> ProcessNamespace::shell() const {
  return {"/usr/bin/nsenter", "--target", std::to_string(first_), "--pid", "--mount", busybox, "sh"};
}

}  // namespace examples
