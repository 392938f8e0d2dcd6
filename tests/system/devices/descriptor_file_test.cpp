// What the daemon finds in a "descriptors" file that is cut, damaged or odd. It must come to an end with
// each.

#include <gtest/gtest.h>

#include <string>

#include "system/support/hotplug.h"

namespace {

using sim::bytes;

const std::string device = sim::deviceDescriptor();
const std::string configuration = sim::configuration("");
const std::string mouseInterface = sim::interface(sim::usb_class::hid, 1, 2);
const std::string keyboardInterface = sim::interface(sim::usb_class::hid, 1, 1);
const std::string diskInterface = sim::interface(sim::usb_class::massStorage, 6, 0x50);

/** Up to the interface's protocol, the last field that matters. */
const std::size_t lengthThatMatters = device.size() + configuration.size() + 8;

class DescriptorFile : public Hotplug {
 protected:
  /** What a device is taken for whose "descriptors" file holds this; each is plugged into a port of its own.
   */
  std::string kindWith(const std::string& descriptors) {
    sim::UsbDevice plugged;
    plugged.name = "1-" + std::to_string(++ports_);
    plugged.descriptors = descriptors;
    return kindOf(plugged);
  }

 private:
  int ports_ = 0;
};

TEST_F(DescriptorFile, OfAMouseIsCutAnywhere) {
  start("keyboard");
  const std::string whole = sim::mouseDescriptors();
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    const char* expected = kind::generic;
    if (length < device.size()) {
      expected = eventIgnored;
    } else if (length < lengthThatMatters) {
      expected = kind::keyboard;  // no interface is seen that could be anything else
    }
    EXPECT_EQ(kindWith(whole.substr(0, length)), expected) << "cut to " << length;
  }
}

TEST_F(DescriptorFile, OfADiskIsCutAnywhere) {
  start("scsi");
  const std::string whole = sim::diskDescriptors();
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    const char* expected = kind::storage;
    if (length < device.size()) {
      expected = eventIgnored;
    } else if (length < lengthThatMatters) {
      expected = kind::generic;  // no interface is seen, and a disk has exactly one
    }
    EXPECT_EQ(kindWith(whole.substr(0, length)), expected) << "cut to " << length;
  }
}

TEST_F(DescriptorFile, IsNotTestedWhereNoClassIsServed) {
  start("none");
  const std::string whole = sim::keyboardDescriptors();
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    EXPECT_EQ(kindWith(whole.substr(0, length)), kind::generic) << "cut to " << length;
  }
  EXPECT_EQ(kindWith(configuration + diskInterface), kind::generic);
}

TEST_F(DescriptorFile, EndsAtALengthOfZero) {
  start("all");
  const std::string lengthless = bytes({0, 0x21, 1, 1, 0});
  EXPECT_EQ(kindWith(device + lengthless + mouseInterface), kind::keyboard);
  EXPECT_EQ(kindWith(device + keyboardInterface + lengthless + mouseInterface), kind::keyboard);
  EXPECT_EQ(kindWith(device + mouseInterface + lengthless), kind::generic);
  EXPECT_EQ(kindWith(device + diskInterface + lengthless + diskInterface), kind::storage);
  EXPECT_EQ(kindWith(device + std::string(64, '\0') + mouseInterface), kind::keyboard);
}

TEST_F(DescriptorFile, EndsAtAnInterfaceOfLengthZero) {
  start("scsi");
  std::string lengthless = diskInterface;
  lengthless.front() = '\0';
  EXPECT_EQ(kindWith(device + lengthless), kind::generic);
  EXPECT_EQ(kindWith(device + diskInterface + lengthless), kind::storage);
}

TEST_F(DescriptorFile, GoesOnByOneByteAtALengthOfOne) {
  start("scsi");
  // The second byte of such a descriptor is the first of the next one: here the interface's length, 9.
  EXPECT_EQ(kindWith(device + bytes({1}) + diskInterface), kind::storage);
  EXPECT_EQ(kindWith(device + std::string(200, '\1') + diskInterface), kind::storage);
  EXPECT_EQ(kindWith(device + std::string(200, '\1')), kind::generic);
  EXPECT_EQ(kindWith(device + bytes({1})), kind::generic);
}

TEST_F(DescriptorFile, MayHaveAnInterfaceShorterThanItsFields) {
  start("scsi");
  std::string interface = diskInterface;
  interface.front() = 2;  // then a length of 0
  EXPECT_EQ(kindWith(device + interface), kind::storage);
}

TEST_F(DescriptorFile, MayHaveDescriptorsLongerThanUsual) {
  start("all");
  const std::string longInterface =
      bytes({13}) + keyboardInterface.substr(1) + bytes({9, 4, 0, 0});  // its tail is no interface
  EXPECT_EQ(kindWith(device + longInterface + keyboardInterface), kind::keyboard);
  EXPECT_EQ(kindWith(device + longInterface + mouseInterface), kind::generic);
}

TEST_F(DescriptorFile, MayEndBeforeItsLastDescriptorDoes) {
  start("all");
  std::string endless = diskInterface;
  endless.front() = static_cast<char>(255);
  EXPECT_EQ(kindWith(device + endless), kind::storage);
  EXPECT_EQ(kindWith(device + endless + mouseInterface), kind::storage);
  EXPECT_EQ(kindWith(device + bytes({255, 0x24}) + mouseInterface), kind::keyboard);
  EXPECT_EQ(kindWith(device + bytes({9})), kind::keyboard);
  EXPECT_EQ(kindWith(device + bytes({9, 4})), kind::keyboard);
}

TEST_F(DescriptorFile, IsReadToItsEndHoweverLongItIs) {
  start("all");
  std::string filler;
  for (int i = 0; i < 300; ++i) {
    filler += bytes({255, 0x24}) + std::string(253, '\4');
  }
  EXPECT_EQ(kindWith(device + keyboardInterface + filler), kind::keyboard);
  EXPECT_EQ(kindWith(device + keyboardInterface + filler + mouseInterface), kind::generic);
  EXPECT_EQ(kindWith(device + filler + diskInterface), kind::storage);
}

TEST_F(DescriptorFile, BeginsWithADeviceDescriptorOfAnyLength) {
  start("all");
  std::string odd = device;
  odd.front() = '\0';
  EXPECT_EQ(kindWith(odd + configuration + diskInterface), kind::storage);
  odd.front() = 9;
  EXPECT_EQ(kindWith(odd + configuration + diskInterface), kind::storage);
}

class ForeignFirstDescriptor : public DescriptorFile, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(ClassList, ForeignFirstDescriptor, testing::Values("keyboard", "scsi", "all"));

TEST_P(ForeignFirstDescriptor, EndsTheEvent) {
  start(GetParam());
  EXPECT_EQ(kindWith(configuration + diskInterface + keyboardInterface), eventIgnored);
  for (const unsigned type : {0U, 2U, 4U, 5U, 0x81U, 255U}) {
    std::string foreign = device;
    foreign[1] = static_cast<char>(type);
    EXPECT_EQ(kindWith(foreign + configuration + keyboardInterface), eventIgnored) << "type " << type;
  }
  EXPECT_TRUE(unit.daemon().children().empty());
}

TEST_P(ForeignFirstDescriptor, DoesNotMatterForAHub) {
  start(GetParam());
  sim::UsbDevice hub;
  hub.deviceClass = "09";
  hub.descriptors = configuration + diskInterface;
  EXPECT_EQ(kindOf(hub), kind::hub);
}

}  // namespace
