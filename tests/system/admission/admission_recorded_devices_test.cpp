#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "sim/recording_views.h"
#include "system/support/admission_check.h"

namespace {

using Names = std::set<std::string>;

const Names keyboardsAndPointers = {
    "kbd-fs",
    "kbd-fs-hiddev",
    "kbd-hs",
    "kbd-hs-hiddev",
    "made-kbd-iad",
    "made-kbd-low",
    "made-kbd-mouse-hiddev",
    "made-kbd-noboot-hiddev",
    "made-kbd-unnamed",
    "made-two-kbd-hiddev",
    "mouse-fs",
    "mouse-fs-hiddev",
    "tablet-hs",
};
const Names disks = {
    "made-card-disk", "made-disk-8070", "made-disk-alt", "made-disk-atapi", "made-disk-two-configs",
    "storage-2lun",   "storage-fs",     "storage-hs",    "storage-ss",      "uas-hs",
};
const Names smartCardReaders = {"ccid", "made-card-disk"};
const Names isochronousDevices = {"audio", "made-camera-hs"};
const Names highSpeedDevices = {
    "kbd-hs",         "kbd-hs-hiddev", "made-camera-hs", "made-disk-alt", "made-disk-two-configs",
    "made-vendor-hs", "mtp-hs",        "storage-2lun",   "storage-hs",    "tablet-hs",
    "uas-hs",
};
const Names others = {"made-hid-vendor", "made-long-name", "made-no-interfaces", "made-odd-name", "net",
                      "serial"};

Names operator+(Names some, const Names& more) {
  some.insert(more.begin(), more.end());
  return some;
}

const Names everyDevice =
    keyboardsAndPointers + disks + smartCardReaders + isochronousDevices + highSpeedDevices + others;

/** What became of a group of devices, told by the names of the recordings. */
struct Outcome {
  Names admitted;
  Names refusedWithTheirLine;
  Names other;

  bool operator==(const Outcome&) const = default;
};

Names without(Names all, const Names& some) {
  std::erase_if(all, [&](const std::string& name) { return some.contains(name); });
  return all;
}

/** Of all devices these are refused with the line that is expected; the others are admitted. */
Outcome refusing(const Names& names) {
  return {without(everyDevice, names), names, {}};
}

std::string list(const Names& names) {
  std::string text;
  for (const std::string& name : names) {
    text += " " + name;
  }
  return text;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << "admitted:" << list(outcome.admitted) << "; refused:" << list(outcome.refusedWithTheirLine)
             << "; neither:" << list(outcome.other);
}

std::string nameOf(const sim::DeviceRecording& recording) {
  return recording.product.empty() ? "un-named device" : recording.product;
}

/** The recording in a port of its own, so that all can be plugged in at a time. */
sim::DeviceRecording inOwnPort(const std::string& recording) {
  const auto number = std::distance(everyDevice.begin(), everyDevice.find(recording)) + 1;
  return sim::atPort(sim::DeviceRecording::load(recording), "8-" + std::to_string(number),
                     static_cast<int>(number) * 4);
}

class AdmissionOfRecordedDevices : public AdmissionCheck {
 protected:
  /** Plugs every device in; those refused are expected to be shown as `before` + name + `after`. */
  Outcome plugAll(const std::string& before, const std::string& after) {
    Outcome outcome;
    for (const std::string& name : everyDevice) {
      const sim::DeviceRecording recording = inOwnPort(name);
      const std::string line = std::string(before).append(nameOf(recording)).append(after);
      const Decision decided = decide(recording);
      if (decided == admittedSilently) {
        outcome.admitted.insert(name);
      } else if (decided == refusedWith(line)) {
        outcome.refusedWithTheirLine.insert(name);
      } else {
        outcome.other.insert(name);
      }
    }
    return outcome;
  }
};

}  // namespace

TEST_F(AdmissionOfRecordedDevices, ByDefaultOnlyIsochronousOnesAreRefused) {
  startWithoutConfiguration();
  EXPECT_EQ(plugAll("", " is not supported because it has isochronous endpoints\n"),
            refusing(isochronousDevices));
}

TEST_F(AdmissionOfRecordedDevices, NoneIsRefusedWhereIsochronousOnesAreEnabled) {
  startWith("isochronous_enabled = true\n");
  EXPECT_EQ(plugAll("", ""), refusing({}));
}

TEST_F(AdmissionOfRecordedDevices, SmartCardReadersAreRefusedWhereSmartCardsAreSecuredLocally) {
  startWith("smartcard = true\nisochronous_enabled = true\n");
  EXPECT_EQ(plugAll("", "local smartcard security\n"), refusing(smartCardReaders));
}

TEST_F(AdmissionOfRecordedDevices, KeyboardsAndPointersAloneAreAdmittedWhereOnlyHidIsAllowed) {
  startWith("hid_only = true\n");
  EXPECT_EQ(plugAll("", " is not supported because it has non-HID endpoints\n"),
            refusing(without(everyDevice, keyboardsAndPointers + Names{"made-no-interfaces"})));
}

TEST_F(AdmissionOfRecordedDevices, DisksAreRefusedWhereMassStorageIsBlocked) {
  startWith("block_mass_storage = true\nisochronous_enabled = true\n");
  EXPECT_EQ(plugAll("", " configuration blocked due to mass storage capability\n"), refusing(disks));
}

TEST_F(AdmissionOfRecordedDevices, HighSpeedOnesAreRefusedOnAFullSpeedLink) {
  startWith("isochronous_enabled = true\n", "full");
  EXPECT_EQ(plugAll("High speed ", " is not supported on a full speed only port\n"),
            refusing(highSpeedDevices));
}

TEST_F(AdmissionOfRecordedDevices, HubsAreNotSubjectToAnyRule) {
  startWith("hid_only = true\nblock_mass_storage = true\nsmartcard = true\n", "full");
  EXPECT_EQ(decide(sim::DeviceRecording::load("hub")), refusedSilently);
  EXPECT_TRUE(unit.daemon().hasLine("[rx_ctrl] this is a hub device"));
  EXPECT_FALSE(unit.daemon().hasLine("unsupported"));
}

TEST_F(AdmissionOfRecordedDevices, AMouseBehindAHubIsAdmittedAsAnyOther) {
  startWithoutConfiguration();
  EXPECT_EQ(decide(sim::DeviceRecording::load("hub-mouse")), admittedSilently);
}
