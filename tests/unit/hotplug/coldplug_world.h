#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "sim/sysfs.h"
#include "support/debug_lines.h"
#include "unit/workers/launch_world.h"

using Lines = std::vector<std::string>;
using support::tagged;

/** A world in which devices are plugged in before the daemon looks. */
class ColdplugWorld : public LaunchWorld {
 public:
  /** A keyboard and its node, whose interface has this subclass; the node's directory. */
  std::string plugKeyboard(const std::string& port = "1-2", const std::string& node = "hiddev0",
                           const std::string& subclass = "01");
  /** A disk and its node "sg0"; the node's directory. */
  std::string plugDisk(const std::string& port = "1-3");

  /** What is said, with debugging, of the devices that are there. */
  Lines saidOfColdplug(std::uint32_t classes);
  /** Of that, what begins a pass, and the path of each made-up event. */
  Lines passesOfColdplug(std::uint32_t classes);

  sim::Sysfs sysfs;
};

/** Runs `body` in such a world, in a child of the test. */
void inColdplugWorld(const std::function<void(ColdplugWorld&)>& body);

/** The debug messages of events for every entry of a directory of sysfs, in the order of its entries. */
Lines offersOf(const std::string& directory);
