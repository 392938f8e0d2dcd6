#pragma once

/*
 * The input of the fuzzer of usb_rx_explain: a byte of the switches of descriptors_input.h, a byte of these, the
 * content of "bDeviceClass" and of "product", each behind its length, and then the content of "descriptors".
 */

namespace fuzz {

inline constexpr unsigned explainKeyboardsSwitch = 1;
inline constexpr unsigned explainStorageSwitch = 2;
inline constexpr unsigned unnamedSwitch = 4;  ///< there is no "product"

}  // namespace fuzz
