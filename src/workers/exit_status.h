#pragma once

/*
 * What a worker's exit status means. Every other one, and an end by a signal, is a failure.
 */

/** The worker's program could not be executed: set by the child itself. */
inline constexpr int execFailedStatus = 42;

/** The device cannot be configured, typically behind a hub. */
inline constexpr int cannotConfigureStatus = 5;

/** The worker was started with a time to wait for the Transmitter, and has waited so long. */
inline constexpr int connectTimeoutStatus = 28;
