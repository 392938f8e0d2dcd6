#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "sim/files.h"
#include "sim/namespaces.h"
#include "support/child.h"
#include "support/restored_settings.h"
#include "support/thrown.h"
#include "workers/module_loader.h"

/** A private world with a stand-in for insmod, which records its arguments, and two empty directories. */
class ModuleWorld {
 public:
  ModuleWorld() {
    world_.makePrivate("/lib/modules");
    std::filesystem::create_directory("/a");
    std::filesystem::create_directory("/b");
    setenv("PATH", "/sim/bin:/usr/bin:/bin", 1);
    insmodDoes(R"(exec >>/sim/insmod; echo "$#"; for argument; do echo "$argument"; done)");
    std::filesystem::current_path("/vel");
  }

  static void insmodDoes(const std::string& script) {
    sim::writeFile("/sim/bin/insmod", "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions("/sim/bin/insmod", std::filesystem::perms::owner_all);
  }
  static void searchIn(const std::string& path) { setenv("MODPATH", path.c_str(), 1); }
  static void addModule(const std::string& file) { sim::writeFile(file, "module"); }

  /** How often insmod was started with what, in the form of the stand-in; "" when it was not. */
  static std::string insmods() {
    return std::filesystem::exists("/sim/insmod") ? sim::readFile("/sim/insmod") : "";
  }

 private:
  support::RestoredSettings settings_;
  sim::Namespaces world_;
};

/** Runs `body` in such a world, in a child of the test. */
inline void inModuleWorld(const std::function<void()>& body) {
  support::inChild([&body] {
    const ModuleWorld world;
    body();
  });
}

/** The bare text that loading throws, "" when it returns. */
inline std::string textThrownForLoading(const std::string& moduleName) {
  try {
    loadKernelModule(moduleName, "");
  } catch (const char* text) {
    return text;
  }
  return "";
}

/** The context of the error that loading throws. */
inline std::string contextThrownForLoading(const std::string& moduleName, const std::string& arguments = "") {
  return support::contextThrownBy([&] { loadKernelModule(moduleName, arguments); });
}

/** Loading the module runs insmod once, on `file`. */
inline void expectLoaded(const std::string& moduleName, const std::string& file) {
  loadKernelModule(moduleName, "");
  EXPECT_EQ(ModuleWorld::insmods(), "1\n" + file + "\n");
}

/** Loading the module throws and runs nothing. */
inline void expectNotFound(const std::string& moduleName) {
  EXPECT_EQ(textThrownForLoading(moduleName), "module not found");
  EXPECT_EQ(ModuleWorld::insmods(), "");
}
