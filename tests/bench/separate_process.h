#pragma once

#include <sys/types.h>

#include "bench/contender.h"
#include "bench/figure.h"
#include "sim/descriptor.h"

namespace bench {

/** A process of this program, in which one figure of one contender is measured. It ends with the object. */
class SeparateProcess {
 public:
  /** Returns when the measurement is prepared; throws sim::Error when it cannot be. */
  SeparateProcess(const Figure& figure, const Contender& contender);
  ~SeparateProcess();
  SeparateProcess(const SeparateProcess&) = delete;
  SeparateProcess& operator=(const SeparateProcess&) = delete;

  /** False where the quantity makes no sense for the contender. */
  [[nodiscard]] bool measures() const { return measures_; }
  void askForSample();
  /** Waits for what was asked for; throws sim::Error when it could not be measured. */
  [[nodiscard]] double takeSample();

 private:
  [[nodiscard]] double receive();

  sim::Descriptor socket_;
  pid_t pid_;
  bool measures_;
};

}  // namespace bench
