#include "workers/admission_policy.h"

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"

AdmissionPolicy readAdmissionPolicy() {
  const AdmissionPolicy defaults;
  return {
      .hidOnly = getConfigBool(configuration_key::hidOnly, defaults.hidOnly),
      .blockMassStorage = getConfigBool(configuration_key::blockMassStorage, defaults.blockMassStorage),
      .smartcard = getConfigBool(configuration_key::smartcard, defaults.smartcard),
      .isochronousEnabled = getConfigBool(configuration_key::isochronousEnabled, defaults.isochronousEnabled),
      .isochronousUserWarning =
          getConfigBool(configuration_key::isochronousUserWarning, defaults.isochronousUserWarning),
  };
}
