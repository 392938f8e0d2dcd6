#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sim/daemon.h"
#include "sim/device_recording.h"
#include "sim/display.h"
#include "sim/link_manager.h"
#include "sim/namespaces.h"
#include "sim/sysfs.h"
#include "sim/syslog_sink.h"
#include "sim/uevent_sender.h"
#include "sim/workers.h"

namespace sim {

/**
 * A simulated receiver unit: everything around one daemon, at the daemon's own paths.
 *
 *   sim::Unit unit;
 *   unit.plug(sim::loadRecording("made-vendor-hs"));   // present at start: coldplug
 *   unit.startDaemon({"--debug=ctrl", "transmitter", "5000", "high"});
 *   sim::Worker& worker = unit.workers.waitForWorker();
 *
 * When made, it has an empty USB tree, a display that is read, a syslog socket, the three worker programs on
 * PATH, and no configuration file. Its members are its parts; a test bends the one that it is about. One unit
 * lives at a time in a process, which must have one thread; units may follow one another.
 *
 * All waits throw TimedOut when their deadline passes.
 */
class Unit {
 private:
  Namespaces namespaces_;  // first: everything else happens inside

 public:
  Unit();
  /** Ends the daemon the way that the link manager does, kills it if that does not help, ends the workers. */
  ~Unit();
  Unit(const Unit&) = delete;
  Unit& operator=(const Unit&) = delete;

  Sysfs sysfs;
  UeventSender uevents;
  Workers workers;
  Display display;
  SyslogSink syslog;

  /** Writes "/vel/quor.conf". */
  static void writeConfig(const std::string& text);
  static void removeConfig();

  /** Puts a worker program anywhere ("/opt/x/gen"); the host's directory of that name is not changed. */
  void installWorker(const std::string& path);
  /** Makes `directory` private to the unit, so that files can be made in it; see Namespaces. */
  void makePrivate(const std::string& directory) { namespaces_.makePrivate(directory); }

  /** Lays out the tree, then sends the events of the plug without their pauses. */
  void plug(const DeviceRecording& recording);
  /** Removes the tree, then sends the events of the unplug. */
  void unplug(const DeviceRecording& recording);
  /** Makes the device or node and announces it; returns its physical directory. */
  std::string plug(const UsbDevice& device);
  std::string plug(const HiddevNode& node);
  std::string plug(const ScsiGenericNode& node);
  /** Removes a directory that plug() has returned, and announces it. */
  void unplug(const std::string& directory);

  /**
   * Starts the daemon; an earlier one must have ended. Returns when the display knows its writer (or after a
   * second); what comes next is the daemon's own pace, see waitUntilServing().
   */
  Daemon& startDaemon(std::vector<std::string> arguments = {"--debug=ctrl", "transmitter", "5000", "high"},
                      const ProcessOptions& options = {});
  [[nodiscard]] Daemon& daemon();
  [[nodiscard]] bool daemonRuns() { return daemon_ && daemon_->isRunning(); }
  /** Waits for something of the daemon, unless it has ended or ends meanwhile. */
  void waitUnlessEnded(const std::function<void()>& wait);

  /**
   * Waits until coldplug is done and the main loop serves. With --debug=ctrl on standard error it reads the
   * daemon's own line; without, it asks a query on the control socket, which needs a port other than 0 and
   * resets the daemon's time of the last generic start, as every control client does.
   */
  void waitUntilServing(const Deadline& deadline = {});
  /**
   * Waits until the daemon has handled every uevent sent before. With --debug=ctrl on standard error it sends
   * one event of no meaning and reads the daemon's line of it. Without, it plugs a mouse, awaits its generic
   * worker and takes both out again; this resets the daemon's count of restarts, shows the mouse on the
   * display, consumes a pending reload, and needs generic devices to be admitted.
   */
  void settle(const Deadline& deadline = {});
  /** Waits until the worker has ended and the daemon, if it has started it and still runs, has noticed. */
  void waitUntilReaped(Worker& worker, const Deadline& deadline = {});
  /** A connection to the control socket of the daemon's options. */
  LinkManager connect(const Deadline& deadline = {});

 private:
  void waitUntilDisplayKnowsItsWriter();
  [[nodiscard]] bool daemonLogsEvents() const;
  [[nodiscard]] std::string controlPath() const;
  void settleByMouse(const UsbDevice& mouse, const Deadline& deadline);
  void endDaemon() noexcept;

  std::unique_ptr<Daemon> daemon_;
  int settled_ = 0;
};

}  // namespace sim
