// To whom the control socket belongs, whatever the umask.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "support/named_case.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/process_state.h"

namespace {

namespace fs = std::filesystem;

struct Umask : support::NamedCase {
  mode_t mask;
};

/** A daemon that was started with this umask, and a worker of it. */
class ControlSocketOwner : public support::DaemonFixture, public testing::WithParamInterface<Umask> {
 protected:
  ControlSocketOwner() {
    sim::ProcessOptions world;
    world.fileModeMask = GetParam().mask;
    start(support::commandLine(), world);
  }
};

TEST_P(ControlSocketOwner, IsTheOnlyOneWhoMayConnect) {
  EXPECT_EQ(fs::symlink_status(sim::LinkManager::usualPath).permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(support::askForParameters(unit), "");
}

TEST_P(ControlSocketOwner, LeavesTheUmaskOfTheDaemonAndItsWorkersAsItIs) {
  EXPECT_EQ(support::fileModeMaskOf(unit.daemon().pid()), GetParam().mask);
  EXPECT_EQ(support::fileModeMaskOf(attach(support::scanner()).start.pid), GetParam().mask);
}

INSTANTIATE_TEST_SUITE_P(Umask, ControlSocketOwner,
                         testing::Values(Umask{{"OfNothing"}, 0}, Umask{{"AsUsual"}, 022},
                                         Umask{{"OfAllOthers"}, 077}, Umask{{"OfEverything"}, 0777}),
                         testing::PrintToStringParamName());

}  // namespace
