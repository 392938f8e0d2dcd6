#pragma once

/*
 * The input of the fuzzer of the worker over USB/IP: a byte of switches, then all that the far side says before it falls
 * silent. Where the right proof stands in for bytes of the input, these are the 32 behind the greeting and one verdict.
 */

namespace fuzz {

/** The worker has keys. */
inline constexpr unsigned workerKeysSwitch = 1;
/** The far side's proof is the right one. */
inline constexpr unsigned rightProofSwitch = 2;

}  // namespace fuzz
