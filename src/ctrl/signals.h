#pragma once

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

/** For a forked child about to execute a program: gives every signal its default disposition and unblocks it. */
void restoreDefaultSignals();
