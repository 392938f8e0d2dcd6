// How the far side is named.

#include "kernel/pair/travel.h"
#include "support/named_case.h"

namespace pair {
namespace {

struct Name : support::NamedCase {
  const char* host;
  const char* peer;  ///< the receiver's address, as the far side sees it
};

class AddressOfTheFarSide : public Travel, public testing::WithParamInterface<Name> {};

INSTANTIATE_TEST_SUITE_P(Names, AddressOfTheFarSide,
                         testing::ValuesIn(std::vector<Name>{{"Ipv4", "10.0.0.2", "10\\.0\\.0\\.1"},
                                                             {"Ipv6", "fd00::2", "fd00::1"},
                                                             {"HostName", "transmitter", "10\\.0\\.0\\.1"}}),
                         testing::PrintToStringParamName());

TEST_P(AddressOfTheFarSide, IsConnectedTo) {
  farProgram.start("--allow-any-peer");
  startUnit({.host = GetParam().host});
  desk.plug(guest::disk(), guest::highSpeedSocket(1));
  farProgram.waitForLine(std::string(" of ") + GetParam().peer + " .* is attached at port ");
  waitForDisk();
}

}  // namespace
}  // namespace pair
