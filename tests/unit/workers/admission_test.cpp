#include "ctrl/settings.h"
#include "support/output.h"
#include "support/thrown.h"
#include "unit/workers/admission_fixture.h"

namespace {

using Lines = std::vector<std::string>;

const Lines nothing;

TEST_F(Admission, OfAnyDeviceWithoutIsochronousEndpointsIsTheDefault) {
  for (const std::uint8_t interfaceClass : {hid, massStorage, smartCard, vendor}) {
    plug(interface(interfaceClass) + sim::endpoint(bulk));
    EXPECT_TRUE(check()) << int{interfaceClass};
  }
  plug("");
  EXPECT_TRUE(check());
  EXPECT_EQ(ctrl_.shown(), nothing);
}

TEST_F(Admission, IsRefusedByTheFirstRuleThatApplies) {
  ctrl_->policy = {.hidOnly = true,
                   .blockMassStorage = true,
                   .smartcard = true,
                   .isochronousEnabled = false,
                   .isochronousUserWarning = true};
  ctrl_->speed = "full";
  plug(interface(smartCard) + interface(massStorage) + sim::endpoint(isochronous));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"Thinglocal smartcard security\n"});
  ctrl_->policy.smartcard = false;
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"Thing is not supported because it has non-HID endpoints\n"});
  ctrl_->policy.hidOnly = false;
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"Thing configuration blocked due to mass storage capability\n"});
  ctrl_->policy.blockMassStorage = false;
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"Thing is not supported because it has isochronous endpoints\n"});
  ctrl_->policy.isochronousEnabled = true;
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"High speed Thing is not supported on a full speed only port\n"});
}

TEST_F(Admission, OfADeviceRefusedEarlierIsNotDebuggedFurther) {
  settings.debugCtrl = true;
  ctrl_->policy.hidOnly = true;
  plug(interface(vendor) + sim::endpoint(isochronous));
  const support::CapturedStandardError captured;
  EXPECT_FALSE(check());
  EXPECT_EQ(captured.messages(), nothing);
}

TEST_F(Admission, TellsOfADeviceWithoutAName) {
  remove("product");
  ctrl_->speed = "full";
  plug(interface(vendor));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"High speed un-named device is not supported on a full speed only port\n"});
}

TEST_F(Admission, IsRefusedAlsoWithoutADisplay) {
  support::TestCtrl blind;
  blind->osd.isOpen = false;
  plug(sim::endpoint(isochronous));
  EXPECT_FALSE(checkAdmission(*blind, device_.path()));
  blind->osd.isOpen = true;
  EXPECT_EQ(blind.shown(), nothing);
}

TEST_F(Admission, ThrowsWhereTheDescriptorsCannotBeRead) {
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>([this] { (void)check(); }),
            "open(\"" + device_.path() + "/descriptors\")");
  EXPECT_EQ(ctrl_.shown(), nothing);
}

TEST_F(Admission, SeesNothingBehindADescriptorOfNoLength) {
  ctrl_->policy.blockMassStorage = true;
  plug(interface(hid) + sim::bytes({0, 2}) + interface(massStorage) + sim::endpoint(isochronous));
  EXPECT_TRUE(check());
}

TEST_F(Admission, SeesADescriptorCutShortBehindTheFieldInQuestion) {
  ctrl_->policy.blockMassStorage = true;
  plug(interface(massStorage).substr(0, 6));
  EXPECT_FALSE(check());
  plug(interface(massStorage).substr(0, 5));
  EXPECT_TRUE(check());
  plug(sim::endpoint(isochronous).substr(0, 4));
  EXPECT_FALSE(check());
  plug(sim::endpoint(isochronous).substr(0, 3));
  EXPECT_TRUE(check());
}

}  // namespace
