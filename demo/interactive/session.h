#pragma once

#include <string>

#include "demo/chronicle.h"
#include "demo/console.h"
#include "demo/interactive/input.h"
#include "demo/stage.h"

namespace demo {

/** A person, or a file, at the desk: commands go in, and what comes of them is shown as it happens. */
class Session {
 public:
  explicit Session(Console& console) : console_(console), chronicle_(console), stage_(chronicle_) {}

  /** Starts the daemon and carries out commands until "quit" or the end of the input. */
  void run(int input);

 private:
  void awaitLine(Input& input);
  void tellNews(const Input& input);
  void carryOut(const std::string& line);

  Console& console_;
  Chronicle chronicle_;
  Stage stage_;
  bool goesOn_ = true;
};

}  // namespace demo
