#include "ctrl/settings.h"

Settings settings;

volatile std::sig_atomic_t policyReloadRequested = 0;
