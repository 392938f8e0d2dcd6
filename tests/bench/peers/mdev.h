#pragma once

#include "bench/peers/peer.h"

namespace bench {

/** BusyBox's mdev as a daemon. */
class Mdev : public Peer {
 public:
  Mdev();

  [[nodiscard]] std::string name() const override { return "mdev"; }
  /** A BusyBox may have been built without mdev, or with one that does not listen. */
  [[nodiscard]] std::optional<std::string> obstacle() const override;
  void configure(const std::string& worker) const override;
  [[nodiscard]] std::vector<std::string> command(const std::string& worker,
                                                 const std::vector<std::string>& devices) const override;
  /** It waits for the end of each before it looks at the next event. */
  [[nodiscard]] bool keepsWorkers() const override { return false; }
};

}  // namespace bench
