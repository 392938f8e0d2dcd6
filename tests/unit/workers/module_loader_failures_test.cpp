#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "support/child.h"
#include "support/output.h"
#include "unit/workers/module_world.h"
#include "workers/module_loader.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

TEST(LoadKernelModule, ThrowsForADirectoryThatLeadsInACircle) {
  inModuleWorld([] {
    fs::create_symlink("circle", "/a/circle");
    ModuleWorld::searchIn("/a/circle:/b");
    ModuleWorld::addModule("/b/driver.ko");
    EXPECT_EQ(contextThrownForLoading("driver"), "stat(/a/circle/driver.ko)");
    EXPECT_EQ(ModuleWorld::insmods(), "");
  });
}

TEST(LoadKernelModule, ThrowsForANameThatIsTooLong) {
  inModuleWorld([] {
    const std::string name(256, 'x');
    ModuleWorld::searchIn("/a:");
    EXPECT_EQ(contextThrownForLoading(name), "stat(/a/" + name + ".ko)");
  });
}

TEST(LoadKernelModule, ThrowsForADirectoryThatMayNotBeSearched) {
  inModuleWorld([] {
    fs::permissions("/a", fs::perms::none);
    ModuleWorld::searchIn("/a:/b");
    support::dropPrivileges();
    EXPECT_EQ(contextThrownForLoading("driver"), "stat(/a/driver.ko)");
  });
}

TEST(LoadKernelModule, DoesNotLookAtInsmodsOutcome) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a:/b");
    ModuleWorld::addModule("/a/driver.ko");
    ModuleWorld::addModule("/b/driver.ko");
    settings.debugCtrl = true;
    const support::CapturedStandardError captured;
    for (const char* script : {"echo wrong module >&2; exit 1", "echo loaded", "kill -KILL $$"}) {
      ModuleWorld::insmodDoes("echo run >>/sim/insmod; " + std::string(script));
      EXPECT_EQ(textThrownForLoading("driver"), "") << script;
    }
    EXPECT_EQ(ModuleWorld::insmods(), "run\nrun\nrun\n");
    EXPECT_EQ(captured.writes(), Lines());
  });
}

TEST(LoadKernelModule, DoesNotMissInsmod) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a");
    ModuleWorld::addModule("/a/driver.ko");
    setenv("PATH", "/no/such", 1);
    EXPECT_EQ(textThrownForLoading("driver"), "");
  });
}

TEST(LoadKernelModule, ThrowsWhenSomebodyElseTakesInsmodsEnd) {
  inModuleWorld([] {
    ModuleWorld::searchIn("/a");
    ModuleWorld::addModule("/a/driver.ko");
    signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(contextThrownForLoading("driver"), "pclose()");
  });
}

}  // namespace
