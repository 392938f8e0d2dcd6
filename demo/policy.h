#pragma once

#include <map>
#include <string>
#include <vector>

#include "demo/happenings.h"

namespace demo {

/** Keys and their new values: "yes", "no", or "default" for none in the file. */
using PolicyChanges = std::map<std::string, std::string>;

/** The section of the configuration that says who may use the unit. */
class Policy {
 public:
  /** The keys, without their section. */
  static const std::vector<std::string>& keys();

  /**
   * Returns what quor_config has to be told for the file to say the same. Throws sim::Error, which says what
   * is possible, for another key or value; then nothing is changed.
   */
  std::vector<CommandLine> change(const PolicyChanges& changes);
  /** What the file says, for a person, in one line. */
  [[nodiscard]] std::string summary() const;

 private:
  std::map<std::string, std::string> values_;
};

}  // namespace demo
