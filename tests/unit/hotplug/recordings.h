#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "sim/device_recording.h"

/** A device of which a kernel's view is recorded, and what is known of it. */
struct Recording {
  const char* name;
  /** How many bytes of its "descriptors" show that it is not a keyboard; 0: it is one. */
  std::size_t noKeyboardFrom;
  /** The lengths of the file, from the first up to and without the second, at which it is a disk. */
  std::size_t diskFrom;
  std::size_t diskUntil;

  [[nodiscard]] std::string descriptors() const {
    const sim::DeviceRecording recording = sim::loadRecording(name);
    const std::string path = recording.directory.substr(std::string("/sys/").size()) + "/descriptors";
    for (const sim::TreeEntry& entry : recording.tree) {
      if (entry.path == path) {
        return entry.content;
      }
    }
    return {};
  }
};

inline constexpr std::size_t deviceDescriptorSize = 18;
inline constexpr std::size_t never = 0;
inline constexpr std::size_t toTheEnd = static_cast<std::size_t>(-1);

/** A first interface has its class codes complete after this many bytes. */
inline constexpr std::size_t firstInterface = 35;

inline constexpr std::array recordings{
    Recording{"kbd-fs", never, never, never},
    Recording{"made-kbd-noboot-hiddev", never, never, never},
    Recording{"made-two-kbd-hiddev", never, never, never},
    Recording{"made-no-interfaces", never, never, never},
    Recording{"made-kbd-iad", deviceDescriptorSize, never, never},
    Recording{"made-kbd-mouse-hiddev", 60, never, never},
    Recording{"mouse-fs", firstInterface, never, never},
    Recording{"storage-ss", firstInterface, firstInterface, toTheEnd},
    Recording{"storage-fs", firstInterface, firstInterface, toTheEnd},
    Recording{"made-disk-atapi", firstInterface, firstInterface, toTheEnd},
    Recording{"made-disk-alt", firstInterface, firstInterface, 58},
    Recording{"made-disk-8070", firstInterface, never, never},
    Recording{"made-disk-two-configs", firstInterface, never, never},
    Recording{"uas-hs", firstInterface, never, never},
    Recording{"made-card-disk", firstInterface, never, never},
    Recording{"audio", firstInterface, never, never},
    Recording{"hub", deviceDescriptorSize, never, never},
};
