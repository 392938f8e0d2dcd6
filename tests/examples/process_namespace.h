#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace examples {

inline constexpr const char* busybox = "/usr/bin/busybox";

/**
 * A namespace of processes in which BusyBox's shell is the first, the parent of those that have lost theirs; "/proc"
 * shows these processes alone, and "/bin/sh" is BusyBox. All of them end with the object.
 */
class ProcessNamespace {
 public:
  /** Throws sim::Error where the system refuses such a namespace. */
  ProcessNamespace();
  ~ProcessNamespace();
  ProcessNamespace(const ProcessNamespace&) = delete;
  ProcessNamespace& operator=(const ProcessNamespace&) = delete;

  /** The command by which BusyBox's shell runs inside; its words follow. */
  [[nodiscard]] std::vector<std::string> shell() const;

 private:
  void waitUntilReady();

  pid_t outer_;      ///< the program that has made the namespace
  pid_t first_ = 0;  ///< the first process in it, as it is numbered outside
};

}  // namespace examples
