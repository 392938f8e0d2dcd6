#include "examples/usbip/transmitter/peer_address.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>

#include <cstring>
#include <string>

namespace {

using usbip::PeerAddress;

template <class Address>
PeerAddress peerOf(const Address& address) {
  sockaddr_storage storage{};
  std::memcpy(&storage, &address, sizeof address);
  return usbip::peerAddressOf(storage);
}

PeerAddress ipv4(const char* text) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  EXPECT_EQ(inet_pton(AF_INET, text, &address.sin_addr), 1);
  return peerOf(address);
}

PeerAddress ipv6(const char* text, unsigned interface = 0) {
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_scope_id = interface;
  EXPECT_EQ(inet_pton(AF_INET6, text, &address.sin6_addr), 1);
  return peerOf(address);
}

TEST(PeerAddress, IsLocalInAllOfTheLoopbackNetwork) {
  for (const char* text : {"127.0.0.1", "127.0.0.0", "127.255.255.255", "127.1.2.3"}) {
    EXPECT_TRUE(ipv4(text).isLocal) << text;
    EXPECT_TRUE(ipv6((std::string("::ffff:") + text).c_str()).isLocal) << text;
  }
  EXPECT_TRUE(ipv6("::1").isLocal);
}

TEST(PeerAddress, IsNotLocalElsewhere) {
  for (const char* text :
       {"126.255.255.255", "128.0.0.0", "192.0.2.7", "0.0.0.0", "255.255.255.255", "10.127.0.1"}) {
    EXPECT_FALSE(ipv4(text).isLocal) << text;
    EXPECT_FALSE(ipv6((std::string("::ffff:") + text).c_str()).isLocal) << text;
  }
  for (const char* text : {"::", "::2", "::127.0.0.1", "1::1", "fe80::1", "2001:db8::7", "7f00::1"}) {
    EXPECT_FALSE(ipv6(text).isLocal) << text;
  }
}

TEST(PeerAddress, IsWrittenInNumbers) {
  EXPECT_EQ(ipv4("192.0.2.7").text, "192.0.2.7");
  EXPECT_EQ(ipv6("2001:db8::7").text, "2001:db8::7");
}

TEST(PeerAddress, OfIpv4IsWrittenAsSuchWhenASocketOfIpv6ShowsIt) {
  EXPECT_EQ(ipv6("::ffff:192.0.2.7").text, "192.0.2.7");
}

TEST(PeerAddress, OfALinkNamesItsInterfaceOrItsNumber) {
  const unsigned loopback = ::if_nametoindex("lo");
  ASSERT_NE(loopback, 0U);
  EXPECT_EQ(ipv6("fe80::7", loopback).text, "fe80::7%lo");
  EXPECT_EQ(ipv6("fe80::7", 4'000'000).text, "fe80::7%4000000");
}

TEST(PeerAddress, OfAnUnknownFamilyIsNotLocal) {
  sockaddr_storage storage{};
  storage.ss_family = AF_UNIX;
  EXPECT_EQ(usbip::peerAddressOf(storage).text, "an unknown address");
  EXPECT_FALSE(usbip::peerAddressOf(storage).isLocal);
}

}  // namespace
