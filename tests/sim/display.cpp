#include "sim/display.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>

#include "sim/error.h"
#include "sim/process_handle.h"
#include "sim/process_table.h"

namespace sim {

namespace {

namespace fs = std::filesystem;

// In packet mode every write takes a slot of its own, and the usual 16 are few.
constexpr int wantedCapacity = 1024 * 1024;

constexpr std::size_t writesInReport = 40;

/** The numbers under which a process has this path open. */
std::vector<int> descriptorsOf(pid_t process, const std::string& path) {
  std::vector<int> numbers = openDescriptorsOf(process);
  std::erase_if(numbers, [&](int number) {
    std::error_code vanished;
    const std::string link = "/proc/" + std::to_string(process) + "/fd/" + std::to_string(number);
    return fs::read_symlink(link, vanished) != path;
  });
  return numbers;
}

bool switchToPacketMode(pid_t process, int number) {
  const Descriptor shared = ProcessHandle(process).shareFile(number);
  return shared.isOpen() && ::fcntl(shared.get(), F_SETFL, ::fcntl(shared.get(), F_GETFL) | O_DIRECT) == 0;
}

bool holdsData(const Descriptor& fifo) {
  int bytes = 0;
  return ::ioctl(fifo.get(), FIONREAD, &bytes) == 0 && bytes > 0;
}

std::string readOnce(const Descriptor& fifo) {
  std::array<char, 65536> buffer{};
  const ssize_t length = ::read(fifo.get(), buffer.data(), buffer.size());
  return length > 0 ? std::string(buffer.data(), static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

Display::Display(std::string path) : path_(std::move(path)), stateReport_([this] { return describe(); }) {}

Display::~Display() {
  closeReader();
}

void Display::makeFifo() {
  if (::mkfifo(path_.c_str(), 0666) != 0) {
    throw systemError("mkfifo(" + path_ + ")");
  }
}

void Display::removeFifo() {
  closeReader();
  fs::remove(path_);
}

void Display::openReader() {
  // Open for writing too: then the fifo has no end when the daemon leaves, and fill() has a way in.
  fifo_ = Descriptor(::open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  if (!fifo_.isOpen()) {
    throw systemError("open(" + path_ + ")");
  }
  ::fcntl(fifo_.get(), F_SETPIPE_SZ, wantedCapacity);  // refused to some; then 16 unread writes must do
  opened_ = std::make_unique<FileWatch>(path_, IN_OPEN, [this] { serveOpened(); });
  startReading();
}

void Display::startReading() {
  dataSource_ = std::make_unique<Background>(fifo_.get(), [this] { readAll(); });
}

void Display::closeReader() {
  dataSource_.reset();
  opened_.reset();
  fifo_.close();
}

void Display::fill() {
  dataSource_.reset();
  const std::string block(4096, '#');
  while (::write(fifo_.get(), block.data(), block.size()) > 0) {
  }
  while (::write(fifo_.get(), "#", 1) > 0) {
  }
}

void Display::drain() {
  while (!readOnce(fifo_).empty()) {
  }
  startReading();
}

std::string Display::waitForWrite(const Deadline& deadline) {
  waitUntil("a write to the display", deadline, [this] { return !writes_.empty(); });
  taken_.push_back(writes_.front());
  writes_.pop_front();
  return taken_.back();
}

std::vector<std::string> Display::takeWrites() {
  serveBackground();
  std::vector<std::string> taken(writes_.begin(), writes_.end());
  taken_.insert(taken_.end(), taken.begin(), taken.end());
  writes_.clear();
  return taken;
}

void Display::forgetWriter() {
  if (dataSource_) {
    readAll();
  }
  follow_ = Follow::noProcess;
}

void Display::follow(pid_t daemon) {
  daemon_ = daemon;
  follow_ = Follow::waiting;
}

bool Display::isOpened() {
  serveOpened();
  return follow_ == Follow::packetMode || follow_ == Follow::impossible;
}

void Display::serveOpened() {
  if (follow_ != Follow::waiting) {
    return;
  }
  const std::vector<int> numbers = descriptorsOf(daemon_, path_);
  if (numbers.empty()) {
    return;
  }
  const bool switched = std::all_of(numbers.begin(), numbers.end(),
                                    [this](int number) { return switchToPacketMode(daemon_, number); });
  follow_ = Follow::impossible;
  if (dataSource_ && holdsData(fifo_)) {
    readAll();  // some of it may have been written before the switch
  }
  follow_ = switched ? Follow::packetMode : Follow::impossible;
}

void Display::readAll() {
  for (std::string data = readOnce(fifo_); !data.empty(); data = readOnce(fifo_)) {
    keep(data);
  }
}

void Display::keep(const std::string& data) {
  if (follow_ == Follow::packetMode) {
    writes_.push_back(data);
    return;
  }
  keepsBoundaries_ = false;
  std::size_t begin = 0;
  while (begin < data.size()) {
    const std::size_t end = std::min(data.find('\n', begin), data.size() - 1) + 1;
    writes_.push_back(data.substr(begin, end - begin));
    begin = end;
  }
}

std::string Display::describe() const {
  const std::size_t first = taken_.size() > writesInReport ? taken_.size() - writesInReport : 0;
  std::string text = "the display has shown last:\n";
  for (std::size_t i = first; i < taken_.size(); ++i) {
    text += "  " + taken_[i];
  }
  text += "and nothing has waited yet for:\n";
  for (const std::string& write : writes_) {
    text += "  " + write;
  }
  return text;
}

}  // namespace sim
