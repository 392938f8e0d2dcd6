#include "bench/results.h"

#include <algorithm>
#include <cstddef>

namespace bench {

namespace {

std::optional<double> medianOf(const std::vector<double>& values) {
  const std::optional<Spread> spread = spreadOf(values);
  return spread ? std::optional(spread->median) : std::nullopt;
}

std::optional<double> medianRatio(const Result& result, const Samples& samples,
                                  const std::string& reference) {
  const Samples* other = samplesOf(result, reference);
  return other == nullptr ? std::nullopt : medianOf(ratios(samples, *other));
}

}  // namespace

std::optional<Spread> spreadOf(std::vector<double> values) {
  if (values.empty()) {
    return {};
  }
  std::ranges::sort(values);
  const std::size_t middle = values.size() / 2;
  const double median = values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
  return Spread{.median = median, .least = values.front(), .most = values.back()};
}

const Samples* samplesOf(const Result& result, const std::string& contender) {
  const auto found = std::ranges::find(result.samples, contender, &Samples::contender);
  return found == result.samples.end() ? nullptr : &*found;
}

std::vector<double> ratios(const Samples& samples, const Samples& reference) {
  std::vector<double> ratios;
  const std::size_t rounds = std::min(samples.values.size(), reference.values.size());
  for (std::size_t round = 0; round < rounds; ++round) {
    if (reference.values[round] != 0) {
      ratios.push_back(samples.values[round] / reference.values[round]);
    }
  }
  return ratios;
}

std::optional<double> valueFor(const Bound& bound, const Result& result, const Samples& samples) {
  switch (bound.of) {
    case Bound::Of::calls:
      return medianRatio(result, samples, "calls");
    case Bound::Of::bare:
      return medianRatio(result, samples, "bare");
    case Bound::Of::itself:
      break;
  }
  return medianOf(samples.values);
}

}  // namespace bench
