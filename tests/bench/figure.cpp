#include "bench/figure.h"

#include <algorithm>

#include "bench/measurements/events.h"
#include "bench/measurements/launches.h"
#include "bench/measurements/memory.h"
#include "bench/measurements/program_size.h"
#include "bench/measurements/tracing.h"

namespace bench {

namespace {

constexpr double restSeconds = 20;
constexpr double shortRestSeconds = 2;

std::vector<Figure> figuresWithRest(double seconds) {
  using Of = Bound::Of;
  const std::string rest = std::to_string(static_cast<int>(seconds)) + " s of rest";
  return {
      {"launch, us", launch(), 200, {{Of::calls, 0.80}, {Of::bare, 0.95}}, 5},
      {"storm of 10 in 70, us", storm(), 50, {{Of::calls, 0.95}}, 3},
      {"coldplug of 1,000, ms", coldplug(1000), 11, {{Of::bare, 1.50}}},
      {"other action, cpu us", eventOfOtherAction(), 150, {{Of::calls, 1.15}}},
      {"other kind, cpu us", eventOfOtherSubsystem(), 150, {{Of::calls, 1.15}}},
      {"memory, idle, KiB", ownMemory(0), 9, {{Of::itself, 72}}},
      {"memory, 200 workers", ownMemory(200), 5, {{Of::itself, 120}}},
      {"start, 1,000 instr.", instructionsAtStart(), 1, {{Of::itself, 100}}},
      {"calls in " + rest, systemCallsAtRest(seconds), 1, {{Of::itself, 0}}, 1, true},
      {"bytes, stripped", programSize(), 1, {}},
  };
}

int fewerOf(int rounds) {
  constexpr int fraction = 6;
  constexpr int least = 3;
  return std::min(rounds, std::max(least, rounds / fraction));
}

}  // namespace

std::vector<Figure> allFigures(Pace pace) {
  std::vector<Figure> figures = figuresWithRest(pace == Pace::quick ? shortRestSeconds : restSeconds);
  if (pace == Pace::quick) {
    for (Figure& figure : figures) {
      figure.rounds = fewerOf(figure.rounds);
    }
  }
  return figures;
}

}  // namespace bench
