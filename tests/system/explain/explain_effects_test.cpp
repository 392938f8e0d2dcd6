// usb_rx_explain starts nothing and changes nothing, though it calls the functions of a daemon that does.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/files.h"
#include "sim/recording_views.h"
#include "sim/unit.h"
#include "system/explain/explanation.h"
#include "system/explain/recorded_devices.h"

namespace {

TEST(ExplainEffects, AreNoneButItsOutput) {
  sim::Unit unit;
  const std::string configuration = "[usb]\ndebug = ctrl,generic,keyboard,scsi\nlog_to_syslog = 1\n";
  sim::Unit::writeConfig(configuration);
  unit.sysfs.layOut(sim::withClassUsbHiddev(sim::loadRecording("kbd-fs-hiddev")));
  const support::ExplainRun run =
      support::runExplain({"--class=all", "1-5", support::folderOf("audio"), support::folderOf("storage-hs"),
                           support::folderOf("mouse-fs")});
  EXPECT_EQ(run.errors, "");
  EXPECT_NE(run.output, "");
  EXPECT_TRUE(unit.syslog.takeMessages().empty());
  EXPECT_TRUE(unit.display.takeWrites().empty());
  EXPECT_EQ(unit.workers.count(), 0U);
  EXPECT_EQ(sim::entriesOf("/vel").size(), 1U);
  EXPECT_EQ(sim::readFile("/vel/quor.conf"), configuration);
}

}  // namespace
