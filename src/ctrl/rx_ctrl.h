#pragma once

#include <sys/types.h>

#include <cstdint>
#include <list>
#include <memory>
#include <set>
#include <string>

#include "control/control_server.h"
#include "ctrl/link.h"
#include "ctrl/osd.h"
#include "ctrl/worker_table.h"
#include "hotplug/uevent_socket.h"
#include "workers/admission_policy.h"

/**
 * The daemon's state: link parameters, event sources, running workers, policy and restart counters. What is
 * done with it are free functions of the subsystem concerned; there is one, for the whole run.
 *
 * Construction opens, in order, the control socket, the uevent socket and the display, and reads the policy;
 * what fails is thrown by the class in question. Members are released in reverse order; no worker is ended.
 */
class RxCtrl {
 public:
  /** `inkey` and `outkey` may be null. */
  RxCtrl(std::string hostname, std::uint16_t port, std::string speed, std::uint32_t classes,
         const char* inkey, const char* outkey, std::string connectFailTimeoutText, std::string socketPath,
         std::string interface);

  /** Serves until the control connection becomes readable. Whatever a source throws leaves it. */
  void run();

  void addWorker(pid_t pid, const std::string& devpath);

  std::string hostname;   // of the Transmitter
  std::uint16_t port;     // of the Transmitter; 0 while it is not known
  std::string speed;      // of the link: "full", or any other word
  std::uint32_t classes;  // mask of device_classes.h
  LinkKey inkey;
  LinkKey outkey;
  ControlServer listener;
  std::unique_ptr<NetlinkClientSocket> uevents;
  std::string socketPath;
  std::string interface;    // network connection of the link, e.g. "eth1"
  std::string lastRequest;  // latest line of link parameters, as received
  WorkerTable workers;
  OsdSink osd;
  AdmissionPolicy policy;
  std::unique_ptr<ControlConnection> controlConnection;  // that delivered the parameters, or null
  std::uint32_t restartCount = 0;                        // consecutive worker restarts
  bool attachBlocked = false;                            // too many restarts: generic workers start waiting
  std::string connectFailTimeoutText;                    // as configured
  double restartPeriod;                                  // seconds since lastGenericStart that end a streak
  double lastGenericStart = 0.0;                         // seconds since the epoch; while not attachBlocked
  std::list<int> waitingClients;      // descriptors that asked before parameters were known
  std::set<int> replacedConnections;  // descriptors of earlier control connections, until their clients go
};

/** Twice the whole number at the start of `timeoutText`, in seconds; 0.0 where there is none. */
double restartPeriodOf(const std::string& timeoutText);
