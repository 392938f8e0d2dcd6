#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "sim/device_recording.h"
#include "sim/synthetic_device.h"

namespace sim {

/**
 * A sysfs tree of ordinary files: physical directories below `devices`, relative links to them in
 * bus/usb/devices, class/NAME and dev/char. All paths that go in and come out begin with "/sys".
 */
class Sysfs {
 public:
  /**
   * Makes the directories that every kernel with USB shows. `root` stands for "/sys"; it is another folder
   * only where no unit is needed.
   */
  explicit Sysfs(std::filesystem::path root = "/sys");

  /**
   * Lays out the whole tree of a recording: the device with everything below it, its links, and the hubs
   * above it where they are not there yet.
   */
  void layOut(const DeviceRecording& recording);
  /**
   * Makes the directories that the events of its plug name and its tree leaves out: a kernel announces
   * nothing that is not there.
   */
  void makeAnnouncedDirectories(const DeviceRecording& recording);
  /** The recording at a port of its own on the bus or hub that it was recorded on. */
  [[nodiscard]] DeviceRecording atFreePort(const DeviceRecording& recording) const;
  /** Removes the device and its links. Hubs above it stay, as they do when a device is taken out. */
  void remove(const DeviceRecording& recording);

  /** Each returns the physical directory that it has made. */
  std::string add(const UsbDevice& device);
  std::string add(const HiddevNode& node);
  std::string add(const ScsiGenericNode& node);
  /** Removes a directory at once (no reader sees half of it), then the links that led into it. */
  void removeDevice(const std::string& directory);

  /** `content` stands in the file as it is, a final newline included. */
  void writeAttribute(const std::string& directory, const std::string& name, const std::string& content);
  void removeAttribute(const std::string& directory, const std::string& name);
  void makeDirectory(const std::string& directory);
  /** `target` is the link's text. An older link of that name is replaced. */
  void makeLink(const std::string& link, const std::string& target);
  /** Makes a link to `directory` with a relative text, as the kernel's are. */
  void linkTo(const std::string& directory, const std::string& link);

  /** Where a path that begins with "/sys" really is. */
  [[nodiscard]] std::filesystem::path placeOf(const std::string& path) const;

 private:
  void layOutEntry(const TreeEntry& entry);
  void removeLinksInto(const std::string& directory);
  std::string addInterface(const std::string& usbDevice, const std::string& interfaceClass,
                           const std::string& subclass, const std::string& protocol);
  /** The attribute is `text` and a newline; without a text there is none. */
  void writeLine(const std::string& directory, const std::string& name,
                 const std::optional<std::string>& text);
  void addSubsystem(const std::string& directory, const std::string& subsystem);

  std::filesystem::path root_;
};

}  // namespace sim
