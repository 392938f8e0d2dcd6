#pragma once

#include <cstdint>
#include <string>

#include "sim/namespaces.h"

/** A network of the test's own, with a loopback interface that is up. Names are those of `setHosts` alone. */
class PrivateNetwork {
 public:
  PrivateNetwork();

  /** The lines of "/etc/hosts". */
  static void setHosts(const std::string& lines);
  /** Gives the loopback interface a further address, with 64 bits for the network. */
  static void addIpv6Address(const std::string& address);
  /** Has every connection come from this port. */
  static void setOnlyLocalPort(const std::string& number);

 private:
  sim::Namespaces world_;
};
