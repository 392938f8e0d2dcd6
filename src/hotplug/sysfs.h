#pragma once

#include <string>

/*
 * Readers of sysfs attributes: small text files in a device's directory. `dir` and `name` are joined with "/"
 * as they are. What cannot be opened, read or looked for throws the exception of the failed call.
 */

/** The content of the file as it is: for binary attributes. */
std::string readBinaryAttribute(const std::string& dir, const std::string& name);

/** The content of the attribute less one newline at its end. */
std::string readAttribute(const std::string& dir, const std::string& name);

/** The hexadecimal number at the start of the attribute, or 0. Blanks and "0x" may precede it. */
unsigned long readHexAttribute(const std::string& dir, const std::string& name);

/** The attribute, or `fallback` when there is no such file, also when it goes while it is read. */
std::string readAttributeOr(const std::string& dir, const std::string& name, const std::string& fallback);

/** What a device without a text of its own is called. */
inline constexpr const char* unnamedDevice = "un-named device";

/** The name under which a user knows the device: its "product" attribute, or `unnamedDevice`. */
std::string readDeviceName(const std::string& devicePath);

/** Whether the device's "speed" attribute says high speed, 480 Mbit/s. */
bool isHighSpeedDevice(const std::string& devicePath);

/** Whether the last component of `path` begins with "hiddev": the node of a HID device. */
bool isHiddevPath(const std::string& path);
