#pragma once

#include <array>
#include <csignal>
#include <string_view>

/** What the command line and the configuration switch on at start-up. Written only then. */
struct Settings {
  bool logToSyslog = false;    // messages go to syslog, not to standard error
  bool debugCtrl = false;      // the daemon's own debug messages
  bool debugGeneric = false;   // "--debug" for usb_rx_generic workers
  bool debugKeyboard = false;  // "--debug" for usb_rx_keyboard workers
  bool debugScsi = false;      // "--debug" for usb_rx_scsi workers
};

extern Settings settings;

/** A word of a debug list, and the setting that it switches on: null for a word that switches nothing. */
struct DebugWord {
  std::string_view word;
  bool Settings::*setting;
};

/** The words of `--debug=` and of the configuration. */
inline constexpr std::array<DebugWord, 5> debugWords{{
    {"none", nullptr},
    {"ctrl", &Settings::debugCtrl},
    {"generic", &Settings::debugGeneric},
    {"keyboard", &Settings::debugKeyboard},
    {"scsi", &Settings::debugScsi},
}};

/** Set by SIGHUP; the next admission check clears it and reads the policy anew. */
extern volatile std::sig_atomic_t policyReloadRequested;
