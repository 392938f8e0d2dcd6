#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bench/figure.h"

namespace bench {

/** What was measured of one contender for one figure, round by round. */
struct Samples {
  std::string contender;
  bool isHeldToBounds;
  std::vector<double> values;
  std::string failure;  ///< why there are no more of them
};

struct Result {
  Figure figure;
  std::vector<Samples> samples;  ///< in the order of the contenders
};

struct Spread {
  double median;
  double least;
  double most;
};

/** None of no values. */
[[nodiscard]] std::optional<Spread> spreadOf(std::vector<double> values);

/** The samples of that contender; null where there is none. */
[[nodiscard]] const Samples* samplesOf(const Result& result, const std::string& contender);

/**
 * The ratios of each round: what disturbs a machine for a while disturbs both. A round in which the reference is 0 has
 * none.
 */
[[nodiscard]] std::vector<double> ratios(const Samples& samples, const Samples& reference);

/** How a figure of a contender stands to a bound; none where it was not measured. */
[[nodiscard]] std::optional<double> valueFor(const Bound& bound, const Result& result,
                                             const Samples& samples);

}  // namespace bench
