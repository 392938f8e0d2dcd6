#pragma once

#include <csignal>

/** What the command line and the configuration switch on at start-up. Written only then. */
struct Settings {
  bool logToSyslog = false;    // messages go to syslog, not to standard error
  bool debugCtrl = false;      // the daemon's own debug messages
  bool debugGeneric = false;   // "--debug" for usb_rx_generic workers
  bool debugKeyboard = false;  // "--debug" for usb_rx_keyboard workers
  bool debugScsi = false;      // "--debug" for usb_rx_scsi workers
};

extern Settings settings;

/** Set by SIGHUP; the next admission check clears it and reads the policy anew. */
extern volatile std::sig_atomic_t policyReloadRequested;
