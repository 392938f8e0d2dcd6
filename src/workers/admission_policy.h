#pragma once

/** Which generic devices may be used, as configured by the keys of configuration_keys.h. */
struct AdmissionPolicy {
  bool hidOnly = false;                // only devices whose every interface is HID
  bool blockMassStorage = false;       // no device with a mass-storage interface
  bool smartcard = false;              // no device with a smart-card interface
  bool isochronousEnabled = false;     // isochronous endpoints are allowed
  bool isochronousUserWarning = true;  // the user learns of a refusal for such endpoints
};

/** Reads the five keys from the configuration; one that is missing has the default above. */
AdmissionPolicy readAdmissionPolicy();
