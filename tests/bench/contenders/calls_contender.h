#pragma once

#include <string>
#include <utility>
#include <vector>

#include "bench/contender.h"

namespace bench {

/** Makes the system calls that handling a device needs, and does nothing else. */
class CallsContender : public Contender {
 public:
  explicit CallsContender(std::string program) : program_(std::move(program)) {}

  [[nodiscard]] std::string name() const override { return "calls"; }
  [[nodiscard]] Origin origin() const override { return Origin::project; }
  [[nodiscard]] std::string program() const override { return program_; }
  [[nodiscard]] std::vector<std::string> command(const std::string& worker,
                                                 const std::vector<std::string>& /*devices*/) const override {
    return {program_, worker};
  }

 private:
  std::string program_;
};

}  // namespace bench
