#pragma once

#include <array>

/*
 * The configuration of the unit as far as the daemon reads it: the file, and every key in it.
 */

inline constexpr const char* configurationPath = "/vel/quor.conf";

namespace configuration_key {
inline constexpr const char* debug = "usb:debug";
inline constexpr const char* classes = "usb:classes";
inline constexpr const char* logToSyslog = "usb:log_to_syslog";
inline constexpr const char* connectFailTimeout = "usb:connect_fail_timeout";
inline constexpr const char* hidOnly = "usb:hid_only";
inline constexpr const char* blockMassStorage = "usb:block_mass_storage";
inline constexpr const char* smartcard = "usb:smartcard";
inline constexpr const char* isochronousEnabled = "usb:isochronous_enabled";
inline constexpr const char* isochronousUserWarning = "usb:isochronous_user_warning";
inline constexpr const char* genericProgram = "apps:quor_usb_rx_generic";
}  // namespace configuration_key

/** What the text of a key is meant to be. */
enum class KeyReading {
  debugList,  // words of `debugWords`
  classList,  // words of `classWords`
  presence,   // switched on by being there, with any text
  seconds,    // a whole number
  flag,       // yes or no, by the first character
  program,    // a file name, found through PATH
};

struct ConfigurationKey {
  const char* name;
  KeyReading reading;
};

/** Every key that the daemon reads. */
inline constexpr std::array<ConfigurationKey, 10> configurationKeys{{
    {configuration_key::debug, KeyReading::debugList},
    {configuration_key::classes, KeyReading::classList},
    {configuration_key::logToSyslog, KeyReading::presence},
    {configuration_key::connectFailTimeout, KeyReading::seconds},
    {configuration_key::hidOnly, KeyReading::flag},
    {configuration_key::blockMassStorage, KeyReading::flag},
    {configuration_key::smartcard, KeyReading::flag},
    {configuration_key::isochronousEnabled, KeyReading::flag},
    {configuration_key::isochronousUserWarning, KeyReading::flag},
    {configuration_key::genericProgram, KeyReading::program},
}};
