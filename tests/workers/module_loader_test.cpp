#include "workers/module_loader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "sim/files.h"
#include "sim/namespaces.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/output.h"
#include "tests/support/restored_settings.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/thrown.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

/** A private world with a stand-in for insmod, which records its arguments, and two empty directories. */
class ModuleWorld {
 public:
  ModuleWorld() {
    world_.makePrivate("/lib/modules");
    fs::create_directory("/a");
    fs::create_directory("/b");
    setenv("PATH", "/sim/bin:/usr/bin:/bin", 1);
    insmodDoes(R"(exec >>/sim/insmod; echo "$#"; for argument; do echo "$argument"; done)");
    fs::current_path("/vel");
  }

  static void insmodDoes(const std::string& script) {
    sim::writeFile("/sim/bin/insmod", "#!/bin/sh\n" + script + "\n");
    fs::permissions("/sim/bin/insmod", fs::perms::owner_all);
  }
  static void searchIn(const std::string& path) { setenv("MODPATH", path.c_str(), 1); }
  static void addModule(const std::string& file) { sim::writeFile(file, "module"); }

  /** How often insmod was started with what, in the form of the stand-in; "" when it was not. */
  static std::string insmods() { return fs::exists("/sim/insmod") ? sim::readFile("/sim/insmod") : ""; }

 private:
  support::RestoredSettings settings_;
  sim::Namespaces world_;
};

void inModuleWorld(const std::function<void()>& body) {
  support::inChild([&body] {
    const ModuleWorld world;
    body();
  });
}

// The bare text that loading throws, "" when it returns.
std::string textThrownForLoading(const std::string& moduleName) {
  try {
    loadKernelModule(moduleName, "");
  } catch (const char* text) {
    return text;
  }
  return "";
}

// The context of the error that loading throws.
std::string contextThrownForLoading(const std::string& moduleName, const std::string& arguments = "") {
  return support::contextThrownBy([&] { loadKernelModule(moduleName, arguments); });
}

void expectLoaded(const std::string& moduleName, const std::string& file) {
  loadKernelModule(moduleName, "");
  EXPECT_EQ(ModuleWorld::insmods(), "1\n" + file + "\n");
}

void expectNotFound(const std::string& moduleName) {
  EXPECT_EQ(textThrownForLoading(moduleName), "module not found");
  EXPECT_EQ(ModuleWorld::insmods(), "");
}

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
