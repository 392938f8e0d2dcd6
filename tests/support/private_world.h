#pragma once

#include <gtest/gtest.h>

#include "ctrl/configuration.h"
#include "sim/namespaces.h"

namespace support {

/**
 * A test in mounts and a network of its own: empty "/sys", "/vel", "/var/run" and "/sim", nobody else's
 * uevents. Its process stays there for good, since ctest runs each test in a process of its own. Where one
 * process runs several tests, each of them enters a fresh world.
 */
class PrivateWorld : public testing::Test {
 protected:
  PrivateWorld() { requestConfigReload(); }

  sim::Namespaces world_;
};

}  // namespace support
