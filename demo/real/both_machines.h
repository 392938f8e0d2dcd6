#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "demo/log.h"
#include "kernel/guest/desk.h"
#include "kernel/pair/far_machine.h"
#include "kernel/pair/far_program.h"
#include "kernel/pair/wire.h"
#include "sim/display.h"
#include "sim/link_manager.h"
#include "sim/syslog_sink.h"

namespace demo {

/** Who writes a line of the log, as its left column has it. */
namespace writer {
inline constexpr const char* daemon = "daemon";
inline constexpr const char* worker = "worker";
inline constexpr const char* display = "display";
inline constexpr const char* farSide = "far";
}  // namespace writer

/**
 * The receiver, which this program runs on, and the far machine, each with its programs as a person would start them. What
 * these write is logged in the order in which it is found.
 */
class BothMachines {
 public:
  explicit BothMachines(Log& log);
  ~BothMachines();
  BothMachines(const BothMachines&) = delete;
  BothMachines& operator=(const BothMachines&) = delete;

  /** The daemon, by its start script, with workers that export devices. */
  void startDaemon();
  /** A link manager says where the Transmitter is, and stays connected. */
  void deliverLink();
  void startFarSide();
  /** Returns when the far side has ended. */
  void stopFarSide();

  /** Logs until a writer has written a line with this text that was not awaited before; returns that line. */
  std::string await(const std::string& writer, std::string_view text);
  /** Logs what there is. */
  void report();

  guest::Desk desk;
  pair::FarMachine far;
  pair::Wire wire;

 private:
  [[nodiscard]] std::optional<std::string> take(const std::string& writer, std::string_view text);
  void reportSyslog();
  void reportDisplay();
  void reportFarSide();
  void keep(const std::string& writer, const std::string& line);

  pair::FarProgram farProgram_;
  std::size_t farLines_ = 0;  ///< of its log, how many were reported
  Log& log_;
  sim::SyslogSink syslog_;
  sim::Display display_;
  std::optional<sim::LinkManager> linkManager_;
  std::map<std::string, std::deque<std::string>>
      unawaited_;  ///< lines that await() may find, by their writers
};

}  // namespace demo
