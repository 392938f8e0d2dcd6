#pragma once

#include "bench/peers/peer.h"

namespace bench {

/** The udevd of systemd. */
class Udevd : public Peer {
 public:
  Udevd();

  [[nodiscard]] std::string name() const override { return "udevd"; }
  void configure(const std::string& worker) const override;
  [[nodiscard]] std::vector<std::string> command(const std::string& worker,
                                                 const std::vector<std::string>& devices) const override;
  /** A rule's program that rests keeps one of its few processes, and is ended after three minutes. */
  [[nodiscard]] bool keepsWorkers() const override { return false; }
};

}  // namespace bench
