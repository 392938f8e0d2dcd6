#include "workers/module_loader.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "sim/contract.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/named_case.h"
#include "support/output.h"
#include "support/private_world.h"
#include "support/restored_settings.h"
#include "support/thrown.h"

namespace {

namespace fs = std::filesystem;
using support::Lines;

const std::string notFound = contract::error::moduleMissing;

/** A private world with a stand-in for insmod, which records its arguments, and two empty directories. */
class ModuleLoader : public support::PrivateWorld {
 protected:
  ModuleLoader() {
    world_.makePrivate("/lib/modules");
    fs::create_directories("/sim/a");
    fs::create_directories("/sim/b");
    setenv("PATH", "/sim/bin:/usr/bin:/bin", 1);
    insmodDoes(R"(exec >>/sim/insmod; echo "$#"; for argument; do echo "$argument"; done)");
    fs::current_path("/vel");
  }
  /** Removes the modules, lest a later test of the process sees them in its root. */
  ~ModuleLoader() override {
    for (const std::string& file : added_) {
      fs::remove(file);
    }
  }

  static void insmodDoes(const std::string& script) {
    sim::writeFile("/sim/bin/insmod", "#!/bin/sh\n" + script + "\n");
    fs::permissions("/sim/bin/insmod", fs::perms::owner_all);
  }
  /** The directories in which modules are looked for; null for no such variable. */
  static void searchIn(const char* path) {
    if (path == nullptr) {
      unsetenv("MODPATH");
    } else {
      setenv("MODPATH", path, 1);
    }
  }
  void addModules(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
      sim::writeFile(file, "module");
    }
    added_.insert(added_.end(), files.begin(), files.end());
  }

  /** The bare text that loading "driver" throws, "" when it returns. */
  static std::string load() {
    return support::bareTextThrownBy([] { loadKernelModule("driver", ""); });
  }
  /** The context of the error that loading throws. */
  static std::string failure(const std::string& name = "driver", const std::string& arguments = "") {
    return support::contextThrownBy([&] { loadKernelModule(name, arguments); });
  }
  /** How often insmod was started with what, in the form of the stand-in; "" when it was not. */
  static std::string insmods() { return fs::exists("/sim/insmod") ? sim::readFile("/sim/insmod") : ""; }

