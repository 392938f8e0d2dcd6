#include "hotplug/classification.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <string>

#include "ctrl/device_classes.h"
#include "hotplug/sysfs.h"
#include "sim/contract.h"
#include "sim/sysfs.h"
#include "support/named_case.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "unit/allocations.h"
#include "unit/hotplug/classification_calls.h"

namespace {

// Lays the device out; the directory that is to be classified.
using Layout = std::function<std::string(sim::Sysfs& sysfs)>;

Layout deviceWith(const std::string& descriptors, const std::string& deviceClass = "00") {
  return [=](sim::Sysfs& sysfs) {
    return sysfs.add(sim::UsbDevice{.deviceClass = deviceClass, .descriptors = descriptors});
  };
}

std::string hiddevNode(sim::Sysfs& sysfs) {
  return sysfs.add(sim::HiddevNode{.usbDevice = sysfs.add(sim::UsbDevice{})});
}

std::string scsiNode(sim::Sysfs& sysfs) {
  return sysfs.add(sim::ScsiGenericNode{.usbDevice = sysfs.add(sim::UsbDevice{})});
}

std::string interfaceOfADevice(sim::Sysfs& sysfs) {
  return sysfs.add(sim::UsbDevice{.uevent = "DEVTYPE=usb_interface\n"});
}

struct KindCase : support::NamedCase {
  Layout layOut;
  std::uint32_t classes;
  DeviceKind kind;
};

class ClassificationOf : public support::PrivateWorld, public testing::WithParamInterface<KindCase> {};

INSTANTIATE_TEST_SUITE_P(
    A, ClassificationOf,
    testing::Values(
        KindCase{{"Device"}, deviceWith(sim::vendorDeviceDescriptors()), allClasses, DeviceKind::generic},
        KindCase{{"Hub"}, deviceWith("", "09"), allClasses, DeviceKind::hub},
        KindCase{
            {"HubThatIsAKeyboard"}, deviceWith(sim::keyboardDescriptors(), "9"), allClasses, DeviceKind::hub},
        KindCase{{"Keyboard"}, deviceWith(sim::keyboardDescriptors()), keyboardClass, DeviceKind::keyboard},
        KindCase{
            {"KeyboardUnserved"}, deviceWith(sim::keyboardDescriptors()), storageClass, DeviceKind::generic},
        KindCase{{"Disk"}, deviceWith(sim::diskDescriptors()), storageClass, DeviceKind::storage},
        KindCase{{"DiskUnserved"}, deviceWith(sim::diskDescriptors()), keyboardClass, DeviceKind::generic},
        KindCase{{"HiddevNode"}, hiddevNode, keyboardClass, DeviceKind::hid},
        KindCase{{"ScsiNode"}, scsiNode, storageClass, DeviceKind::scsiGeneric},
        KindCase{{"ScsiNodeUnserved"}, scsiNode, keyboardClass, DeviceKind::ignored},
        KindCase{{"Interface"}, interfaceOfADevice, allClasses, DeviceKind::ignored}));

TEST_P(ClassificationOf, IsItsKind) {
  sim::Sysfs sysfs;
  EXPECT_EQ(classify(GetParam().classes, SysfsDevice(GetParam().layOut(sysfs))), GetParam().kind);
}

using Classification = support::PrivateWorld;

TEST_F(Classification, GivesUpAtOnceOnADeviceThatDoesNotChange) {
  sim::Sysfs sysfs;
  const std::string node = hiddevNode(sysfs);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(classifyAsItIs(noClasses, SysfsDevice(node)), DeviceKind::undetermined);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
  EXPECT_EQ(classifyAsItIs(keyboardClass, SysfsDevice(node)), DeviceKind::hid);
}

TEST_F(Classification, WaitsThreeSecondsForWhatSysfsDoesNotShow) {
  sim::Sysfs sysfs;
  EXPECT_EQ(classify(noClasses, SysfsDevice(hiddevNode(sysfs))), DeviceKind::undetermined);
}

TEST_F(Classification, LogsTheSubsystemAlsoOfADeviceWithoutOne) {
  sim::Sysfs sysfs;
  const std::string node = scsiNode(sysfs);
  sysfs.makeDirectory("/sys/devices/none");
  EXPECT_EQ(support::debugLogDuring([&] {
              EXPECT_EQ(classify(allClasses, SysfsDevice(node)), DeviceKind::scsiGeneric);
              EXPECT_EQ(classify(allClasses, SysfsDevice("/sys/devices/none")), DeviceKind::ignored);
            }),
            support::tagged({contract::debug::subsystem("scsi_generic"), contract::debug::subsystem("")}));
}

TEST_F(Classification, ThrowsWhatCannotBeReadOfADevice) {
  sim::Sysfs sysfs;
  const std::string device = deviceWith("short")(sysfs);
  EXPECT_THROW((void)classify(keyboardClass, SysfsDevice(device)), ulx::FileDescriptor::EndOfFile);
  sysfs.removeAttribute(device, "descriptors");
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(
                [&device] { (void)classify(storageClass, SysfsDevice(device)); }),
            "open(\"" + device + "/descriptors\")");
  EXPECT_EQ(classify(noClasses, SysfsDevice(device)), DeviceKind::generic) << "descriptors are for classes";
  sysfs.makeDirectory("/sys/devices/odd/subsystem");
  EXPECT_EQ(support::contextThrownBy([] { (void)classify(noClasses, SysfsDevice("/sys/devices/odd")); }),
            "readlink()");
}

