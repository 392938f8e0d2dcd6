#include "workers/module_loader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "unit/workers/module_world.h"

namespace {

using Lines = std::vector<std::string>;

TEST(LoadKernelModule, GivesInsmodTheFileAndTheArguments) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a:/b");
    ModuleWorld::addModule("/b/driver.ko");
    loadKernelModule("driver", "speed=3 name='two words'");
    EXPECT_EQ(ModuleWorld::insmods(), "3\n/b/driver.ko\nspeed=3\nname=two words\n");
  });
}

TEST(LoadKernelModule, RunsExactlyThisCommand) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a:/b");
    ModuleWorld::addModule("/b/driver.ko");
    support::limitFurtherDescriptors(0);
    EXPECT_EQ(contextThrownForLoading("driver", "x=1 y"), "popen(insmod /b/driver.ko x=1 y 2>&1)");
  });
}

TEST(LoadKernelModule, KeepsTheBlankBeforeNoArguments) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/b");
    ModuleWorld::addModule("/b/driver.ko");
    support::limitFurtherDescriptors(0);
    EXPECT_EQ(contextThrownForLoading("driver"), "popen(insmod /b/driver.ko  2>&1)");
  });
}

TEST(LoadKernelModule, TakesTheFirstFileOnThePath) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/b:/a");
    ModuleWorld::addModule("/a/driver.ko");
    ModuleWorld::addModule("/b/driver.ko");
    expectLoaded("driver", "/b/driver.ko");
  });
}

TEST(LoadKernelModule, LooksForTheNameWithItsEnding) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a:/b");
    ModuleWorld::addModule("/a/driver");
    ModuleWorld::addModule("/a/driver.ko.gz");
    ModuleWorld::addModule("/a/other.ko");
    ModuleWorld::addModule("/b/driver.ko");
    expectLoaded("driver", "/b/driver.ko");
  });
}

TEST(LoadKernelModule, LooksInTheWorkingDirectoryFirstByItself) {
  inModuleWorld([] {
    unsetenv("MODPATH");
    ModuleWorld::addModule("/vel/driver.ko");
    ModuleWorld::addModule("/lib/modules/driver.ko");
    expectLoaded("driver", "./driver.ko");
  });
}

TEST(LoadKernelModule, LooksInLibModulesNextByItself) {
  inModuleWorld([] {
    unsetenv("MODPATH");
    ModuleWorld::addModule("/lib/modules/driver.ko");
    expectLoaded("driver", "/lib/modules/driver.ko");
  });
}

TEST(LoadKernelModule, TakesAnEmptyPathForNone) {
  inModuleWorld([] {
    ModuleWorld::searchIn("");
    ModuleWorld::addModule("/lib/modules/driver.ko");
    expectLoaded("driver", "/lib/modules/driver.ko");
  });
}

TEST(LoadKernelModule, DoesNotLookBelowLibModules) {
  inModuleWorld([] {
    unsetenv("MODPATH");
    ModuleWorld::addModule("/lib/modules/6.1.0/driver.ko");
    ModuleWorld::addModule("/lib/modules/6.1.0/kernel/driver.ko");
    expectNotFound("driver");
  });
}

TEST(LoadKernelModule, LooksNowhereElseWhenThereIsAPath) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a");
    ModuleWorld::addModule("/vel/driver.ko");
    ModuleWorld::addModule("/lib/modules/driver.ko");
    expectNotFound("driver");
  });
}

TEST(LoadKernelModule, TakesAnEmptyDirectoryWithinThePathForTheRoot) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a::/b");
    ModuleWorld::addModule("/driver.ko");
    ModuleWorld::addModule("/b/driver.ko");
    expectLoaded("driver", "/driver.ko");
  });
}

TEST(LoadKernelModule, LooksOnBehindAnEmptyDirectory) {
  inModuleWorld([] {
    ModuleWorld::searchIn("::/b");
    ModuleWorld::addModule("/b/driver.ko");
    expectLoaded("driver", "/b/driver.ko");
  });
}

TEST(LoadKernelModule, ThrowsABareTextWhereNoDirectoryHasTheFile) {
  inModuleWorld([] {
    for (const char* path : {"/a", "/a:/b", "/a::/b", ":/a"}) {
      ModuleWorld::searchIn(path);
      expectNotFound("driver");
    }
  });
}

TEST(LoadKernelModule, DoesQuietlyWithoutTheFileWhereThePathEndsInAColon) {
  inModuleWorld([] {
    settings.debugCtrl = true;
    const support::CapturedStandardError captured;
    for (const char* path : {"/a:", "/a:/b:", ":", "/a::"}) {
      ModuleWorld::searchIn(path);
      EXPECT_EQ(textThrownForLoading("driver"), "") << path;
    }
    EXPECT_EQ(captured.messages(), Lines());
    EXPECT_EQ(ModuleWorld::insmods(), "");
  });
}

TEST(LoadKernelModule, DoesNotTakeTheColonAtTheEndForTheRoot) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a:");
    ModuleWorld::addModule("/driver.ko");
    loadKernelModule("driver", "");
    EXPECT_EQ(ModuleWorld::insmods(), "");
  });
}

TEST(LoadKernelModule, TellsOfAMissingFileWithDebugging) {
  inModuleWorld([] {
    settings.debugCtrl = true;
    ModuleWorld::searchIn("/a:/b");
    const support::CapturedStandardError captured;
    expectNotFound("driver");
    EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] didn't find module driver"});
  });
}

TEST(LoadKernelModule, SaysNothingWithoutDebugging) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a");
    const support::CapturedStandardError captured;
    expectNotFound("driver");
    EXPECT_EQ(captured.writes(), Lines());
  });
}

TEST(LoadKernelModule, SaysNothingOfAFileThatItFinds) {
  inModuleWorld([] {
    settings.debugCtrl = true;
    ModuleWorld::searchIn("/a:/b");
    ModuleWorld::addModule("/b/driver.ko");
    const support::CapturedStandardError captured;
    expectLoaded("driver", "/b/driver.ko");
    EXPECT_EQ(captured.writes(), Lines());
  });
}

TEST(LoadKernelModule, PassesOverAFileInADirectorysPlace) {
  inModuleWorld([] {
    ModuleWorld::addModule("/a/file");
    ModuleWorld::searchIn("/a/file:/no/such:/b");
    ModuleWorld::addModule("/b/driver.ko");
    expectLoaded("driver", "/b/driver.ko");
  });
}

}  // namespace
