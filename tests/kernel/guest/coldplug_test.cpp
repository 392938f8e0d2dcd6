// A desk full of devices before the daemon starts.

#include <iostream>
#include <set>
#include <sstream>

#include "kernel/guest/receiver_unit.h"
#include "sim/files.h"

namespace guest {
namespace {

/** The value of a line "NAME: VALUE kB" in a file of /proc/PID. */
int kilobytesOf(pid_t process, const std::string& file, const std::string& name) {
  std::istringstream lines(sim::readFile("/proc/" + std::to_string(process) + "/" + file));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(name + ":")) {
      return std::stoi(line.substr(name.size() + 1));
    }
  }
  return 0;
}

/** Ten devices: a hub with three devices behind it, six others. */
class ColdplugOfAFullDesk : public ReceiverUnit {
 protected:
  ColdplugOfAFullDesk() {
    const PluggedDevice outer = desk.plug(hub(), fullSpeedSocket(1));
    generic.insert(desk.plugBehind(outer, 1, mouse()).directory);
    generic.insert(desk.plugBehind(outer, 2, serialAdapter()).directory);
    generic.insert(desk.plugBehind(outer, 3, smartCardReader()).directory);
    generic.insert(desk.plug(networkAdapter(), fullSpeedSocket(2)).directory);
    generic.insert(desk.plug(mediaPlayer(), highSpeedSocket(1)).directory);
    generic.insert(desk.plug(tablet(), highSpeedSocket(2)).directory);
    keyboardDirectory = desk.plug(keyboard(), highSpeedSocket(3)).directory;
    diskDirectory = desk.plug(disk(), highSpeedSocket(4)).directory;
    storage = desk.events.waitFor(storageNodeAdded).directory;
    desk.plug(speaker(), fullSpeedSocket(3));
  }

  std::set<std::string> generic;  ///< devices for the generic worker under all circumstances
  std::string keyboardDirectory;
  std::string diskDirectory;
  std::string storage;  ///< the disk's node
};

TEST_F(ColdplugOfAFullDesk, StartsAWorkerForEachAdmittedDeviceAndNoneForHubs) {
  start();
  generic.insert({keyboardDirectory, diskDirectory});
  expectServed(generic);
  EXPECT_EQ(display.takeWrites(), Lines{contract::display::isochronous(speaker().product) + "\n"});
}

TEST_F(ColdplugOfAFullDesk, ServesItsDiskByAWorkerOfItsOwn) {
  start({"--class=scsi"});
  generic.insert({keyboardDirectory, storage});
  expectServed(generic);
}

TEST_F(ColdplugOfAFullDesk, LeavesItsKeyboardToAClassThatHasNoNodesHere) {
  start({"--class=all"});
  generic.insert(storage);
  expectServed(generic);
}

TEST_F(ColdplugOfAFullDesk, TakesLittleMemory) {
  constexpr int limit = 4096;  // kB
  start({"--class=scsi"});
  // The values of "status" may be behind by 64 pages.
  const int resident = kilobytesOf(daemon->pid(), "smaps_rollup", "Rss");
  const int peak = kilobytesOf(daemon->pid(), "status", "VmHWM");
  std::cout << "Resident memory after coldplug of ten devices: " << resident << " kB; peak, about: " << peak
            << " kB\n";
  EXPECT_GT(resident, 0);
  EXPECT_LT(resident, limit);
  EXPECT_LT(peak, limit);
}

}  // namespace
}  // namespace guest
