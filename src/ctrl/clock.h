#pragma once

/** Wall-clock time in seconds since the epoch, with microseconds. */
double timestampNow();
