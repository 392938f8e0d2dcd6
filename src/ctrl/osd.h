#pragma once

#include <string>

#include "ctrl/message_text.h"

/** Where messages to the user go: a fifo that the on-screen display reads. Closed, it takes nothing. */
struct OsdSink {
  /** A closed sink. */
  OsdSink() = default;
  /** As `openOsdSink`. */
  explicit OsdSink(const char* path);
  OsdSink(const OsdSink&) = delete;
  OsdSink& operator=(const OsdSink&) = delete;
  ~OsdSink();

  int fd = -1;
  bool isOpen = false;
};

/**
 * Opens the fifo at `path` for writing, without waiting for a reader; with null, or when it cannot be opened,
 * the sink is closed. Never throws. A sink is opened once.
 */
void openOsdSink(OsdSink& sink, const char* path);

/**
 * A message to the user: text is inserted as into a stream, and one write takes the whole line to the sink
 * when the message ends. A closed, full or readerless sink loses it without a report. The message must not
 * outlive the sink.
 */
class OsdMessage {
 public:
  OsdMessage(const OsdSink& sink, const std::string& first);
  OsdMessage(const OsdMessage&) = delete;
  OsdMessage& operator=(const OsdMessage&) = delete;
  ~OsdMessage();

  template <class T>
  OsdMessage& operator<<(const T& value) {
    if (sink_.isOpen) {
      text_ << value;
    }
    return *this;
  }

 private:
  const OsdSink& sink_;
  MessageText text_;
};

/** Shows the user one line. */
void showMessage(const OsdSink& sink, const std::string& line);
