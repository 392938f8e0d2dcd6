#include "unit/tools/quor_config_run.h"

#include <filesystem>
#include <ostream>

#include "sim/files.h"
#include "sim/program.h"

namespace {

Arguments quorConfigCommand(const Arguments& arguments) {
  Arguments command = sim::commandOf("SIM_QUOR_CONFIG", QUOR_CONFIG_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.end << "\noutput:\n" << outcome.output << "errors:\n" << outcome.errors;
}

Outcome done(const std::string& output) {
  return {sim::ProcessEnd::exited(0), output, ""};
}

Outcome notFoundOrDifferent(const std::string& output) {
  return {sim::ProcessEnd::exited(1), output, ""};
}

Outcome failed(const std::string& fault) {
  return {sim::ProcessEnd::exited(2), "", "quor_config: " + fault + "\n"};
}

Outcome runProgram(const Arguments& command, const sim::ProcessOptions& options) {
  const support::TemporaryDirectory directory;
  sim::writeFile(directory / "output", "");
  sim::writeFile(directory / "errors", "");
  const sim::ProcessEnd end = sim::runProcess(command, options, directory / "output", directory / "errors");
  return {end, sim::readFile(directory / "output"), sim::readFile(directory / "errors")};
}

Outcome quorConfig(const Arguments& arguments, const sim::ProcessOptions& options) {
  return runProgram(quorConfigCommand(arguments), options);
}

Outcome quorConfigInto(const std::string& output, const Arguments& arguments) {
  const support::TemporaryDirectory directory;
  sim::writeFile(directory / "errors", "");
  const sim::ProcessEnd end = sim::runProcess(quorConfigCommand(arguments), {}, output, directory / "errors");
  return {end, "", sim::readFile(directory / "errors")};
}

ConfiguredFile::ConfiguredFile(const std::string& content) {
  sim::writeFile(path_, content);
}

bool ConfiguredFile::exists() const {
  return std::filesystem::exists(path_);
}

std::string ConfiguredFile::content() const {
  return sim::readFile(path_);
}

Outcome ConfiguredFile::run(Arguments arguments) const {
  arguments.insert(arguments.begin(), {"--file", path_});
  return quorConfig(arguments);
}
