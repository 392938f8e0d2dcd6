#pragma once

#include <string>
#include <utility>
#include <vector>

#include "bench/contender.h"

namespace bench {

/** The least that a program can do: receive, fork, exec. It knows the devices that are there at its start already. */
class BareContender : public Contender {
 public:
  explicit BareContender(std::string program) : program_(std::move(program)) {}

  [[nodiscard]] std::string name() const override { return "bare"; }
  [[nodiscard]] Origin origin() const override { return Origin::project; }
  [[nodiscard]] std::string program() const override { return program_; }
  /** The devices are numbered from 1; so their count says which they are. */
  [[nodiscard]] std::vector<std::string> command(const std::string& worker,
                                                 const std::vector<std::string>& devices) const override;

 private:
  std::string program_;
};

}  // namespace bench
