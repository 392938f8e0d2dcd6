#pragma once

#include <functional>
#include <string>

#include "demo/log.h"

namespace demo {

/** Shows one step after the other. Behind one that fails, the others are only counted. */
class Steps {
 public:
  explicit Steps(const Log& log) : log_(log) {}

  /** Says what is done, does it, and says what came of it, which is what `act` returns. It fails by an exception. */
  void show(const std::string& headline, const std::function<std::string()>& act);

  /** Prints how many went as expected; returns whether all did. */
  bool conclude() const;

 private:
  const Log& log_;
  int shown_ = 0;
  int done_ = 0;
};

}  // namespace demo
