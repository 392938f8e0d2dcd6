#include "sim/sysfs.h"

#include <utility>
#include <vector>

#include "sim/error.h"
#include "sim/files.h"
#include "sim/recording_views.h"
#include "sim/uevent.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

bool isIn(const fs::path& directory, const fs::path& path) {
  return (path.string() + "/").starts_with(directory.string() + "/");
}

/** The entries of this type in a directory; none where there is no such directory. */
std::vector<fs::path> entriesOf(const fs::path& directory, fs::file_type type) {
  std::vector<fs::path> entries = fs::exists(directory) ? sim::entriesOf(directory) : std::vector<fs::path>{};
  std::erase_if(entries, [type](const fs::path& entry) { return fs::symlink_status(entry).type() != type; });
  return entries;
}

}  // namespace

Sysfs::Sysfs(fs::path root) : root_(std::move(root)) {
  for (const char* name :
       {"bus/usb/devices", "bus/usb/drivers", "class", "dev/char", "dev/block", "devices"}) {
    fs::create_directories(root_ / name);
  }
}

fs::path Sysfs::placeOf(const std::string& path) const {
  const fs::path absolute = fs::path(path).lexically_normal();
  if (!isIn("/sys", absolute)) {
    throw Error("not a path below /sys: " + path);
  }
  return absolute == "/sys" ? root_ : root_ / absolute.lexically_relative("/sys");
}

void Sysfs::layOut(const DeviceRecording& recording) {
  for (const TreeEntry& entry : recording.tree) {
    // What belongs to the hubs above is left as it is: another device may have changed it.
    const bool isShared = !recording.owns(entry.path) && entry.path.starts_with("devices/");
    if (!isShared || !fs::exists(fs::symlink_status(root_ / entry.path))) {
      layOutEntry(entry);
    }
  }
}

void Sysfs::makeAnnouncedDirectories(const DeviceRecording& recording) {
  for (const RecordedEvent& event : recording.plugEvents) {
    makeDirectory("/sys" + headOf(event.datagram).second);
  }
}

DeviceRecording Sysfs::atFreePort(const DeviceRecording& recording) const {
  constexpr int portsOfHub = 8;
  constexpr int nodesOfDevice = 2;  // of one kind, at most, among the recordings
  const std::string place = recording.directory.substr(0, recording.directory.find_last_of("-.") + 1);
  for (int number = 1; number <= portsOfHub; ++number) {
    const std::string directory = place + std::to_string(number);
    if (!fs::exists(placeOf(directory))) {
      return atPort(recording, fs::path(directory).filename(), (number - 1) * nodesOfDevice);
    }
  }
  throw Error("all ports of that bus are taken; unplug something first");
}

void Sysfs::layOutEntry(const TreeEntry& entry) {
  const std::string path = "/sys/" + entry.path;
  switch (entry.kind) {
    case TreeEntry::Kind::directory:
      makeDirectory(path);
      break;
    case TreeEntry::Kind::link:
      makeLink(path, entry.content);
      break;
    case TreeEntry::Kind::file:
      writeFile(placeOf(path), entry.content);
      break;
  }
}

void Sysfs::remove(const DeviceRecording& recording) {
  if (recording.directory.empty()) {
    throw Error("the recording " + recording.name + " has no device that can be taken out");
  }
  removeDevice(recording.directory);
}

void Sysfs::removeDevice(const std::string& directory) {
  // A rename is seen whole by everybody; deleting a tree is not.
  const fs::path doomed = root_ / ".removed";
  fs::remove_all(doomed);
  fs::rename(placeOf(directory), doomed);
  removeLinksInto(directory);
  fs::remove_all(doomed);
}

void Sysfs::removeLinksInto(const std::string& directory) {
  const fs::path place = placeOf(directory);
  std::vector<fs::path> folders = entriesOf(root_ / "class", fs::file_type::directory);
  for (const fs::path& bus : entriesOf(root_ / "bus", fs::file_type::directory)) {
    folders.push_back(bus / "devices");
  }
  folders.push_back(root_ / "dev/char");
  folders.push_back(root_ / "dev/block");
  for (const fs::path& folder : folders) {
    for (const fs::path& link : entriesOf(folder, fs::file_type::symlink)) {
      if (isIn(place, (folder / fs::read_symlink(link)).lexically_normal())) {
        fs::remove(link);
      }
    }
  }
}

