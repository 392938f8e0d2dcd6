#pragma once

#include <sys/types.h>

#include <string>

#include "examples/usbip/exchange/messages.h"
#include "ulx/exceptions.h"

namespace usbip {

/** The device cannot be exported, now or later; the daemon knows the status. */
class CannotBeExported : public ulx::StrException {
 public:
  explicit CannotBeExported(const std::string& why) : StrException(why) { status = 5; }
};

/** A device of this machine, as sysfs shows it. */
class UsbDevice {
 public:
  /**
   * Reads what the far side wants to know. Throws CannotBeExported for a hub and for a device that this machine has from
   * another one, a ulx::StrException for what is no USB device, or the class of a failed call's error number.
   */
  explicit UsbDevice(const std::string& directory);

  /** Without symbolic links. */
  [[nodiscard]] const std::string& directory() const { return directory_; }
  [[nodiscard]] const std::string& busId() const { return offer_.busId; }
  [[nodiscard]] const Offer& offer() const { return offer_; }
  /** "1-2 (0627:0001, high speed)" */
  [[nodiscard]] std::string text() const;

  /** Whether it is plugged in still: another one at its place does not count. */
  [[nodiscard]] bool isThere() const;

 private:
  std::string directory_;
  ino_t inode_;  ///< another device at its place has another one
  Offer offer_;
};

}  // namespace usbip
