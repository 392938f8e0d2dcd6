#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "sim/process.h"

/** How usb_rx_explain has ended, and what it has written. */
struct ExplainRun {
  sim::ProcessEnd end;
  std::string output;
  std::string errors;

  bool operator==(const ExplainRun&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ExplainRun& run);

/** Runs it with these arguments and waits for its end. */
ExplainRun runExplain(const std::vector<std::string>& arguments, const sim::ProcessOptions& options = {});
/** The same with standard output going to the file `output`, which exists. */
ExplainRun runExplainInto(const std::string& output, const std::vector<std::string>& arguments,
                          const sim::ProcessOptions& options = {});

/** How it ends that is used wrongly, or cannot read what it is asked for. */
ExplainRun refusal(const std::string& fault);
