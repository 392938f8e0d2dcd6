#pragma once

#include <optional>
#include <string>

#include "sim/usb_descriptors.h"

/** Devices that were not recorded: a test names what it needs of them, the rest is usual. */
namespace sim {

/** A USB device. Attributes are given without the newline that ends their files. */
struct UsbDevice {
  std::string name = "1-1";  ///< bus and ports, as sysfs names it
  /** The physical directory of the hub that it is plugged into; made (empty) where it is missing. */
  std::string parent = "/sys/devices/platform/usb-host.0/usb1";
  std::optional<std::string> deviceClass = "00";  ///< "bDeviceClass", hexadecimal; absent: no such file
  std::string descriptors = vendorDeviceDescriptors();
  std::optional<std::string> product = "Synthetic Device";
  std::string speed = "480";
  /** Content of "uevent"; absent: no such file. */
  std::optional<std::string> uevent = "MAJOR=189\nMINOR=1\nDEVNAME=bus/usb/001/002\nDEVTYPE=usb_device\n";

  [[nodiscard]] std::string directory() const { return parent + "/" + name; }
};

/** A hiddev node as older kernels show it: class "usb", no "uevent" file. */
struct HiddevNode {
  std::string usbDevice;  ///< directory of the USB device
  std::string name = "hiddev0";
  std::string dev = "180:0";
  std::string interfaceSubclass = "01";
  std::string interfaceProtocol = "01";
};

/** A SCSI generic node with the SCSI unit that it belongs to. */
struct ScsiGenericNode {
  std::string usbDevice;  ///< directory of the USB device
  std::string name = "sg0";
  std::string dev = "21:0";
  int host = 0;
  std::optional<std::string> vendor = "ACME    ";         ///< absent: no such file
  std::optional<std::string> model = "Memory Stick    ";  ///< absent: no such file
};

}  // namespace sim
