#pragma once

/** What the stand-in workers send to their unit, and what it sends to them. */
namespace sim::worker_protocol {

/** The socket of the unit to which every stand-in connects when it has started. */
constexpr const char* socketPath = "/sim/workers.socket";

// The record that a stand-in sends: fields "NAME LENGTH\n" and that many bytes. Lists are sequences of texts,
// each ended by a NUL. The field "end" is the last one.
//   pid, parent           decimal numbers
//   stat                  its line of /proc/self/stat
//   arguments             list
//   environment           list
//   descriptors           list of "NUMBER TARGET"
//   death-signal          decimal number, 0 for none
//   signals               the lines of /proc/self/status that begin with "Sig"
//   directory             the working directory
//   end                   empty
//
// The command that it then waits for is one line, "exit STATUS" or "signal NUMBER". At the end of the
// connection it exits with status 0: the unit is gone.

}  // namespace sim::worker_protocol
