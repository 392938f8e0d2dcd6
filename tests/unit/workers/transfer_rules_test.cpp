#include <initializer_list>

#include "ctrl/settings.h"
#include "support/output.h"
#include "support/thrown.h"
#include "unit/workers/admission_fixture.h"

namespace {

using Lines = std::vector<std::string>;

const Lines nothing;

using IsochronousRule = Admission;

class SpeedRule : public Admission {
 protected:
  SpeedRule() {
    ctrl_->speed = "full";
    plug(interface(vendor));
  }
};

TEST_F(IsochronousRule, RefusesADeviceWithAnIsochronousEndpoint) {
  plug(interface(vendor) + sim::endpoint(bulk) + sim::endpoint(isochronous));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"Thing is not supported because it has isochronous endpoints\n"});
}

TEST_F(IsochronousRule, LooksAtTheTransferTypeAlone) {
  for (const std::uint8_t attributes : std::initializer_list<std::uint8_t>{0x01, 0x05, 0x0D, 0x11, 0xFD}) {
    plug(sim::endpoint(attributes));
    EXPECT_FALSE(check()) << int{attributes};
  }
  for (const std::uint8_t attributes :
       std::initializer_list<std::uint8_t>{0x00, 0x02, 0x03, 0x04, 0xFC, 0xFF}) {
    plug(sim::endpoint(attributes));
    EXPECT_TRUE(check()) << int{attributes};
  }
}

TEST_F(IsochronousRule, LooksAtEndpointsOnly) {
  plug(sim::bytes({9, 4, 0, isochronous, 1, vendor, 0, 0, 0}));
  EXPECT_TRUE(check());
}

TEST_F(IsochronousRule, TakesOversizedEndpoints) {
  plug(sim::bytes({9, 5, 1, isochronous, 192, 0, 1, 0, 0}));
  EXPECT_FALSE(check());
}

TEST_F(IsochronousRule, AdmitsWithoutLookingWhereSuchEndpointsAreEnabled) {
  ctrl_->policy.isochronousEnabled = true;
  settings.debugCtrl = true;
  remove("descriptors");
  const support::CapturedStandardError captured;
  EXPECT_TRUE(check());
  EXPECT_EQ(captured.messages(), nothing);
}

TEST_F(IsochronousRule, RefusesSilentlyWithoutTheWarning) {
  ctrl_->policy.isochronousUserWarning = false;
  plug(sim::endpoint(isochronous));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), nothing);
}

TEST_F(IsochronousRule, WithoutTheWarningStillLetsTheSpeedRuleSpeak) {
  ctrl_->policy.isochronousUserWarning = false;
  ctrl_->speed = "full";
  plug(sim::endpoint(isochronous));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"High speed Thing is not supported on a full speed only port\n"});
  device_.write("speed", "12\n");
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), nothing);
}

TEST_F(IsochronousRule, WithoutTheWarningAdmitsADeviceWithoutSuchEndpoints) {
  ctrl_->policy.isochronousUserWarning = false;
  plug(sim::endpoint(bulk));
  EXPECT_TRUE(check());
}

TEST_F(IsochronousRule, TellsItsFindingsWithDebugging) {
  settings.debugCtrl = true;
  const support::CapturedStandardError captured;
  plug(sim::endpoint(isochronous));
  EXPECT_FALSE(check());
  EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl] Isochronous endpoint found - device not supported"});
  plug(sim::endpoint(bulk));
  EXPECT_TRUE(check());
  EXPECT_EQ(captured.messages(), Lines{"[rx_ctrl]   no iso endpoints found, this is supported."});
}

TEST_F(IsochronousRule, TellsNothingWithoutDebugging) {
  const support::CapturedStandardError captured;
  plug(sim::endpoint(isochronous));
  EXPECT_FALSE(check());
  EXPECT_EQ(captured.messages(), nothing);
}

TEST_F(SpeedRule, RefusesAHighSpeedDeviceOnAFullSpeedLink) {
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"High speed Thing is not supported on a full speed only port\n"});
}

TEST_F(SpeedRule, AdmitsADeviceOfAnyOtherSpeed) {
  for (const char* speed : {"1.5\n", "12\n", "5000\n", "480 \n", "\n"}) {
    device_.write("speed", speed);
    EXPECT_TRUE(check()) << speed;
  }
  EXPECT_EQ(ctrl_.shown(), nothing);
}

TEST_F(SpeedRule, AdmitsAHighSpeedDeviceOnAnyOtherLink) {
  for (const char* speed : {"high", "Full", "full ", "", "480"}) {
    ctrl_->speed = speed;
    EXPECT_TRUE(check()) << speed;
  }
  EXPECT_EQ(ctrl_.shown(), nothing);
}

TEST_F(SpeedRule, AsksForTheSpeedOnAFullSpeedLinkOnly) {
  remove("speed");
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)check(); }),
            "open(\"" + device_.path() + "/speed\")");
  ctrl_->speed = "high";
  EXPECT_TRUE(check());
}

}  // namespace
