#pragma once

#include <sys/types.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "sim/deadline.h"
#include "sim/descriptor.h"
#include "sim/file_watch.h"
#include "sim/state_report.h"
#include "sim/wait.h"

namespace sim {

/**
 * The unit's on-screen display: a fifo and its reader. It keeps what each single write brought, which a fifo
 * by itself does not: when the daemon has opened the fifo, its open file is switched to packet mode from
 * outside (follow). Where that did not work, or came too late for the first writes, each line counts as one
 * write and keepsBoundaries() is false.
 */
class Display {
 public:
  /** Makes nothing yet. */
  explicit Display(std::string path = "/dev/osd_fifo");
  ~Display();
  Display(const Display&) = delete;
  Display& operator=(const Display&) = delete;

  void makeFifo();
  void removeFifo();
  /** Begins to read; the fifo must exist. Without a reader the daemon cannot open it. */
  void openReader();
  /** The reader goes away; what it has read is kept. */
  void closeReader();
  [[nodiscard]] bool hasReader() const { return fifo_.isOpen(); }

  /** Stops reading and fills the fifo until it takes no further byte. */
  void fill();
  /** Throws the filling away and reads again. */
  void drain();

  /** Exactly one write, in the order in which they were made. */
  std::string waitForWrite(const Deadline& deadline = {});
  /** The writes that are there now and were not returned before. */
  std::vector<std::string> takeWrites();

  /** Takes what the process that was followed has left; call it before another one is started. */
  void forgetWriter();
  /** From now on switches this process to packet mode as soon as it has the fifo open. */
  void follow(pid_t daemon);
  /** Whether the process that is followed has opened the fifo. */
  [[nodiscard]] bool isOpened();
  /** Whether everything read so far came write by write. */
  [[nodiscard]] bool keepsBoundaries() const { return keepsBoundaries_; }

 private:
  void serveOpened();
  void readAll();
  void keep(const std::string& data);
  void startReading();
  [[nodiscard]] std::string describe() const;

  /** How the process that is followed writes: not opened yet, each write apart, or only lines are known. */
  enum class Follow { noProcess, waiting, packetMode, impossible };

  std::string path_;
  Descriptor fifo_;
  std::unique_ptr<FileWatch> opened_;
  std::unique_ptr<Background> dataSource_;
  pid_t daemon_ = 0;
  Follow follow_ = Follow::noProcess;
  bool keepsBoundaries_ = true;
  std::deque<std::string> writes_;
  std::vector<std::string> taken_;
  StateReport stateReport_;
};

}  // namespace sim
