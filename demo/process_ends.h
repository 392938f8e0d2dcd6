#pragma once

#include "sim/descriptor.h"
#include "sim/wait.h"

namespace demo {

/** Lets every wait of this process notice, once each, the ends of some processes. */
class ProcessEnds {
 public:
  ProcessEnds();

  /** `endEvents` becomes readable at a process's end, and stays so; it may be closed at any time. */
  void watch(int endEvents) const;

 private:
  void takeAll() const;

  sim::Descriptor epoll_;
  sim::Background source_;
};

}  // namespace demo
