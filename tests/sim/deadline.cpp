#include "sim/deadline.h"

#include <algorithm>
#include <cstdlib>

namespace sim {

namespace {

constexpr double defaultSeconds = 10.0;

double timeFactor() {
  const char* text = std::getenv("SIM_TIME_FACTOR");
  const double factor = text == nullptr ? 1.0 : std::strtod(text, nullptr);
  return factor > 0.0 ? factor : 1.0;
}

}  // namespace

Deadline::Deadline() : Deadline(defaultSeconds) {}

Deadline::Deadline(double seconds)
    : end_(std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                                  std::chrono::duration<double>(seconds * timeFactor()))) {}

int Deadline::millisecondsLeft() const {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
  return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

Deadline Deadline::atMost(double seconds) const {
  const Deadline other(seconds);
  return other.end_ < end_ ? other : *this;
}

}  // namespace sim
