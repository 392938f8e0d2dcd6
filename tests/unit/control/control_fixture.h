#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "control/control_requests.h"
#include "support/control_client.h"
#include "support/test_ctrl.h"

/** The daemon's state, which knows no Transmitter yet: port 0. */
class ControlRequests : public testing::Test {
 protected:
  ControlRequests() { ctrl_->port = 0; }

  [[nodiscard]] support::ControlClient connect() const { return support::ControlClient(ctrl_->socketPath); }
  /** A client that says `message`. */
  [[nodiscard]] support::ControlClient connectSaying(std::string_view message) const {
    support::ControlClient client = connect();
    client.send(message);
    return client;
  }
  /** A client that says `message`, is served, and is to be kept; its descriptor is in `served_` then. */
  support::ControlClient deliver(std::string_view message) {
    support::ControlClient client = connectSaying(message);
    served_ = serveControlClient(*ctrl_);
    return client;
  }
  /** A client that asks for the parameters and is served. */
  support::ControlClient ask(std::string_view query = "?") {
    support::ControlClient client = deliver(query);
    EXPECT_EQ(served_, 0);
    return client;
  }

  support::TestCtrl ctrl_;
  int served_ = -1;
};
