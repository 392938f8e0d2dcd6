#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>

#include "sim/descriptor.h"
#include "sim/process_handle.h"
#include "sim/wait.h"

namespace examples {

/** Lays out the attributes of a USB device that workers read: 0627:0001 of high speed, number 7 on bus 1. */
void layOutDevice(const std::string& directory);

/**
 * One USB device in "/sys", and a kernel that exports it for one worker: during every wait of this process it does what a
 * worker's writes ask for. It takes the worker's socket as the kernel does, and can read what it finds there.
 */
class ExportingKernel {
 public:
  /** Lays the device out, which the driver "usb" has. */
  explicit ExportingKernel(std::string directory = "/sys/devices/pci0000:00/usb1/1-2");

  [[nodiscard]] const std::string& directory() const { return directory_; }
  void writeAttribute(const std::string& name, const std::string& content) const;
  static void unloadUsbipHost();
  /** From now on nothing can be bound to usbip-host. */
  static void refuseToBind();

  /** The process whose socket the kernel takes. */
  void serveWorker(pid_t worker) { worker_ = sim::ProcessHandle(worker); }

  /** The driver that has the device; empty for none. */
  [[nodiscard]] std::string driver() const;
  void giveTo(const std::string& driver);

  /** Waits until a worker has handed its socket over. */
  void waitForSocket();
  /** The bytes in that socket that nobody has read. */
  [[nodiscard]] std::string readSocket() const;
  /** The far side has gone: the kernel closes the link, resets the device and could export it again. */
  void loseLink();
  /** The device is plugged out: the kernel closes the link, then removes the directory. */
  void plugOut();

 private:
  // An attribute that workers write to: a fifo, which keeps the bytes until the kernel takes them.
  struct Attribute {
    sim::Descriptor fifo;
    std::unique_ptr<sim::Background> served;
  };

  void listenAt(const std::string& path);
  // What has been written to an attribute and was not taken yet.
  [[nodiscard]] std::string take(const std::string& path) const;
  void forgetAll() const;
  void serve();
  void closeLink();

  std::string directory_;
  std::string busId_;
  std::map<std::string, Attribute> attributes_;
  sim::ProcessHandle worker_;
  sim::Descriptor socket_;
  bool inTable_ = false;
};

}  // namespace examples
