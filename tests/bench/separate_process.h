#pragma once

#include <sys/types.h>

#include <utility>

#include "bench/contender.h"
#include "bench/figure.h"
#include "sim/descriptor.h"

namespace bench {

/** A process of this program, in which one figure of one contender is measured. It ends with the object. */
class SeparateProcess {
 public:
  /** Returns when the measurement is prepared; throws sim::Error where that fails. */
  SeparateProcess(const Figure& figure, const Contender& contender);

  /** False where the quantity makes no sense for the contender. */
  [[nodiscard]] bool measures() const { return measures_; }
  void askForSample();
  /** Waits for what was asked for; throws sim::Error when it could not be measured. */
  [[nodiscard]] double takeSample();

 private:
  /** The process and the connection to it; both end with the object. */
  class Child {
   public:
    Child(const Figure& figure, const Contender& contender);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    [[nodiscard]] int socket() const { return socket_.get(); }

   private:
    /** The own end of a connection, and the other process's. */
    Child(std::pair<sim::Descriptor, sim::Descriptor> sockets, const Figure& figure,
          const Contender& contender);

    sim::Descriptor socket_;
    pid_t pid_;
  };

  [[nodiscard]] double receive();

  Child child_;
  bool measures_;
};

}  // namespace bench
