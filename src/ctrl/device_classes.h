#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/*
 * The class mask: a bit for each class of devices that has a worker of its own.
 */

inline constexpr std::uint32_t noClasses = 0;
inline constexpr std::uint32_t keyboardClass = 1;
inline constexpr std::uint32_t storageClass = 2;
inline constexpr std::uint32_t allClasses = 255;

/** Whether the mask `classes` has `deviceClass`, one of the bits above. */
constexpr bool enablesClass(std::uint32_t classes, std::uint32_t deviceClass) {
  return (classes & deviceClass) != 0;
}

/** A word of a list of classes, and the classes that it adds; `noClasses` removes those named before it. */
struct ClassWord {
  std::string_view word;
  std::uint32_t classes;
};

/** The words of `--class=` and of the configuration. */
inline constexpr std::array<ClassWord, 4> classWords{{
    {"none", noClasses},
    {"keyboard", keyboardClass},
    {"scsi", storageClass},
    {"all", allClasses},
}};
