#include "examples/usbip/transmitter/caller.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

constexpr std::chrono::seconds timeToTalk{10};
constexpr std::chrono::seconds timeToLeave{1};
constexpr std::size_t ignoredAtOnce = 4096;

}  // namespace

Caller::Caller(Connection connection, Conversation conversation)
    : connection_(std::move(connection)),
      conversation_(std::move(conversation)),
      deadline_(Clock::now() + timeToTalk) {}

void Caller::serve() {
  if (dismissed_) {
    ignore();
    return;
  }
  const Conversation::Bytes bytes = receive(conversation_.bytesWanted());
  if (bytes.empty()) {
    throw ulx::StrException("it left before it had said all of " + std::string(conversation_.awaited()));
  }
  send(conversation_.receive(bytes));
  if (conversation_.refusal()) {
    throw ulx::StrException(*conversation_.refusal());
  }
}

void Caller::ignore() {
  std::array<char, ignoredAtOnce> bytes;  // NOLINT(cppcoreguidelines-pro-type-member-init): nobody reads them
  ended_ = ::recv(fd(), bytes.data(), bytes.size(), 0) <= 0;
}

const Offer* Caller::offer() const {
  return conversation_.offer() && !dismissed_ && !ended_ ? &*conversation_.offer() : nullptr;
}

void Caller::answerOffer(Verdict verdict) {
  send({static_cast<std::uint8_t>(verdict)});
}

void Caller::expectInTime() {
  if (ended_ || Clock::now() < deadline_) {
    return;
  }
  if (!dismissed_) {
    throw ulx::StrException("it has not said all of " + std::string(conversation_.awaited()) + " in " +
                            std::to_string(timeToTalk.count()) + " seconds");
  }
  ended_ = true;
}

void Caller::dismiss() {
  dismissed_ = true;
  if (answered_) {
    ::shutdown(fd(), SHUT_WR);  // fails only where the connection has ended
    deadline_ = std::min(deadline_, Clock::now() + timeToLeave);
  } else {
    ended_ = true;
  }
}

std::unique_ptr<ulx::FileDescriptor> Caller::handOver() {
  ended_ = true;
  return std::move(connection_.socket);
}

Conversation::Bytes Caller::receive(std::size_t atMost) const {
  Conversation::Bytes bytes(atMost);
  const ssize_t received = ::recv(fd(), bytes.data(), bytes.size(), 0);
  if (received == -1) {
    ulx::throwErrno("recv()", errno);
  }
  bytes.resize(static_cast<std::size_t>(received));
  return bytes;
}

// An answer is so short that a connection takes it at once. Where it does not, the other end is to blame.
void Caller::send(const Conversation::Bytes& bytes) {
  if (bytes.empty()) {
    return;
  }
  const ssize_t sent = ::send(fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  if (sent == -1) {
    ulx::throwErrno("send()", errno);
  }
  if (static_cast<std::size_t>(sent) < bytes.size()) {
    throw ulx::StrException("it does not take what is sent");
  }
  answered_ = true;
}

}  // namespace usbip
