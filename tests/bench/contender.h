#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bench/kernel_events.h"

namespace bench {

/**
 * A program that starts a worker for each USB device that is plugged in. Each one is measured in a process and a
 * simulated unit of its own, as often as the others and in turns with them.
 *
 * What a figure says of it depends on its program and command only: all else (start, process id, waits, end) is the
 * same for all, see RunningContender.
 *
 * A worker takes its device from its last argument, or, where it has none, from DEVPATH in its environment.
 */
class Contender {
 public:
  enum class Origin { project, foreign };

  Contender() = default;
  virtual ~Contender() = default;
  Contender(const Contender&) = delete;
  Contender& operator=(const Contender&) = delete;

  /** The heading of its column: one short word. */
  [[nodiscard]] virtual std::string name() const = 0;
  /** Builds of the project are compared only where they are of one kind; foreign ones are marked with theirs. */
  [[nodiscard]] virtual Origin origin() const = 0;
  /** Whether the bounds are promises about it. */
  [[nodiscard]] virtual bool isHeldToBounds() const { return false; }
  /** The file of its program. */
  [[nodiscard]] virtual std::string program() const = 0;
  /** Why it cannot run on this machine; none where it can. Asked once, outside of a simulated unit. */
  [[nodiscard]] virtual std::optional<std::string> obstacle() const { return {}; }

  /** Puts in place what it reads at its start (rules, configuration). Called in its unit, once for each. */
  virtual void configure(const std::string& worker) const { static_cast<void>(worker); }
  /**
   * How it is started, so that it stays in the foreground and starts `worker` for each device. `devices` are the
   * physical directories ("/sys/devices/...") of those that are there already; their links in /sys/bus/usb/devices
   * are there, too.
   */
  [[nodiscard]] virtual std::vector<std::string> command(const std::string& worker,
                                                         const std::vector<std::string>& devices) const = 0;
  /**
   * Lets it know of the devices that are there already, once it has been started; nothing for one that looks for
   * itself. Its time counts to coldplug. It may not listen yet: see isAnyoneListening().
   */
  virtual void offer(const std::vector<std::string>& devices, const KernelEvents& kernel) const {
    static_cast<void>(devices);
    static_cast<void>(kernel);
  }
  /** Connects the clients that it has in a unit at work; they go with what is returned. */
  [[nodiscard]] virtual std::shared_ptr<void> connectClients() const { return {}; }
  /** Whether hundreds of its workers can rest beside each other as long as they like. */
  [[nodiscard]] virtual bool keepsWorkers() const { return true; }
};

}  // namespace bench
