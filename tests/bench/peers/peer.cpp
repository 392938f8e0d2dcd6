#include "bench/peers/peer.h"

#include <unistd.h>

#include <algorithm>

#include "bench/running_contender.h"

namespace bench {

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
  RunningContender::awaitListener();
  for (const std::string& device : devices) {
    kernel.plug(device);
  }
}

}  // namespace bench
