#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "sim/usb_descriptors.h"
#include "support/device_directory.h"
#include "support/test_ctrl.h"
#include "workers/admission.h"

inline constexpr std::uint8_t hid = sim::usb_class::hid;
inline constexpr std::uint8_t massStorage = sim::usb_class::massStorage;
inline constexpr std::uint8_t smartCard = sim::usb_class::smartCard;
inline constexpr std::uint8_t vendor = sim::usb_class::vendor;
inline constexpr std::uint8_t isochronous = sim::transfer_type::isochronous;
inline constexpr std::uint8_t bulk = sim::transfer_type::bulk;

/** An interface descriptor of this class. */
inline std::string interface(std::uint8_t interfaceClass) {
  return sim::interface(interfaceClass, 0, 0);
}

/** The daemon with its default policy on a fast link, and a device "Thing" on a high-speed port. */
class Admission : public testing::Test {
 protected:
  Admission() {
    device_.write("product", "Thing\n");
    device_.write("speed", "480\n");
  }

  /** Gives the device a configuration of these descriptors. */
  void plug(const std::string& configuration) const {
    device_.write("descriptors", sim::deviceDescriptor() + sim::configuration(configuration));
  }
  void remove(const std::string& name) const { std::filesystem::remove(device_.path() + "/" + name); }
  [[nodiscard]] bool check() { return checkAdmission(*ctrl_, device_.path()); }

  support::TestCtrl ctrl_;
  support::DeviceDirectory device_;
};
