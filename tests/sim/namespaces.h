#pragma once

#include <sys/types.h>

#include <set>
#include <string>

namespace sim {

/**
 * Namespaces of its own for the calling process and those it starts from now on: private mounts, a
 * private network (so that uevents are received only here), and a root directory in memory.
 *
 * Visible at their usual places are the host's top-level directories (programs, libraries, /proc, /tmp, the
 * build folder). Empty and private are /sys, /vel, /var/run (wherever the host's link leads) and /sim;
 * private with the usual entries is /dev. What is written to private places ends with the last process of
 * the unit; nothing of it is seen outside, and nothing is left behind, however the processes end.
 *
 * Works for root and for ordinary users (who become root of a user namespace that holds only themselves).
 * The process must have one thread only. It stays in these namespaces when the object goes; making another
 * object enters new, equally fresh ones.
 */
class Namespaces {
 public:
  /** Enters the new namespaces; the working directory is kept where it exists there. Throws Error. */
  Namespaces();

  /**
   * Makes `directory` a place where things can be made without touching the host. Missing directories are
   * made; an existing directory of the host keeps its entries (those stay shared with the host).
   */
  void makePrivate(const std::string& directory);

 private:
  void replaceByMirror(const std::string& directory);

  std::set<dev_t> privateFileSystems_;
};

}  // namespace sim
