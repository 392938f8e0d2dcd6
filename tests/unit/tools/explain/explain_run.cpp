#include "unit/tools/explain/explain_run.h"

#include <ostream>

#include "sim/files.h"
#include "sim/program.h"
#include "support/temporary_directory.h"

std::ostream& operator<<(std::ostream& out, const ExplainRun& run) {
  return out << run.end << "\noutput:\n" << run.output << "errors:\n" << run.errors;
}

ExplainRun runExplainInto(const std::string& output, const std::vector<std::string>& arguments,
                          const sim::ProcessOptions& options) {
  std::vector<std::string> command = sim::commandOf("SIM_EXPLAIN", EXPLAIN_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  const support::TemporaryDirectory directory;
  sim::writeFile(directory / "errors", "");
  const sim::ProcessEnd end = sim::runProcess(command, options, output, directory / "errors");
  return {end, "", sim::readFile(directory / "errors")};
}

ExplainRun runExplain(const std::vector<std::string>& arguments, const sim::ProcessOptions& options) {
  const support::TemporaryDirectory directory;
  sim::writeFile(directory / "output", "");
  ExplainRun run = runExplainInto(directory / "output", arguments, options);
  run.output = sim::readFile(directory / "output");
  return run;
}

ExplainRun refusal(const std::string& fault) {
  return {sim::ProcessEnd::exited(2), "", "usb_rx_explain: " + fault + "\n"};
}
