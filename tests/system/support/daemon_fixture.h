#pragma once

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "support/output.h"

namespace support {

/** The daemon's arguments: options, and behind them the host, port and speed of the link. */
Lines commandLine(const Lines& options = {"--debug=ctrl"},
                  const Lines& link = {"transmitter", "5000", "high"});

/** A line of link parameters that changes no more than the speed of the link, and the host where one is given. */
std::string linkLine(const std::string& speed, const std::string& host = "transmitter");

/** These texts as the display gets them: each is one write that ends in a newline. */
Lines writes(const Lines& texts);

Lines joined(Lines lines, const Lines& more);

/** A unit, its daemon, and the control clients that stay connected. */
class DaemonFixture : public testing::Test {
 protected:
  /** Starts the daemon, and waits until it serves. */
  sim::Daemon& start(const Lines& arguments = commandLine(), const sim::ProcessOptions& world = {});

  /** Plugs a device in and returns its generic worker. */
  sim::Worker& attach(const sim::UsbDevice& device);
  /** These plug a device and its class node in, and return the worker of the node. */
  sim::Worker& attachKeyboard();
  sim::Worker& attachDisk();
  /** Takes the device of a generic worker out; then the worker exits. */
  void detachAndEnd(sim::Worker& worker, int status = 0);
  /** Waits until the daemon knows that this child has ended. */
  void waitUntilForgotten(const sim::Worker& worker);
  void waitUntilAllForgotten(const sim::Deadline& deadline = {});

  /** Sends a line of link parameters, which the daemon serves when it comes to it. */
  sim::LinkManager& send(const std::string& line = sim::LinkParameters().line());
  /** The same, and waits until the daemon has served it. The daemon must debug to standard error, and must have no
   * other client to serve. */
  sim::LinkManager& deliver(const std::string& line = sim::LinkParameters().line());

  sim::Unit unit;
  std::list<sim::LinkManager> clients;
};

}  // namespace support
