#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "examples/process_namespace.h"
#include "sim/start_script.h"
#include "sim/unit.h"

namespace examples {

/** The start script in the sources. */
extern const char* const startScriptFile;

/** A simulated unit on which the daemon's arguments can be written to their file. */
class UnitWithArguments : public sim::Unit {
 public:
  UnitWithArguments() { makePrivate("/etc/default"); }
};

/** A simulated unit whose daemon is started by the start script, under BusyBox; with --class=all unless set otherwise. */
class ScriptedUnit : public testing::Test {
 protected:
  void SetUp() override;

  /** Calls the script, which must return this status; returns what it has printed. */
  std::string call(const std::string& command, int status = 0);
  /** Starts the daemon, waits until it serves, and returns its number. */
  pid_t start();
  /** Kills the daemon, and waits until the next one serves; returns its number. */
  pid_t killAndAwaitNext(pid_t daemon);
  void sendSignal(const std::string& name, pid_t process);
  /** The number of processes with this for their first argument. */
  int countProcesses(const std::string& program);

  sim::Worker& attachKeyboard();
  sim::Worker& attachDisk();
  sim::Worker& attachMouse();

  UnitWithArguments unit;
  std::optional<ProcessNamespace> processes;
  std::optional<sim::StartScript> script;
};

}  // namespace examples
