#pragma once

#include <cstdint>

#include "fuzz/input.h"
#include "fuzz/made_up_devices.h"

/*
 * The input of the fuzzer of uevents: two bytes of switches, then steps. A step is a byte, modulo their number, and
 * what it needs: the number of an attribute, a text.
 */

namespace fuzz {

/** The first byte of switches; the second holds those of the policy, as for descriptors. */
inline constexpr unsigned keyboardClassSwitch = 1;
inline constexpr unsigned storageClassSwitch = 2;
inline constexpr unsigned attachBlockedSwitch = 4;
inline constexpr unsigned connectedSwitch = 8;
inline constexpr unsigned debugSwitch = 16;
inline constexpr unsigned keysSwitch = 32;
inline constexpr unsigned workerDebugSwitch = 64;
inline constexpr unsigned otherSocketSwitch = 128;

enum class Step : std::uint8_t {
  write,           // attribute, content
  writeLater,      // attribute, content: it is there after the next wait
  makeUnreadable,  // attribute
  remove,          // attribute
  announce,        // datagram: it is handled
  endWorker,       // the worker of the lowest process id is forgotten
  failLaunch,      // no child can be created for the next worker
  configure,       // configuration: the policy is read from it before the next generic device
};

inline constexpr unsigned stepCount = 8;

}  // namespace fuzz
