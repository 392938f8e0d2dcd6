#pragma once

/*
 * The input of the fuzzer of descriptors: a byte of these switches, then the content of a "descriptors" file.
 */

namespace fuzz {

inline constexpr unsigned hidOnlySwitch = 1;
inline constexpr unsigned blockMassStorageSwitch = 2;
inline constexpr unsigned smartcardSwitch = 4;
inline constexpr unsigned isochronousEnabledSwitch = 8;
inline constexpr unsigned isochronousUserWarningSwitch = 16;
inline constexpr unsigned fullSpeedLinkSwitch = 32;
inline constexpr unsigned highSpeedDeviceSwitch = 64;

}  // namespace fuzz
