#include "hotplug/usb_descriptors.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/usb_descriptors.h"
#include "support/guarded_bytes.h"
#include "support/named_case.h"
#include "unit/hotplug/recordings.h"

namespace {

using sim::bytes;

using Offsets = std::vector<std::size_t>;

// Where in `data` the walk finds descriptors of `type`. Reading behind the data ends the test.
Offsets walk(const std::string& data, std::uint8_t type = interfaceDescriptorType,
             std::size_t lastField = bInterfaceProtocol) {
  const support::GuardedBytes guarded(data);
  Offsets found;
  for (const DescriptorBytes descriptor : DescriptorWalk(guarded.bytes(), type, lastField)) {
    EXPECT_GT(descriptor.size(), lastField);
    EXPECT_EQ(descriptor[bDescriptorType], type);
    found.push_back(guarded.bytes().size() - descriptor.size());
  }
  return found;
}

// The same by index, as the layout of descriptors has it.
Offsets expectedWalk(const std::string& data, char type, std::size_t lastField) {
  Offsets found;
  std::size_t at = 0;
  while (at + 1 < data.size() && data[at] != 0) {
    if (data[at + 1] == type) {
      if (at + lastField >= data.size()) {
        break;
      }
      found.push_back(at);
    }
    at += static_cast<std::uint8_t>(data[at]);
  }
  return found;
}

TEST(UsbDescriptors, FindsTheDescriptorsOfOneTypeInTheirOrder) {
  const std::string keyboardAndMouse = recordings[5].descriptors();
  EXPECT_EQ(walk(keyboardAndMouse), (Offsets{27, 52}));
  EXPECT_EQ(walk(keyboardAndMouse, endpointDescriptorType, bmAttributes), (Offsets{45, 70}));
  EXPECT_EQ(walk(keyboardAndMouse, deviceDescriptorType, bDeviceClass), Offsets{0});
  EXPECT_EQ(walk(keyboardAndMouse, 77), Offsets{});
}

TEST(UsbDescriptors, GivesEachDescriptorFromItsStartToTheEndOfTheData) {
  const std::string data = sim::interface(3, 1, 2) + sim::endpoint(3);
  const DescriptorWalk interfaces(descriptorBytes(data), interfaceDescriptorType, bInterfaceProtocol);
  const DescriptorBytes first = *interfaces.begin();
  EXPECT_EQ(first.data(), descriptorBytes(data).data());
  EXPECT_EQ(first.size(), data.size());
  EXPECT_EQ(first[bInterfaceClass], 3);
  EXPECT_EQ(first[bInterfaceSubClass], 1);
  EXPECT_EQ(first[bInterfaceProtocol], 2);
}

const std::string interface = sim::interface(3, 1, 1);
const std::string endpoint = sim::endpoint(1);
// One that claims a size of which endpoints have seven.
const std::string oversizedEndpoint = bytes({9, 5, 1, 13, 192, 0, 1, 0, 0});

struct WalkCase : support::NamedCase {
  std::string data;
  Offsets found;
  std::uint8_t type = interfaceDescriptorType;
  std::size_t lastField = bInterfaceProtocol;
};

class UsbDescriptorsWalk : public testing::TestWithParam<WalkCase> {};

INSTANTIATE_TEST_SUITE_P(
    Of, UsbDescriptorsWalk,
    testing::Values(
        WalkCase{{"Nothing"}, "", {}}, WalkCase{{"ALengthAlone"}, bytes({9}), {}},
        WalkCase{{"AShorterLengthAlone"}, bytes({4}), {}}, WalkCase{{"NoLength"}, bytes({0, 4}), {}},
        WalkCase{{"NoLengthOfAnotherType"}, interface + bytes({0, 2}) + interface, {0}},
        WalkCase{{"NoLengthOfTheType"}, interface + bytes({0, 4, 0, 0, 1, 3, 1, 1, 0}) + interface, {0}},
        WalkCase{{"ALengthOfOne"}, bytes({1}) + interface, {1}},
        // What was its type is the length of the next.
        WalkCase{{"ALengthOfOneWithAType"}, bytes({1, 4}) + interface, {0}},
        WalkCase{
            {"ALengthThatHidesTheNext"}, bytes({18, 2, 0, 0, 0, 0, 0, 0, 0}) + interface + interface, {18}},
        WalkCase{{"OversizedEndpoints"},
                 oversizedEndpoint + oversizedEndpoint,
                 {0, 9},
                 endpointDescriptorType,
                 bmAttributes},
        WalkCase{{"FieldsBehindTheLength"}, bytes({2, 4, 9, 4, 1, 3, 1, 1, 0, 0, 0}), {0, 2}},
        WalkCase{{"MoreClaimedThanThereIs"}, bytes({255, 4, 0, 0, 1, 3, 1, 1}), {0}},
        WalkCase{{"MoreClaimedByAnotherType"}, bytes({255, 2, 0, 0}) + interface, {}},
        WalkCase{{"CutBehindTheProtocol"}, interface.substr(0, 8), {0}},
        WalkCase{
            {"CutBehindTheClass"}, interface.substr(0, 6), {0}, interfaceDescriptorType, bInterfaceClass},
        WalkCase{
            {"CutBehindTheAttributes"}, endpoint.substr(0, 4), {0}, endpointDescriptorType, bmAttributes},
        WalkCase{{"CutBeforeTheProtocol"}, interface.substr(0, 7), {}},
        WalkCase{{"TheSecondCutBeforeTheProtocol"}, interface + interface.substr(0, 7), {0}},
        WalkCase{{"CutBeforeTheClass"}, interface.substr(0, 5), {}, interfaceDescriptorType, bInterfaceClass},
        WalkCase{{"CutBeforeTheAttributes"}, endpoint.substr(0, 3), {}, endpointDescriptorType, bmAttributes},
        // Not even one that would follow: the first claims to be of one byte.
        WalkCase{{"CutBehindALengthOfOne"}, bytes({1, 4, 4, 4, 4}), {}}));

TEST_P(UsbDescriptorsWalk, FindsWhatIsThere) {
  EXPECT_EQ(walk(GetParam().data, GetParam().type, GetParam().lastField), GetParam().found);
}

TEST(UsbDescriptors, MayBeWalkedTwice) {
  const std::string data = sim::interface(3, 1, 1);
  const DescriptorWalk walked(descriptorBytes(data), interfaceDescriptorType, bInterfaceProtocol);
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(std::ranges::distance(walked.begin(), DescriptorWalk::end()), 1);
  }
}

