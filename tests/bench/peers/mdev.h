#pragma once

#include "bench/peers/peer.h"

namespace bench {

/** BusyBox's mdev, which listens itself (Linux does not start it for each event any more). */
class Mdev : public Peer {
 public:
  Mdev();

  [[nodiscard]] std::string name() const override { return "mdev"; }
  void configure(const std::string& worker) const override;
  [[nodiscard]] std::vector<std::string> command(const std::string& worker,
                                                 const std::vector<std::string>& devices) const override;
  /** It waits for the end of each before it looks at the next event. */
  [[nodiscard]] bool keepsWorkers() const override { return false; }
};

}  // namespace bench