 private:
  support::RestoredSettings settings_;
  std::vector<std::string> added_;
};

struct SearchCase : support::NamedCase {
  const char* path;
  std::vector<std::string> modules;
  std::string loaded;  // "": none
  std::string thrown = {};
};

class ModuleLoaderSearch : public ModuleLoader, public testing::WithParamInterface<SearchCase> {};

INSTANTIATE_TEST_SUITE_P(
    For, ModuleLoaderSearch,
    testing::Values(
        SearchCase{{"TheFirstOnThePath"},
                   "/sim/b:/sim/a",
                   {"/sim/a/driver.ko", "/sim/b/driver.ko"},
                   "/sim/b/driver.ko"},
        SearchCase{{"TheNameWithItsEnding"},
                   "/sim/a:/sim/b",
                   {"/sim/a/driver", "/sim/a/driver.ko.gz", "/sim/a/other.ko", "/sim/b/driver.ko"},
                   "/sim/b/driver.ko"},
        SearchCase{{"TheWorkingDirectoryWithoutAPath"},
                   nullptr,
                   {"/vel/driver.ko", "/lib/modules/driver.ko"},
                   "./driver.ko"},
        SearchCase{
            {"LibModulesNextWithoutAPath"}, nullptr, {"/lib/modules/driver.ko"}, "/lib/modules/driver.ko"},
        SearchCase{{"LibModulesWithAnEmptyPath"}, "", {"/lib/modules/driver.ko"}, "/lib/modules/driver.ko"},
        SearchCase{{"NothingBelowLibModules"},
                   nullptr,
                   {"/lib/modules/6.1.0/driver.ko", "/lib/modules/6.1.0/kernel/driver.ko"},
                   "",
                   notFound},
        SearchCase{{"NothingElsewhereWithAPath"},
                   "/sim/a",
                   {"/vel/driver.ko", "/lib/modules/driver.ko"},
                   "",
                   notFound},
        SearchCase{
            {"TheRootAtAnEmptyPlace"}, "/sim/a::/sim/b", {"/driver.ko", "/sim/b/driver.ko"}, "/driver.ko"},
        SearchCase{{"MoreBehindAnEmptyPlace"}, "::/sim/b", {"/sim/b/driver.ko"}, "/sim/b/driver.ko"},
        SearchCase{{"MoreBehindAFileAndNoDirectory"},
                   "/sim/a/file:/no/such:/sim/b",
                   {"/sim/a/file", "/sim/b/driver.ko"},
                   "/sim/b/driver.ko"},
        SearchCase{{"OneDirectoryInVain"}, "/sim/a", {}, "", notFound},
        SearchCase{{"TwoDirectoriesInVain"}, "/sim/a:/sim/b", {}, "", notFound},
        SearchCase{{"AnEmptyPlaceInVain"}, "/sim/a::/sim/b", {}, "", notFound},
        SearchCase{{"AnEmptyBeginningInVain"}, ":/sim/a", {}, "", notFound},
        SearchCase{{"OneDirectoryAndAColonInVain"}, "/sim/a:", {}, ""},
        SearchCase{{"TwoDirectoriesAndAColonInVain"}, "/sim/a:/sim/b:", {}, ""},
        SearchCase{{"AColonInVain"}, ":", {}, ""}, SearchCase{{"TwoColonsInVain"}, "/sim/a::", {}, ""},
        SearchCase{{"NoRootAtTheColonOfTheEnd"}, "/sim/a:", {"/driver.ko"}, ""}));

TEST_P(ModuleLoaderSearch, FindsTheFirstFile) {
  searchIn(GetParam().path);
  addModules(GetParam().modules);
  const Lines log = support::debugLogDuring([] { EXPECT_EQ(load(), GetParam().thrown); });
  EXPECT_EQ(insmods(), GetParam().loaded.empty() ? "" : "1\n" + GetParam().loaded + "\n");
  EXPECT_EQ(log, GetParam().thrown.empty() ? Lines{}
                                           : support::tagged({contract::debug::moduleNotFound("driver")}));
}

TEST_F(ModuleLoader, LogsNothingWithoutDebugging) {
  searchIn("/sim/a");
  EXPECT_EQ(support::logDuring([] { EXPECT_EQ(load(), notFound); }), Lines{});
}

TEST_F(ModuleLoader, GivesInsmodTheFileAndTheArguments) {
  searchIn("/sim/a:/sim/b");
  addModules({"/sim/b/driver.ko"});
  loadKernelModule("driver", "speed=3 name='two words'");
  EXPECT_EQ(insmods(), "3\n/sim/b/driver.ko\nspeed=3\nname=two words\n");
}

TEST_F(ModuleLoader, RunsExactlyThisCommand) {
  searchIn("/sim/a:/sim/b");
  addModules({"/sim/b/driver.ko"});
  support::inChild([] {
    support::limitFurtherDescriptors(0);
    EXPECT_EQ(failure("driver", "x=1 y"), "popen(insmod /sim/b/driver.ko x=1 y 2>&1)");
    EXPECT_EQ(failure(), "popen(insmod /sim/b/driver.ko  2>&1)") << "the blank before no arguments stays";
  });
}

TEST_F(ModuleLoader, ThrowsForAFileThatCannotBeLookedFor) {
  const std::string longName(256, 'x');
  fs::create_symlink("circle", "/sim/a/circle");
  addModules({"/sim/b/driver.ko"});
  searchIn("/sim/a/circle:/sim/b");
  EXPECT_EQ(failure(), "stat(/sim/a/circle/driver.ko)");
  searchIn("/sim/a:");
  EXPECT_EQ(failure(longName), "stat(/sim/a/" + longName + ".ko)");
  fs::permissions("/sim/a", fs::perms::none);
  searchIn("/sim/a:/sim/b");
  support::inChild([] {
    support::dropPrivileges();
    EXPECT_EQ(failure(), "stat(/sim/a/driver.ko)");
  });
  EXPECT_EQ(insmods(), "");
}

TEST_F(ModuleLoader, DoesNotLookAtInsmodsOutcome) {
  searchIn("/sim/a:/sim/b");
  addModules({"/sim/a/driver.ko", "/sim/b/driver.ko"});
  EXPECT_EQ(support::debugLogDuring([] {
              for (const char* script : {"echo wrong module >&2; exit 1", "echo loaded", "kill -KILL $$"}) {
                insmodDoes("echo run >>/sim/insmod; " + std::string(script));
                EXPECT_EQ(load(), "") << script;
              }
            }),
            Lines{});
  EXPECT_EQ(insmods(), "run\nrun\nrun\n");
  setenv("PATH", "/no/such", 1);
  EXPECT_EQ(load(), "") << "without insmod";
}

TEST_F(ModuleLoader, ThrowsWhenInsmodsEndIsTakenElsewhere) {
  searchIn("/sim/a");
  addModules({"/sim/a/driver.ko"});
  support::inChild([] {
    signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(failure(), "pclose()");
  });
}

}  // namespace
