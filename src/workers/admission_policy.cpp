#include "workers/admission_policy.h"

#include "ctrl/configuration.h"

AdmissionPolicy readAdmissionPolicy() {
  const AdmissionPolicy defaults;
  return {
      .hidOnly = getConfigBool("usb:hid_only", defaults.hidOnly),
      .blockMassStorage = getConfigBool("usb:block_mass_storage", defaults.blockMassStorage),
      .smartcard = getConfigBool("usb:smartcard", defaults.smartcard),
      .isochronousEnabled = getConfigBool("usb:isochronous_enabled", defaults.isochronousEnabled),
      .isochronousUserWarning =
          getConfigBool("usb:isochronous_user_warning", defaults.isochronousUserWarning),
  };
}
