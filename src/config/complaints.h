#pragma once

#include <cstdio>

/** Takes one complaint of iniparser: its text with the newline at its end. It must not throw. */
using ConfigReporter = void (*)(const char* complaint);

/** Prints the complaint to standard error. */
inline void configPrintComplaint(const char* complaint) {
  std::fputs(complaint, stderr);
}
