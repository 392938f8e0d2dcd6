// In which order the kernel announces a device and what belongs to it, as the daemon hears it.

#include <algorithm>
#include <iterator>

#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

class Announcements : public ReceiverUnit {
 protected:
  /** Those of `expected` that the daemon has heard, in the order in which it has heard them. */
  [[nodiscard]] Lines heardOf(const Lines& expected) const {
    const Lines messages = daemon->messages();
    Lines heard;
    std::copy_if(messages.begin(), messages.end(), std::back_inserter(heard),
                 [&](const std::string& message) {
                   return std::find(expected.begin(), expected.end(), message) != expected.end();
                 });
    return heard;
  }

  static std::string line(const std::string& action, const std::string& directory) {
    return "[rx_ctrl] " + action + " " + directory.substr(4);
  }

  /** The directory of a device's first interface. */
  static std::string interfaceOf(const PluggedDevice& device) {
    return device.directory + "/" + device.directory.substr(device.directory.rfind('/') + 1) + ":1.0";
  }
};

TEST_F(Announcements, OfADiskEndWithItsNode) {
  start();
  const PluggedDevice device = plug(disk(), highSpeedSocket(1));
  const std::string interface = interfaceOf(device);
  const Lines expected{line("add", device.directory), line("add", interface), line("bind", interface),
                       line("bind", device.directory), line("add", storageNode())};
  EXPECT_EQ(heardOf(expected), expected);
}

TEST_F(Announcements, OfAKeyboardHaveItsNodeBeforeItsInterfaceIsBound) {
  start();
  const PluggedDevice device = plug(keyboard(), highSpeedSocket(1));
  const std::string interface = interfaceOf(device);
  const Lines expected{line("add", device.directory), line("add", interface),
                       line("add", interface + "/usbmisc/hiddev0"), line("bind", interface),
                       line("bind", device.directory)};
  EXPECT_EQ(heardOf(expected), expected);
}

TEST_F(Announcements, OfAKeyboardThatGoesBeginWithItsNode) {
  start();
  const PluggedDevice device = plug(keyboard(), highSpeedSocket(1));
  takeOut(device);
  const std::string interface = interfaceOf(device);
  const Lines expected{line("remove", interface + "/usbmisc/hiddev0"), line("unbind", interface),
                       line("remove", interface), line("unbind", device.directory),
                       line("remove", device.directory)};
  EXPECT_EQ(heardOf(expected), expected);
}

}  // namespace
}  // namespace guest
