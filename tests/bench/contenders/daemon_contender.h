#pragma once

#include <string>
#include <utility>
#include <vector>

#include "bench/contender.h"

namespace bench {

/** The daemon with its default settings, by which it finds the worker in PATH. */
class DaemonContender : public Contender {
 public:
  DaemonContender(std::string name, std::string program)
      : name_(std::move(name)), program_(std::move(program)) {}

  [[nodiscard]] std::string name() const override { return name_; }
  [[nodiscard]] Origin origin() const override { return Origin::project; }
  [[nodiscard]] bool isHeldToBounds() const override { return true; }
  [[nodiscard]] std::string program() const override { return program_; }
  [[nodiscard]] std::optional<std::string> obstacle() const override;
  void configure(const std::string& worker) const override;
  [[nodiscard]] std::vector<std::string> command(const std::string& /*worker*/,
                                                 const std::vector<std::string>& /*devices*/) const override {
    return {program_, "transmitter", "5000", "high"};
  }
  /** The link manager, which has delivered link parameters. */
  [[nodiscard]] std::shared_ptr<void> connectClients() const override;

 private:
  std::string name_;
  std::string program_;
};

}  // namespace bench
