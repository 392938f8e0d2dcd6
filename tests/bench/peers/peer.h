#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "bench/contender.h"

namespace bench {

/**
 * A program that others run for uevents, where it is installed. It has one rule, which executes the worker for each USB
 * device that is added; those that a distribution installs are for other purposes.
 *
 * What is there at its start reaches a peer as uevents: a program beside it makes the kernel announce each device
 * again. Here the events are handed to the kernel instead, as those of a device that is plugged in.
 */
class Peer : public Contender {
 public:
  [[nodiscard]] Origin origin() const override { return Origin::foreign; }
  [[nodiscard]] std::string program() const override { return program_; }
  [[nodiscard]] std::optional<std::string> obstacle() const override;
  void offer(const std::vector<std::string>& devices, const KernelEvents& kernel) const override;

 protected:
  /** The program is at the first of these places that there is. */
  explicit Peer(std::initializer_list<const char*> places);

 private:
  std::string program_;  // empty where it is not installed
};

}  // namespace bench
