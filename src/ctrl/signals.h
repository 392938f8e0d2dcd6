#pragma once

#include <csignal>

#include "ulx/file_descriptor.h"

/** Readable when a child has ended since it was last emptied. What is read has no meaning. */
const ulx::FileDescriptor& childExitReadEnd();

/**
 * From now on an ended child makes `childExitReadEnd` readable; one that could not be executed (exit status
 * 42) ends the daemon with status 1 instead. Throws "sigaction(SIGCHLD)".
 */
void installChildHandler();

/** What a child that could not be executed leads to: a line on standard error while debugging, then `exit(1)`. */
[[noreturn]] void endAfterFailedExec();

/** From now on SIGHUP, which ends the program otherwise, requests a reload of the policy. */
void catchHangups();

/** The same, with a debug message. */
void installHangupHandler();

/** A reader that has gone costs the message written to it, not the daemon. */
void ignoreBrokenPipes();

/**
 * As long as this lives, the signals that the daemon handles or ignores wait: those that a worker must not inherit as they
 * are. The others do what they always do.
 */
class HeldSignals {
 public:
  HeldSignals();
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;
  ~HeldSignals();

  /**
   * For a child about to execute a program: gives them the default disposition, then unblocks every signal. Calls only
   * what a signal handler may call.
   */
  void restoreDefaults() const;

 private:
  const sigset_t& held_;
  sigset_t formerMask_{};
};
