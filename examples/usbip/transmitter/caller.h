#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "examples/usbip/transmitter/conversation.h"
#include "examples/usbip/transmitter/listener.h"

namespace usbip {

/** A worker that has called and has nothing attached yet. It has 10 seconds for all that it has to say. */
class Caller {
 public:
  using Clock = std::chrono::steady_clock;

  Caller(Connection connection, Conversation conversation);

  [[nodiscard]] int fd() const { return connection_.socket->fd(); }
  [[nodiscard]] const std::string& address() const { return connection_.peer.text; }
  [[nodiscard]] Clock::time_point deadline() const { return deadline_; }

  /**
   * Hears what the worker has said, and answers. To be called when something can be read. Throws a ulx::StrException
   * when the worker is refused or has left; recv(), send().
   */
  void serve();
  /** The device that waits for an answer, or null. */
  [[nodiscard]] const Offer* offer() const;
  /** Throws send(). */
  void answerOffer(Verdict verdict);
  /** Throws a ulx::StrException when its time is over. */
  void expectInTime();

  /**
   * Ends it. If it has an answer to read it is left a second for that, and is served meanwhile: a connection that is
   * closed while there are bytes in it that nobody has read loses those on their way to the other end.
   */
  void dismiss();
  [[nodiscard]] bool hasEnded() const { return ended_; }
  /** Ends it, but not its connection, which becomes the kernel's. */
  [[nodiscard]] std::unique_ptr<ulx::FileDescriptor> handOver();

 private:
  [[nodiscard]] Conversation::Bytes receive(std::size_t atMost) const;
  void send(const Conversation::Bytes& bytes);
  void ignore();

  Connection connection_;
  Conversation conversation_;
  Clock::time_point deadline_;
  bool answered_ = false;  // whether anything has been sent
  bool dismissed_ = false;
  bool ended_ = false;
};

}  // namespace usbip
