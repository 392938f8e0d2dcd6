#include "examples/usbip/exchange/proofs.h"

#include <sodium.h>

#include <string_view>

#include "ulx/exceptions.h"

namespace usbip {
namespace {

static_assert(std::tuple_size_v<Proof> == crypto_auth_hmacsha256_BYTES);

// Each end's proof is of its own name, so that nobody can send a proof back to where it came from.
constexpr std::string_view workersName = "usb_rx_usbip";
constexpr std::string_view farSidesName = "usb_tx_usbip";

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

Proof proof(std::string_view name, const std::string& key, const GreetingBytes& worker,
            const GreetingBytes& farSide) {
  crypto_auth_hmacsha256_state state;
  crypto_auth_hmacsha256_init(&state, bytesOf(key), key.size());
  crypto_auth_hmacsha256_update(&state, bytesOf(name), name.size());
  crypto_auth_hmacsha256_update(&state, worker.data(), worker.size());
  crypto_auth_hmacsha256_update(&state, farSide.data(), farSide.size());
  Proof result;
  crypto_auth_hmacsha256_final(&state, result.data());
  return result;
}

}  // namespace

Challenge freshChallenge() {
  if (sodium_init() < 0) {
    throw ulx::StrException("there are no random bytes on this system");
  }
  Challenge challenge;
  randombytes_buf(challenge.data(), challenge.size());
  return challenge;
}

Proof workersProof(const Keys& keys, const GreetingBytes& worker, const GreetingBytes& farSide) {
  return proof(workersName, keys.out, worker, farSide);
}

Proof farSidesProof(const Keys& keys, const GreetingBytes& worker, const GreetingBytes& farSide) {
  return proof(farSidesName, keys.in, worker, farSide);
}

bool areSame(const Proof& one, const Proof& other) {
  return sodium_memcmp(one.data(), other.data(), one.size()) == 0;
}

}  // namespace usbip