TEST_F(Classification, KnowsWhyThereIsNoSubsystemWhateverIsReleasedMeanwhile) {
  const sim::Sysfs sysfs;
  const ReleasesThatSetErrno spoiling(EXDEV);
  EXPECT_EQ(classify(allClasses, SysfsDevice("/sys/devices/without/a/subsystem")), DeviceKind::ignored);
}

struct ClockCase : support::NamedCase {
  time_t seconds;
};

/** The wall clock is set by so many seconds while classification sleeps for the first time. */
class ClassificationWhileTheClockIsSet : public Classification,
                                         public testing::WithParamInterface<ClockCase> {
 protected:
  ClassificationWhileTheClockIsSet()
      : clock_(library::gettimeofday, [this](timeval* now, void* zone) { return showTime(now, zone); }),
        sleeping_(library::nanosleep, [this](const timespec* request, timespec* remaining) {
          isSet_ = true;
          inSleep_(++sleeps_);
          return library::nanosleep.real(request, remaining);
        }) {}

  sim::Sysfs sysfs_;
  std::function<void(int number)> inSleep_;  // runs in each sleep

 private:
  int showTime(timeval* now, void* zone) const {
    const int result = library::gettimeofday.real(now, zone);
    now->tv_sec += isSet_ ? GetParam().seconds : 0;
    return result;
  }

  bool isSet_ = false;
  int sleeps_ = 0;
  support::Replaced<int(timeval*, void*)> clock_;
  support::Replaced<int(const timespec*, timespec*)> sleeping_;
};

INSTANTIATE_TEST_SUITE_P(An, ClassificationWhileTheClockIsSet,
                         testing::Values(ClockCase{{"HourForward"}, 3600}, ClockCase{{"HourBack"}, -3600}));

TEST_P(ClassificationWhileTheClockIsSet, StillWaitsForWhatComesLate) {
  const std::string device = sysfs_.add(sim::UsbDevice{.deviceClass = {}});
  inSleep_ = [&](int number) {
    if (number == 2) {
      sysfs_.writeAttribute(device, "bDeviceClass", "00\n");
    }
  };
  EXPECT_EQ(classify(noClasses, SysfsDevice(device)), DeviceKind::generic);
}

TEST_P(ClassificationWhileTheClockIsSet, StillWaitsThreeSecondsAndNoLonger) {
  using Clock = std::chrono::steady_clock;
  constexpr int sleepsOfThreeSeconds = 60;
  const std::string device = sysfs_.add(sim::UsbDevice{.deviceClass = {}});
  inSleep_ = [&](int number) {
    if (number > sleepsOfThreeSeconds + 1) {
      sysfs_.writeAttribute(device, "bDeviceClass", "00\n");  // or the wait would take an hour
    }
  };
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(classify(noClasses, SysfsDevice(device)), DeviceKind::undetermined);
  EXPECT_GT(Clock::now() - begin, std::chrono::seconds(3));
}

}  // namespace