TEST(UsbDescriptors, FindsWhatIsThereInEveryRecordingCutAtEveryByte) {
  for (const Recording& recording : recordings) {
    const std::string whole = recording.descriptors();
    for (std::size_t size = 0; size <= whole.size(); ++size) {
      const std::string cut = whole.substr(0, size);
      EXPECT_EQ(walk(cut), expectedWalk(cut, 4, bInterfaceProtocol)) << recording.name << " cut at " << size;
      EXPECT_EQ(walk(cut, endpointDescriptorType, bmAttributes), expectedWalk(cut, 5, bmAttributes))
          << recording.name << " cut at " << size;
    }
  }
}

TEST(UsbDescriptors, FindsWhatIsThereInEveryShortMixtureOfLengthsAndTypes) {
  const std::string alphabet = bytes({0, 1, 2, 4, 255});
  constexpr std::size_t mixtures = std::size_t{5} * 5 * 5 * 5 * 5;
  for (std::size_t mixture = 0; mixture < mixtures; ++mixture) {
    std::string data;
    for (std::size_t rest = mixture; rest > 0; rest /= alphabet.size()) {
      data += alphabet[rest % alphabet.size()];
    }
    EXPECT_EQ(walk(data, interfaceDescriptorType, 2), expectedWalk(data, 4, 2)) << "mixture " << mixture;
  }
}

}  // namespace
