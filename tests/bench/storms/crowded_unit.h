#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sim/footprint.h"
#include "sim/unit.h"

namespace bench {

/** A unit with many devices, whose generic workers rest until they are ended. */
class CrowdedUnit {
 public:
  /** With so many devices plugged in, and no daemon yet. */
  explicit CrowdedUnit(int devices, const std::vector<std::string>& options = {});
  /** Takes back the workers, which the daemon's end has ended. */
  ~CrowdedUnit();
  CrowdedUnit(const CrowdedUnit&) = delete;
  CrowdedUnit& operator=(const CrowdedUnit&) = delete;

  /** Waits until coldplug has started all workers, and these rest. */
  void startDaemon();
  /** The connection of a link manager, which is kept. Returns what queries are answered. */
  std::string deliverLink();

  /** Announces one more device; its worker is started later. */
  std::string plug();
  /** Takes the device out; its worker goes on. */
  void unplug(const std::string& directory) { unit_->unplug(directory); }
  void announce(const std::string& action, const std::string& directory);

  /** The devices there were at the start, in that order. */
  [[nodiscard]] const std::vector<std::string>& devices() const { return devices_; }
  [[nodiscard]] sim::Unit& unit() { return *unit_; }
  [[nodiscard]] pid_t daemon() { return unit_->daemon().pid(); }
  /** The workers, in the order of their starts, which need not be that of the devices. */
  [[nodiscard]] std::vector<pid_t> workers() { return unit_->daemon().children(); }
  [[nodiscard]] static std::string deviceOf(pid_t worker);
  [[nodiscard]] sim::Footprint footprint() { return sim::footprintOf(daemon()); }

  /** Waits until every uevent has been handled, and every client served. */
  void settle();
  /** Waits until the daemon has so many children, each of which rests. */
  void awaitWorkers(std::size_t count);
  /** Waits until the condition holds; throws when the daemon ends, or after ten minutes. */
  void await(const std::string& awaited, const std::function<bool()>& condition);

  void stopDaemon();
  void resumeDaemon();

 private:
  std::string addDevice();

  std::optional<sim::Unit> unit_;
  std::vector<std::string> arguments_;
  std::vector<std::string> devices_;
  std::optional<sim::LinkManager> link_;
  int plugged_ = 0;
};

}  // namespace bench
