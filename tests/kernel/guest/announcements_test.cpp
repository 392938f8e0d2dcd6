// In which order the kernel announces a device and what belongs to it, as the daemon receives it.

#include <algorithm>
#include <iterator>

#include "kernel/guest/receiver_unit.h"

namespace guest {
namespace {

class Announcements : public ReceiverUnit {
 protected:
  /** Those of `expected` that the daemon has logged, in the order in which it has logged them. */
  [[nodiscard]] Lines loggedOf(const Lines& expected) const {
    const Lines messages = daemon->messages();
    Lines logged;
    std::copy_if(messages.begin(), messages.end(), std::back_inserter(logged),
                 [&](const std::string& message) {
                   return std::find(expected.begin(), expected.end(), message) != expected.end();
                 });
    return logged;
  }

  static std::string line(const std::string& action, const std::string& directory) {
    return contract::debug::tag + contract::debug::event(action, devpathOf(directory));
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
  EXPECT_EQ(loggedOf(expected), expected);
}

TEST_F(Announcements, OfAKeyboardHaveItsNodeBeforeItsInterfaceIsBound) {
  start();
  const PluggedDevice device = plug(keyboard(), highSpeedSocket(1));
  const std::string interface = interfaceOf(device);
  const Lines expected{line("add", device.directory), line("add", interface),
                       line("add", interface + "/usbmisc/hiddev0"), line("bind", interface),
                       line("bind", device.directory)};
  EXPECT_EQ(loggedOf(expected), expected);
}

TEST_F(Announcements, OfAKeyboardThatGoesBeginWithItsNode) {
  start();
  const PluggedDevice device = plug(keyboard(), highSpeedSocket(1));
  takeOut(device);
  const std::string interface = interfaceOf(device);
  const Lines expected{line("remove", interface + "/usbmisc/hiddev0"), line("unbind", interface),
                       line("remove", interface), line("unbind", device.directory),
                       line("remove", device.directory)};
  EXPECT_EQ(loggedOf(expected), expected);
}

}  // namespace
}  // namespace guest
