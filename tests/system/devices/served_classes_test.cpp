// Which devices the class list gives to workers of their own: the option's, not the configuration's.

#include <string>
#include <vector>

#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

namespace debug = contract::debug;

struct Choice : support::NamedCase {
  support::Lines options;
  std::string configuration;
  bool keyboards;
  bool storage;
};

const std::vector<Choice> choices = {
    {"NothingGiven", {}, "", false, false},
    {"EmptyList", {"--class="}, "", false, false},
    {"NoneClearsOneItem", {"--class=keyboard,none"}, "", false, false},
    {"NoneClearsNothingBehindIt", {"--class=keyboard,none,scsi"}, "", false, true},
    {"LaterOptionReplaces", {"--class=keyboard", "--class=scsi"}, "", false, true},
    {"LaterEmptyOptionReplaces", {"--class=all", "--class="}, "", false, false},
    {"ConfiguredListSetsNothing", {}, "[usb]\nclasses = all\n", false, false},
    {"ConfiguredEmptyListSetsNothing", {}, "[usb]\nclasses =\n", false, false},
    {"OptionKeepsItsListBesideAConfiguredOne", {"--class=scsi"}, "[usb]\nclasses = keyboard\n", false, true},
    {"OptionHidesABadConfiguredList", {"--class=keyboard"}, "[usb]\nclasses = bogus\n", true, false},
    {"EmptyOptionHidesABadConfiguredList", {"--class="}, "[usb]\nclasses = bogus\n", false, false},
};

class ServedClasses : public support::Hotplug, public testing::WithParamInterface<Choice> {};

INSTANTIATE_TEST_SUITE_P(Lists, ServedClasses, testing::ValuesIn(choices), testing::PrintToStringParamName());

TEST_P(ServedClasses, AreNotLeftToTheGenericWorker) {
  sim::Unit::writeConfig(GetParam().configuration);
  support::Lines arguments = GetParam().options;
  arguments.insert(arguments.end(), {"--debug=ctrl", "transmitter", "5000", "high"});
  unit.startDaemon(arguments);
  unit.waitUntilServing();
  EXPECT_EQ(kindOf(support::keyboard()), GetParam().keyboards ? debug::keyboard : debug::generic);
  EXPECT_EQ(kindOf(support::disk()), GetParam().storage ? debug::storage : debug::generic);
}

}  // namespace
