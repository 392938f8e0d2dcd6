#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tools/recorder/advice.h"
#include "tools/recorder/device_recording.h"
#include "tools/recorder/uevent_listener.h"

namespace recorder {

/** How long a recorder waits, in seconds. */
struct RecorderPatience {
  double quiet = 2;    ///< without any event: then the kernel has done everything
  double limit = 300;  ///< for the device to be plugged in or taken out, and for that quiet
  double advice = 10;  ///< for the same; then a person may need advice
};

/**
 * Records a device that is plugged into this machine (or unit) and taken out again: its events and what /sys
 * shows of it. Events count from its construction on:
 *
 *   recorder::DeviceRecorder recorder;
 *   recorder.recordPlug();    // meanwhile somebody plugs the device in
 *   recorder.recordUnplug();  // meanwhile somebody takes it out
 *   recorder::writeRecording(recorder.recording(), recorder::kernelRelease(), "devices/speaker");
 *
 * Both throw Error when that does not happen, and when events were lost.
 */
class DeviceRecorder {
 public:
  /** Called while the recorder waits, once for each time that something is awaited. */
  using Advise = std::function<void(Delay delay)>;

  explicit DeviceRecorder(
      const RecorderPatience& patience = {}, Advise advise = [](Delay) {})
      : patience_(patience), advise_(std::move(advise)) {}

  /**
   * Waits until a USB device has been plugged in and everything is quiet again, then reads its tree. Of
   * several new devices it is the first one, which is the hub that the others are behind. Throws Error when
   * it was taken out too early, or when something of it may not be read.
   */
  void recordPlug();
  /** Waits until that device has been taken out and everything is quiet again. */
  void recordUnplug();

  /** What has been recorded so far; without name and description. */
  [[nodiscard]] const DeviceRecording& recording() const { return recording_; }

 private:
  using Clock = std::chrono::steady_clock;
  using Predicate = std::function<bool(const HeardEvent&)>;

  [[nodiscard]] std::vector<HeardEvent> burstWith(const std::string& awaited, const Predicate& isAwaited);
  [[nodiscard]] std::vector<HeardEvent> nextBurst(const std::string& awaited, Clock::time_point limit);
  [[nodiscard]] bool waitForEvents(Clock::time_point limit);
  void adviseOnce(Delay delay);

  RecorderPatience patience_;
  Advise advise_;
  Clock::time_point adviceDue_;
  bool isAdvised_ = false;
  Delay delay_ = Delay::nothingHeard;
  UeventListener events_;
  DeviceRecording recording_;
};

}  // namespace recorder
