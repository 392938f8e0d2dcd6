#include "unit/workers/admission_fixture.h"

namespace {

using Lines = std::vector<std::string>;

const Lines nothing;

class SmartcardRule : public Admission {
 protected:
  SmartcardRule() { ctrl_->policy.smartcard = true; }
};

class HidOnlyRule : public Admission {
 protected:
  HidOnlyRule() { ctrl_->policy.hidOnly = true; }
};

class MassStorageRule : public Admission {
 protected:
  MassStorageRule() { ctrl_->policy.blockMassStorage = true; }
};

TEST_F(SmartcardRule, RefusesADeviceWithASmartCardInterface) {
  plug(interface(smartCard));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"Thinglocal smartcard security\n"});
}

TEST_F(SmartcardRule, RefusesADeviceOfWhichAnyInterfaceIsOne) {
  plug(interface(hid) + sim::endpoint(bulk) + interface(vendor) + interface(smartCard));
  EXPECT_FALSE(check());
}

TEST_F(SmartcardRule, AdmitsAnyOtherDevice) {
  plug(interface(massStorage) + interface(vendor));
  EXPECT_TRUE(check());
  EXPECT_EQ(ctrl_.shown(), nothing);
}

TEST_F(SmartcardRule, LooksAtInterfacesOnly) {
  device_.write("descriptors",
                sim::deviceDescriptor(smartCard) + sim::configuration(sim::endpoint(bulk, smartCard)));
  EXPECT_TRUE(check());
}

TEST_F(HidOnlyRule, RefusesADeviceWithAnInterfaceOfAnyOtherClass) {
  plug(interface(vendor));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"Thing is not supported because it has non-HID endpoints\n"});
}

TEST_F(HidOnlyRule, RefusesADeviceThatIsAlsoHid) {
  plug(interface(hid) + interface(vendor));
  EXPECT_FALSE(check());
  plug(interface(vendor) + interface(hid));
  EXPECT_FALSE(check());
}

TEST_F(HidOnlyRule, AdmitsADeviceWhoseEveryInterfaceIsHid) {
  plug(interface(hid));
  EXPECT_TRUE(check());
  plug(interface(hid) + sim::endpoint(bulk) + interface(hid));
  EXPECT_TRUE(check());
  EXPECT_EQ(ctrl_.shown(), nothing);
}

TEST_F(HidOnlyRule, AdmitsADeviceWithoutInterfaces) {
  plug("");
  EXPECT_TRUE(check());
}

TEST_F(MassStorageRule, RefusesADeviceWithAMassStorageInterface) {
  plug(interface(hid) + interface(massStorage));
  EXPECT_FALSE(check());
  EXPECT_EQ(ctrl_.shown(), Lines{"Thing configuration blocked due to mass storage capability\n"});
}

TEST_F(MassStorageRule, AdmitsAnyOtherDevice) {
  plug(interface(smartCard) + interface(vendor) + interface(hid));
  EXPECT_TRUE(check());
  EXPECT_EQ(ctrl_.shown(), nothing);
}

}  // namespace
