#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/exchange/stop_signals.h"
#include "examples/usbip/transmitter/attached_devices.h"
#include "examples/usbip/transmitter/caller.h"
#include "examples/usbip/transmitter/conversation.h"
#include "examples/usbip/transmitter/listener.h"
#include "examples/usbip/transmitter/poll_set.h"

namespace usbip {

/** Talks to the workers that call, many at a time, and attaches what they bring. */
class Server {
 public:
  /** `admission` and `log` must outlive it. Throws what StopSignals and Listener throw. */
  Server(std::uint16_t port, const Admission& admission, const Log& log);

  /** Serves until SIGTERM, SIGINT or SIGHUP arrives, then detaches all. Throws a ulx::StrException when that fails. */
  void serve();

 private:
  [[nodiscard]] PollSet waitForEvents() const;
  [[nodiscard]] int millisecondsToWait() const;

  void serveCallers(const PollSet& events);
  void serve(Caller& caller, bool hasEvent);
  void answerOffer(Caller& caller, const Offer& device);
  void attach(Caller& caller, const Offer& device);

  void acceptCaller();
  void admit(Connection connection);
  void printRefusal(const std::string& address, const std::string& why) const;

  const Admission& admission_;
  const Log& log_;
  StopSignals stopSignals_;
  Listener listener_;
  AttachedDevices devices_;
  std::list<Caller> callers_;
  Caller::Clock::time_point acceptAgain_;
};

}  // namespace usbip
