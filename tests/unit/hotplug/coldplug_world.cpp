#include "unit/hotplug/coldplug_world.h"

#include <algorithm>

#include "ctrl/settings.h"
#include "hotplug/coldplug.h"
#include "sim/files.h"

namespace {

bool beginsOrOffers(const std::string& line) {
  return line.starts_with("[rx_ctrl] add ") || line.starts_with("[rx_ctrl] co");
}

}  // namespace

std::string ColdplugWorld::plugKeyboard(const std::string& port, const std::string& node,
                                        const std::string& subclass) {
  sim::UsbDevice keyboard{.name = port, .product = "Keyboard"};
  keyboard.descriptors = sim::keyboardDescriptors();
  return sysfs.add(
      sim::HiddevNode{.usbDevice = sysfs.add(keyboard), .name = node, .interfaceSubclass = subclass});
}

std::string ColdplugWorld::plugDisk(const std::string& port) {
  sim::UsbDevice disk{.name = port, .product = "Disk"};
  disk.descriptors = sim::diskDescriptors();
  return sysfs.add(sim::ScsiGenericNode{.usbDevice = sysfs.add(disk)});
}

Lines ColdplugWorld::saidOfColdplug(std::uint32_t classes) {
  ctrl->classes = classes;
  settings.debugCtrl = true;
  Lines lines = support::saidDuring([this] { coldplug(*ctrl); });
  settings.debugCtrl = false;
  return lines;
}

Lines ColdplugWorld::passesOfColdplug(std::uint32_t classes) {
  const Lines said = saidOfColdplug(classes);
  Lines passes;
  std::copy_if(said.begin(), said.end(), std::back_inserter(passes), beginsOrOffers);
  return passes;
}

void inColdplugWorld(const std::function<void(ColdplugWorld&)>& body) {
  support::inPrivateWorld([&body] {
    ColdplugWorld world;
    body(world);
  });
}

Lines offersOf(const std::string& directory) {
  Lines offers;
  for (const std::filesystem::path& entry : sim::entriesOf(directory)) {
    offers.push_back("[rx_ctrl] add " + entry.string().substr(4));
  }
  return offers;
}
