#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "sim/process.h"
#include "support/temporary_directory.h"

using Arguments = std::vector<std::string>;

/** How a program has ended, and everything that it has written. */
struct Outcome {
  sim::ProcessEnd end;
  std::string output;
  std::string errors;

  bool operator==(const Outcome&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Outcome& outcome);

/** One that writes to standard output only, or nothing. */
[[nodiscard]] Outcome done(const std::string& output = "");
[[nodiscard]] Outcome notFoundOrDifferent(const std::string& output = "");
/** One that reports the failure `fault` on standard error, after its name. */
[[nodiscard]] Outcome failed(const std::string& fault);

/** Runs a program and waits for its end. */
Outcome runProgram(const Arguments& command, const sim::ProcessOptions& options = {});
/** The same for quor_config with these arguments. */
Outcome quorConfig(const Arguments& arguments, const sim::ProcessOptions& options = {});
/** The same with standard output going to the file `output`, which exists. */
Outcome quorConfigInto(const std::string& output, const Arguments& arguments);

/** A configuration file in a directory of its own, and quor_config working on it. */
class ConfiguredFile {
 public:
  /** Begins with this content. */
  explicit ConfiguredFile(const std::string& content);
  /** Begins with no file. */
  ConfiguredFile() = default;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] bool exists() const;
  [[nodiscard]] std::string content() const;
  /** Runs quor_config --file PATH `arguments`. */
  [[nodiscard]] Outcome run(Arguments arguments) const;
  [[nodiscard]] Outcome get(const std::string& key) const { return run({"get", key}); }

 private:
  support::TemporaryDirectory directory_;
  std::string path_ = directory_ / "quor.conf";
};
