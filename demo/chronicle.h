#pragma once

#include <string>
#include <vector>

#include "demo/console.h"
#include "demo/happenings.h"
#include "demo/uevent_text.h"

namespace demo {

/** Tells a person what happens on the unit, and keeps it for whoever asks whether it was the right thing. */
class Chronicle {
 public:
  explicit Chronicle(Console& console) : console_(console) {}

  /** Everything since the last call. */
  Happenings take();

  void uevent(const UeventText& event);
  /** Events of a device that nothing else is told of. */
  enum class Others { Told, Untold };
  void uninterestingUevents(int count, Others others);
  void daemonStarts(const CommandLine& command);
  void daemonSays(const std::string& line);
  void daemonEnded(const sim::ProcessEnd& end);
  void workerStarted(int number, const CommandLine& command);
  /** `circumstance`, if any, is put behind, with whatever divides it from the rest. */
  void workerEnded(int number, const std::string& program, const std::string& circumstance);
  void workerRunsOn(int number, const std::string& program);
  /** One write to the display, with its newline. */
  void displayShows(const std::string& text);
  void linkSends(const std::string& bytes);
  void linkReceives(const std::string& answer);
  void link(const std::string& text);
  void configuratorRuns(const CommandLine& arguments);
  void config(const std::string& text);

 private:
  Console& console_;
  Happenings happenings_;
};

}  // namespace demo
