#pragma once

#include <string>
#include <vector>

#include "bench/measurements/measurement.h"

namespace bench {

/** What a figure of the daemon may be at most: itself, or as a multiple of another contender's. */
struct Bound {
  enum class Of { itself, calls, bare };
  Of of;
  double atMost;
};

/** A row of the table. */
struct Figure {
  std::string name;  ///< with its unit; at most 22 letters
  Begin begin;
  int rounds;
  std::vector<Bound> bounds;
  /** A sample is the least of so many in a row: what else the machine does only adds to a time. */
  int repetitions = 1;
  bool atOnce = false;  ///< all contenders at the same time: what is measured takes no processor
};

/** Fewer rounds make the figures less certain; the quantities are the same. */
enum class Pace { thorough, quick };

[[nodiscard]] std::vector<Figure> allFigures(Pace pace);

}  // namespace bench
