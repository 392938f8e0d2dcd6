#include "sim/wait.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "sim/error.h"

namespace sim {

namespace {

constexpr int noDescriptor = -1;  // poll() passes over it

std::vector<const Background*>& sources() {
  static std::vector<const Background*> all;
  return all;
}

bool stillRegistered(const Background* source) {
  return std::find(sources().begin(), sources().end(), source) != sources().end();
}

std::vector<pollfd> pollListOf(const std::vector<const Background*>& served, int fd) {
  std::vector<pollfd> list;
  list.reserve(served.size() + 1);
  for (const Background* source : served) {
    list.push_back({source->descriptor(), POLLIN, 0});
  }
  list.push_back({fd, POLLIN, 0});
  return list;
}

struct PollResult {
  bool ready;   // the awaited descriptor
  bool served;  // at least one background source
};

PollResult pollOnce(int fd, int milliseconds) {
  const std::vector<const Background*> served = sources();
  std::vector<pollfd> list = pollListOf(served, fd);
  if (::poll(list.data(), list.size(), milliseconds) < 0) {
    if (errno != EINTR) {
      throw systemError("poll()");
    }
    return {false, false};
  }
  PollResult result{list.back().revents != 0, false};
  for (std::size_t i = 0; i < served.size(); ++i) {
    // Serving one source may have removed another.
    if (list[i].revents != 0 && stillRegistered(served[i])) {
      served[i]->serve();
      result.served = true;
    }
  }
  return result;
}

}  // namespace

Background::Background(int fd, std::function<void()> serve) : fd_(fd), serve_(std::move(serve)) {
  sources().push_back(this);
}

Background::~Background() {
  sources().erase(std::find(sources().begin(), sources().end(), this));
}

bool waitReadable(int fd, const Deadline& deadline) {
  while (true) {
    const int left = deadline.millisecondsLeft();
    if (pollOnce(fd, left).ready) {
      return true;
    }
    if (left == 0) {
      return false;
    }
  }
}

void waitUntil(const std::string& awaited, const Deadline& deadline, const std::function<bool()>& condition) {
  waitUntil(awaited, deadline, noDescriptor, condition);
}

void waitUntil(const std::string& awaited, const Deadline& deadline, int fd,
               const std::function<bool()>& condition) {
  while (!condition()) {
    const int left = deadline.millisecondsLeft();
    static_cast<void>(pollOnce(fd, left));
    if (left == 0 && !condition()) {
      throw TimedOut(awaited);
    }
  }
}

void serveBackground(const Deadline& deadline) {
  static_cast<void>(pollOnce(noDescriptor, deadline.millisecondsLeft()));
}

void serveBackground() {
  while (pollOnce(noDescriptor, 0).served) {
  }
}

}  // namespace sim