// These change the tree, if not the object: they are not const.
// NOLINTBEGIN(readability-make-member-function-const)

void Sysfs::writeAttribute(const std::string& directory, const std::string& name,
                           const std::string& content) {
  writeFile(placeOf(directory) / name, content);
}

void Sysfs::writeLine(const std::string& directory, const std::string& name,
                      const std::optional<std::string>& text) {
  if (text) {
    writeAttribute(directory, name, *text + "\n");
  }
}

void Sysfs::removeAttribute(const std::string& directory, const std::string& name) {
  fs::remove(placeOf(directory) / name);
}

void Sysfs::makeDirectory(const std::string& directory) {
  fs::create_directories(placeOf(directory));
}

void Sysfs::makeLink(const std::string& link, const std::string& target) {
  const fs::path place = placeOf(link);
  fs::create_directories(place.parent_path());
  fs::remove(place);
  fs::create_symlink(target, place);
}

// NOLINTEND(readability-make-member-function-const)

void Sysfs::linkTo(const std::string& directory, const std::string& link) {
  makeLink(link, fs::path(directory).lexically_relative(fs::path(link).parent_path()));
}

void Sysfs::addSubsystem(const std::string& directory, const std::string& subsystem) {
  makeDirectory(subsystem);
  linkTo(subsystem, directory + "/subsystem");
}

std::string Sysfs::add(const UsbDevice& device) {
  std::string directory = device.directory();
  makeDirectory(directory);
  addSubsystem(directory, "/sys/bus/usb");
  writeAttribute(directory, "descriptors", device.descriptors);
  writeLine(directory, "speed", device.speed);
  writeLine(directory, "product", device.product);
  writeLine(directory, "bDeviceClass", device.deviceClass);
  if (device.uevent) {
    writeAttribute(directory, "uevent", *device.uevent);
  }
  linkTo(directory, "/sys/bus/usb/devices/" + device.name);
  return directory;
}

std::string Sysfs::addInterface(const std::string& usbDevice, const std::string& interfaceClass,
                                const std::string& subclass, const std::string& protocol) {
  const std::string name = fs::path(usbDevice).filename().string() + ":1.0";
  std::string directory = usbDevice + "/" + name;
  makeDirectory(directory);
  addSubsystem(directory, "/sys/bus/usb");
  writeLine(directory, "bInterfaceClass", interfaceClass);
  writeLine(directory, "bInterfaceSubClass", subclass);
  writeLine(directory, "bInterfaceProtocol", protocol);
  writeAttribute(directory, "uevent", "DEVTYPE=usb_interface\n");
  linkTo(directory, "/sys/bus/usb/devices/" + name);
  return directory;
}

std::string Sysfs::add(const HiddevNode& node) {
  const std::string interfaceDirectory =
      addInterface(node.usbDevice, "03", node.interfaceSubclass, node.interfaceProtocol);
  std::string directory = interfaceDirectory + "/usb/" + node.name;
  makeDirectory(directory);
  addSubsystem(directory, "/sys/class/usb");
  linkTo(interfaceDirectory, directory + "/device");
  writeLine(directory, "dev", node.dev);
  linkTo(directory, "/sys/class/usb/" + node.name);
  return directory;
}

std::string Sysfs::add(const ScsiGenericNode& node) {
  const std::string host = std::to_string(node.host);
  const std::string unit = addInterface(node.usbDevice, "08", "06", "50") + "/host" + host + "/target" +
                           host + ":0:0/" + host + ":0:0:0";
  std::string directory = unit + "/scsi_generic/" + node.name;
  makeDirectory(directory);
  addSubsystem(unit, "/sys/bus/scsi");
  addSubsystem(directory, "/sys/class/scsi_generic");
  linkTo(unit, directory + "/device");
  writeLine(unit, "vendor", node.vendor);
  writeLine(unit, "model", node.model);
  writeLine(directory, "dev", node.dev);
  writeAttribute(directory, "uevent", "MAJOR=21\nMINOR=0\nDEVNAME=" + node.name + "\n");
  linkTo(directory, "/sys/class/scsi_generic/" + node.name);
  return directory;
}

}  // namespace sim
