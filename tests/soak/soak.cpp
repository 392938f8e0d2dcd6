// A random life of the daemon beside a model of it. Usage: usb_rx_soak MINUTES SEED

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <iostream>
#include <string>

#include "sim/state_report.h"
#include "soak/broken.h"
#include "soak/steps.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr Seconds reportEvery(10);

void report(const soak::Steps& steps, Seconds passed) {
  const soak::Steps::Counts& counts = steps.counts();
  const soak::Life::Counts& now = steps.life().counts();
  std::cout << std::fixed << std::setprecision(0) << std::setw(5) << passed.count() << " s: " << counts.steps
            << " steps (" << static_cast<double>(counts.steps) / passed.count() << "/s), "
            << counts.ended.events + now.events << " events, " << counts.ended.launches + now.launches
            << " workers started, " << counts.ended.deaths + now.deaths << " ended; daemon " << counts.daemons
            << ": " << steps.life().footprint().kilobytes() << " kB, " << steps.life().descriptors()
            << " descriptors, " << steps.life().model().workers().size() << " workers; slowest answer "
            << std::setprecision(1) << 1000 * std::max(counts.ended.slowestAnswer, now.slowestAnswer) << " ms"
            << std::endl;
}

// Whether all went well. An account of what did not is printed while the unit is still there.
bool liveAtRandom(double minutes, std::uint64_t seed) {
  soak::Steps steps(seed);
  const Clock::time_point start = Clock::now();
  Clock::time_point lastReport = start;
  try {
    while (Clock::now() - start < Seconds(60 * minutes)) {
      steps.takeSome();
      if (Clock::now() - lastReport >= reportEvery) {
        lastReport = Clock::now();
        report(steps, lastReport - start);
      }
    }
  } catch (const soak::Broken& broken) {
    std::cout << "\nBROKEN after " << Seconds(Clock::now() - start).count() << " s, seed " << seed << ": "
              << broken.what() << "\n\nThe last steps:\n"
              << steps.lastSteps() << '\n'
              << sim::allStateReports() << std::endl;
    return false;
  } catch (const std::exception& error) {
    std::cout << "\nBROKEN after " << Seconds(Clock::now() - start).count() << " s, seed " << seed << ": "
              << error.what() << "\n\nThe last steps:\n"
              << steps.lastSteps() << std::endl;
    return false;
  }
  report(steps, Clock::now() - start);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "Usage: usb_rx_soak MINUTES SEED\n";
    return EXIT_FAILURE;
  }
  const double minutes = std::strtod(argv[1], nullptr);
  const std::uint64_t seed = std::strtoull(argv[2], nullptr, 10);
  std::cout << "seed " << seed << std::endl;
  try {
    if (!liveAtRandom(minutes, seed)) {
      return EXIT_FAILURE;
    }
  } catch (const std::exception& error) {
    std::cout << "BROKEN: " << error.what() << std::endl;
    return EXIT_FAILURE;
  }
  std::cout << "The daemon did what the model said, all along." << std::endl;
  return EXIT_SUCCESS;
}
