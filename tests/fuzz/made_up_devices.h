#pragma once

#include <array>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>

/** The devices of a made-up /sys: a USB device, its HID node and its disk, whose files come and go. */
namespace fuzz {

struct Attribute {
  const char* directory;
  const char* name;
};

inline constexpr const char* usbDevice = "/sys/devices/usb1/1-1";
inline constexpr const char* hidNode = "/sys/devices/usb1/1-1/1-1:1.0/usb/hiddev0";
inline constexpr const char* scsiUnit = "/sys/devices/usb1/1-1/1-1:1.0/host0/target0:0:0/0:0:0:0";
inline constexpr const char* scsiNode =
    "/sys/devices/usb1/1-1/1-1:1.0/host0/target0:0:0/0:0:0:0/scsi_generic/sg0";

/** Each is a file, but "subsystem" a link. */
inline constexpr std::array<Attribute, 15> attributes{{
    {usbDevice, "subsystem"},
    {usbDevice, "uevent"},
    {usbDevice, "bDeviceClass"},
    {usbDevice, "descriptors"},
    {usbDevice, "product"},
    {usbDevice, "speed"},
    {hidNode, "subsystem"},
    {hidNode, "uevent"},
    {hidNode, "bDeviceClass"},
    {hidNode, "dev"},
    {scsiUnit, "vendor"},
    {scsiUnit, "model"},
    {scsiNode, "subsystem"},
    {scsiNode, "uevent"},
    {scsiNode, "dev"},
}};

class MadeUpDevices {
 public:
  /** Makes directories and the links between them; there are no attributes yet. */
  MadeUpDevices();

  /** Makes the attribute, or replaces it. */
  void write(const Attribute& attribute, const std::string& content);
  /** Something that can be opened, but not read. */
  void makeUnreadable(const Attribute& attribute);
  void remove(const Attribute& attribute);
  void removeAll();

 private:
  std::set<std::string> present_;
};

}  // namespace fuzz
