#pragma once

#include "bench/peers/peer.h"

namespace bench {

/** The mdevd of skarnet.org. */
class Mdevd : public Peer {
 public:
  Mdevd();

  [[nodiscard]] std::string name() const override { return "mdevd"; }
  void configure(const std::string& worker) const override;
  [[nodiscard]] std::vector<std::string> command(const std::string& worker,
                                                 const std::vector<std::string>& devices) const override;
  /** It waits for the end of each before it looks at the next event. */
  [[nodiscard]] bool keepsWorkers() const override { return false; }
};

}  // namespace bench
