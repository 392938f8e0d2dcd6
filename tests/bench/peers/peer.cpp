#include "bench/peers/peer.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "bench/running_contender.h"
#include "sim/deadline.h"
#include "sim/error.h"

namespace bench {

namespace {

/** A peer makes its socket soon after its start. */
void awaitListener() {
  const sim::Deadline deadline(10);
  while (!isAnyoneListening()) {
    if (deadline.passed()) {
      throw sim::Error("nothing listens to uevents");
    }
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
}

}  // namespace

Peer::Peer(std::initializer_list<const char*> places) {
  const auto* const found = std::find_if(places.begin(), places.end(),
                                         [](const char* place) { return ::access(place, X_OK) == 0; });
  if (found != places.end()) {
    program_ = *found;
  }
}

std::optional<std::string> Peer::obstacle() const {
  return program_.empty() ? std::optional<std::string>("it is not installed") : std::nullopt;
}

void Peer::offer(const std::vector<std::string>& devices, const KernelEvents& kernel) const {
  awaitListener();
  for (const std::string& device : devices) {
    kernel.plug(device);
  }
}

}  // namespace bench
