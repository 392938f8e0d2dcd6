#pragma once

#include <string>
#include <vector>

#include "sim/descriptor.h"

/** A port of this machine for TCP, at a numeric address, which may have an interface: "fe80::1%lo". */
class TcpPort {
 public:
  /** Any free port. Nobody listens at it yet, so connections to it are refused. */
  explicit TcpPort(const std::string& address) : TcpPort(address, "0") {}
  TcpPort(const std::string& address, const std::string& number);

  [[nodiscard]] const std::string& number() const { return number_; }

  void listen() const;
  /** From now on whoever connects gets no answer, neither yes nor no. */
  void ignoreEverybody();

  /** The next connection; it waits for it. */
  [[nodiscard]] sim::Descriptor accept() const;

 private:
  [[nodiscard]] sim::Descriptor connectWithoutWaiting() const;

  sim::Descriptor socket_;
  std::string number_;
  std::vector<sim::Descriptor> waiting_;
};
