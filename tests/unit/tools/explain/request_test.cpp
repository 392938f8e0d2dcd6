#include "tools/explain/request.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/named_case.h"
#include "tools/explain/error.h"

namespace {

using explain::Request;
using Words = std::vector<std::string>;

Request parsed(Words words) {
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  return explain::parseRequest(arguments);
}

TEST(Request, HasTheDaemonsDefaultsAndNoDevice) {
  const Request request = parsed({});
  EXPECT_EQ(request.configuration, "/vel/quor.conf");
  EXPECT_EQ(request.classList, std::nullopt);
  EXPECT_EQ(request.linkSpeed, "high");
  EXPECT_EQ(request.deviceSpeed, "");
  EXPECT_EQ(request.interface, "eth1");
  EXPECT_FALSE(request.transmitter);
  EXPECT_FALSE(request.json);
  EXPECT_EQ(request.answer, Request::Answer::explanations);
  EXPECT_TRUE(request.devices.empty());
}

void expectAllOptions(const Request& request) {
  EXPECT_EQ(request.configuration, "a.conf");
  EXPECT_EQ(request.classList, "keyboard,scsi");
  EXPECT_EQ(request.linkSpeed, "full");
  EXPECT_EQ(request.deviceSpeed, "1.5");
  EXPECT_EQ(request.interface, "eth0");
  ASSERT_TRUE(request.transmitter);
  EXPECT_EQ(request.transmitter->hostname, "fe80::1");
  EXPECT_EQ(request.transmitter->port, 7000);
  EXPECT_TRUE(request.json);
  EXPECT_EQ(request.devices, (Words{"1-1", "usb1"}));
}

TEST(Request, TakesValuesBehindAnEqualsSign) {
  expectAllOptions(
      parsed({"--config=a.conf", "1-1", "--class=keyboard,scsi", "--speed=full", "--device-speed=1.5",
              "--intf=eth0", "--transmitter=fe80::1:7000", "--json", "usb1"}));
}

TEST(Request, TakesValuesAsWordsOfTheirOwn) {
  expectAllOptions(
      parsed({"--config", "a.conf", "--class", "keyboard,scsi", "--speed", "full", "--device-speed", "1.5",
              "--intf", "eth0", "--transmitter", "fe80::1:7000", "--json", "1-1", "usb1"}));
}

TEST(Request, TakesEverythingBehindTwoDashesForADevice) {
  EXPECT_EQ(parsed({"--", "--json", "-"}).devices, (Words{"--json", "-"}));
}

TEST(Request, AsksForHelpOrTheVersion) {
  EXPECT_EQ(parsed({"--help"}).answer, Request::Answer::help);
  EXPECT_EQ(parsed({"--version"}).answer, Request::Answer::version);
}

struct BadRequest : support::NamedCase {
  Words words;
  std::string fault;
};

class RequestRefused : public testing::TestWithParam<BadRequest> {};

INSTANTIATE_TEST_SUITE_P(
    For, RequestRefused,
    testing::Values(
        BadRequest{{"UnknownOption"}, {"--jsonn"}, "unknown option: --jsonn (see --help)"},
        BadRequest{{"ShortOption"}, {"-h"}, "unknown option: -h (see --help)"},
        BadRequest{{"SingleDash"}, {"-"}, "unknown option: - (see --help)"},
        BadRequest{{"ValueForAFlag"}, {"--json=1"}, "unknown option: --json=1 (see --help)"},
        BadRequest{{"MissingValue"}, {"--config"}, "--config: its value is missing"},
        BadRequest{{"EmptyDevice"}, {""}, "a DEVICE is empty"},
        BadRequest{
            {"UnknownClass"}, {"--class=scsi,hid"}, "--class: not one of none, keyboard, scsi, all: hid"},
        BadRequest{{"EmptyClass"}, {"--class=,scsi"}, "--class: not one of none, keyboard, scsi, all: "},
        BadRequest{{"UnknownDeviceSpeed"},
                   {"--device-speed=high"},
                   "--device-speed: not one of 1.5, 12, 480, 5000: high"},
        BadRequest{{"NoPort"}, {"--transmitter=unit"}, "--transmitter: not HOST:PORT: unit"},
        BadRequest{{"NoHost"}, {"--transmitter=:7000"}, "--transmitter: not HOST:PORT: :7000"},
        BadRequest{{"PortInWords"}, {"--transmitter=unit:http"}, "--transmitter: no port number: unit:http"},
        BadRequest{
            {"PortTooHigh"}, {"--transmitter=unit:65536"}, "--transmitter: no port number: unit:65536"},
        BadRequest{{"PortWithMore"}, {"--transmitter=unit:70x"}, "--transmitter: no port number: unit:70x"}));

TEST_P(RequestRefused, SaysWhy) {
  try {
    static_cast<void>(parsed(GetParam().words));
    FAIL() << "it was taken";
  } catch (const explain::Error& error) {
    EXPECT_EQ(error.what(), GetParam().fault);
  }
}

}  // namespace
