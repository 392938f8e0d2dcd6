#pragma once

#include <functional>
#include <memory>

#include "bench/contender.h"

namespace bench {

/** One quantity of one contender, in a process and a unit of its own. */
class Measurement {
 public:
  Measurement() = default;
  virtual ~Measurement() = default;
  Measurement(const Measurement&) = delete;
  Measurement& operator=(const Measurement&) = delete;

  [[nodiscard]] virtual double sample() = 0;
};

/** Prepares the measurement of one contender; null where the quantity makes no sense for it. */
using Begin = std::function<std::unique_ptr<Measurement>(const Contender&)>;

}  // namespace bench
