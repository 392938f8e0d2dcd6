#pragma once

#include <map>
#include <string>
#include <vector>

namespace demo {

/** Keys and their new values: "yes", "no", or "default" for none in the file. */
using PolicyChanges = std::map<std::string, std::string>;

/** The section of the configuration that says who may use the unit. */
class Policy {
 public:
  /** The keys, without their section. */
  static const std::vector<std::string>& keys();

  /** Throws sim::Error, which says what is possible, for another key or value; then nothing is changed. */
  void change(const PolicyChanges& changes);
  /** The whole file. */
  [[nodiscard]] std::string fileText() const;
  /** The same for a person, in one line. */
  [[nodiscard]] std::string summary() const;

 private:
  std::map<std::string, std::string> values_;
};

}  // namespace demo
