#include "support/eventually.h"

#include "sim/error.h"
#include "sim/wait.h"

namespace support {
namespace {

constexpr double secondsBetweenLooks = 0.002;
constexpr int noEvents = -1;

}  // namespace

void eventually(const std::string& awaited, const std::function<bool()>& condition,
                const sim::Deadline& deadline) {
  while (!condition()) {
    if (deadline.passed()) {
      throw sim::TimedOut(awaited);
    }
    static_cast<void>(sim::waitReadable(noEvents, deadline.atMost(secondsBetweenLooks)));
  }
}

}  // namespace support
