#pragma once

#include <functional>

#include "sim/descriptor.h"
#include "sim/wait.h"

/** Does something some time from now, during a wait of this process: what a person does while it waits. */
class TimedAction {
 public:
  TimedAction(double seconds, std::function<void()> act) : TimedAction(seconds, 0, std::move(act)) {}

 protected:
  /** With an interval above 0 it does it again and again. */
  TimedAction(double seconds, double interval, std::function<void()> act);

 private:
  sim::Descriptor timer_;
  std::function<void()> act_;
  sim::Background serving_;
};

/** Does something every so many seconds, during waits of this process. */
class RepeatedAction : public TimedAction {
 public:
  RepeatedAction(double seconds, std::function<void()> act) : TimedAction(seconds, seconds, std::move(act)) {}
};
