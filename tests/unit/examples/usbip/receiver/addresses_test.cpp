#include "examples/usbip/receiver/addresses.h"

#include <gtest/gtest.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill is POSIX's
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "examples/usbip/receiver/termination.h"
#include "support/thrown.h"
#include "ulx/exceptions.h"
#include "unit/examples/usbip/receiver/private_network.h"

namespace {

using Texts = std::vector<std::string>;

class AddressesOfHost : public testing::Test {
 protected:
  [[nodiscard]] Texts textsOf(const std::string& host, const std::string& port) const {
    Texts texts;
    for (const usbip::Address& address : usbip::addressesOf(host, port, termination)) {
      texts.push_back(address.text);
    }
    std::ranges::sort(texts);
    return texts;
  }

  PrivateNetwork network;
  usbip::Termination termination;
};

TEST_F(AddressesOfHost, AreItselfWhereItIsAnAddress) {
  EXPECT_EQ(textsOf("192.0.2.1", "5000"), Texts{"192.0.2.1 port 5000"});
  EXPECT_EQ(textsOf("2001:db8::1", "1"), Texts{"2001:db8::1 port 1"});
}

TEST_F(AddressesOfHost, MayHaveAnInterface) {
  EXPECT_EQ(textsOf("fe80::1%lo", "5000"), Texts{"fe80::1%lo port 5000"});
}

TEST_F(AddressesOfHost, AreAllThatItsNameHas) {
  PrivateNetwork::setHosts("192.0.2.1 transmitter\n2001:db8::1 transmitter\n192.0.2.2 another\n");
  EXPECT_EQ(textsOf("transmitter", "5000"), (Texts{"192.0.2.1 port 5000", "2001:db8::1 port 5000"}));
}

TEST_F(AddressesOfHost, AreMissingOfANameThatNobodyKnows) {
  EXPECT_EQ(support::caught<ulx::StrException>([this] {
              static_cast<void>(textsOf("transmitter", "5000"));
            }).message,
            "Name or service not known");
}

TEST_F(AddressesOfHost, AreMissingWhereThereIsNoName) {
  EXPECT_EQ(support::caught<ulx::StrException>([this] { static_cast<void>(textsOf("", "5000")); }).message,
            "Name or service not known");
}

// A lookup may take long, and the worker has taken nothing yet.
TEST_F(AddressesOfHost, AreNotLookedUpFurtherWhenTheProgramIsAskedToEnd) {
  EXPECT_EXIT(
      {
        ::kill(::getpid(), SIGTERM);
        static_cast<void>(textsOf("192.0.2.1", "5000"));
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
