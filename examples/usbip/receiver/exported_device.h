#pragma once

#include <optional>

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/receiver/usb_device.h"

namespace usbip {

/** Throws a ulx::StrException that says what to do where the kernel's driver usbip-host is not loaded. */
void requireUsbipHost();

/**
 * A device that usbip-host has already, because a worker was killed. Its own driver gets it in the end, unless the device is
 * exported again. One that has another driver is left alone.
 */
class LeftDevice {
 public:
  /** `device` and `log` must outlive it. Throws readlink(PATH). */
  LeftDevice(const UsbDevice& device, const Log& log);
  LeftDevice(const LeftDevice&) = delete;
  LeftDevice& operator=(const LeftDevice&) = delete;
  ~LeftDevice();

  /** From now on somebody else gives it back. */
  void takeOver() { isLeft_ = false; }

 private:
  const UsbDevice& device_;
  const Log& log_;
  bool isLeft_;
};

/** The kernel's view of a device that usbip-host has, as its attribute usbip_status says. */
enum class ExportStatus { available, used, failed };

/**
 * A device that has been taken from its driver, for usbip-host. Its destructor gives it back, which ends the link that it
 * has then. A device that is plugged out meanwhile needs nothing more.
 */
class ExportedDevice {
 public:
  /**
   * Takes the device from the driver that has it: also from usbip-host itself, where a killed worker has left it with a
   * link that ends now. Throws the class of a failed call's error number; its own driver has the device again then.
   * `device` and `log` must outlive it.
   */
  ExportedDevice(const UsbDevice& device, const Log& log);
  ExportedDevice(const ExportedDevice&) = delete;
  ExportedDevice& operator=(const ExportedDevice&) = delete;
  ~ExportedDevice();

  /** Gives a connected socket to the kernel, which speaks USB/IP on it from then on. Throws a failed write. */
  void handOver(int socket) const;

  /** What the kernel says; nothing where usbip-host has the device no more. */
  [[nodiscard]] std::optional<ExportStatus> status() const;

 private:
  struct StillItsDrivers {};
  ExportedDevice(const UsbDevice& device, const Log& log, StillItsDrivers state);

  void take() const;

  const UsbDevice& device_;
  const Log& log_;
};

}  // namespace usbip
