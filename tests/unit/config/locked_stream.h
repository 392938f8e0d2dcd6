#pragma once

#include <cstdio>
#include <ctime>
#include <memory>
#include <string>

#include "config/locked_file.h"
#include "unit/config/captured_output.h"
#include "unit/config/lock_calls.h"

struct CloseStream {
  void operator()(FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<FILE, CloseStream>;

inline Stream openLocked(const std::string& path, const char* mode, int operation) {
  return Stream(configOpenLocked(path.c_str(), mode, operation));
}

/** The rest of `stream`. */
inline std::string contentOf(const Stream& stream) {
  std::string content;
  for (int c = 0; (c = std::fgetc(stream.get())) != EOF;) {
    content += static_cast<char>(c);
  }
  return content;
}

/**
 * Records the attempts of a request: L for each lock that it tries to set, s for each millisecond that it
 * sleeps (without sleeping), ? for a sleep of any other length.
 */
class RecordedAttempts {
 public:
  [[nodiscard]] const std::string& sequence() const { return sequence_; }

 private:
  std::string sequence_;
  support::Replaced<int(int, int)> lock_{library::flock, [this](int fd, int operation) {
                                           sequence_ += 'L';
                                           return library::flock.real(fd, operation);
                                         }};
  support::Replaced<int(const timespec*, timespec*)> sleep_{
      library::nanosleep, [this](const timespec* request, timespec*) {
        sequence_ += request->tv_sec == 0 && request->tv_nsec == 1'000'000 ? 's' : '?';
        return 0;
      }};
};

/** What a request that gets no stream prints, and how it goes about it. */
struct Refusal {
  std::string output;
  std::string attempts;
};

inline Refusal refusalOf(const std::string& path, const char* mode, int operation) {
  const CapturedOutput output(stdout);
  const RecordedAttempts attempts;
  const Stream stream = openLocked(path, mode, operation);
  return {output.text() + (stream == nullptr ? "" : "a stream"), attempts.sequence()};
}
