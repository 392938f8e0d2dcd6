#pragma once

/** Which generic devices may be used, as configured by the keys named below. */
struct AdmissionPolicy {
  bool hidOnly = false;                // "usb:hid_only": only devices whose every interface is HID
  bool blockMassStorage = false;       // "usb:block_mass_storage": no device with a mass-storage interface
  bool smartcard = false;              // "usb:smartcard": no device with a smart-card interface
  bool isochronousEnabled = false;     // "usb:isochronous_enabled": isochronous endpoints are allowed
  bool isochronousUserWarning = true;  // "usb:isochronous_user_warning": tell of a refusal for such endpoints
};

/** Reads the five keys from the configuration; one that is missing has the default above. */
AdmissionPolicy readAdmissionPolicy();
