#include "sim/worker_report.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>
#include <string_view>

#include "sim/error.h"
#include "sim/wait.h"
#include "sim/worker_protocol.h"

namespace sim {

namespace {

/** The bytes of the connection, as far as they have been asked for. */
class ReportReader {
 public:
  explicit ReportReader(int connection) : connection_(connection) {}

  std::string takeLine() {
    while (received_.find('\n') == std::string::npos) {
      receiveMore();
    }
    const std::string line = take(received_.find('\n') + 1);
    return line.substr(0, line.size() - 1);
  }

  std::string take(std::size_t size) {
    while (received_.size() < size) {
      receiveMore();
    }
    std::string taken = received_.substr(0, size);
    received_.erase(0, size);
    return taken;
  }

 private:
  void receiveMore() {
    if (!waitReadable(connection_, deadline_)) {
      throw TimedOut("the report of a worker");
    }
    std::array<char, 65536> buffer{};
    const ssize_t length = ::recv(connection_, buffer.data(), buffer.size(), 0);
    if (length <= 0) {
      throw Error("a worker ended within its report");
    }
    received_.append(buffer.data(), static_cast<std::size_t>(length));
  }

  int connection_;
  std::string received_;
  Deadline deadline_;
};

using Fields = std::map<std::string, std::string>;

Fields receiveFields(int connection) {
  ReportReader reader(connection);
  Fields fields;
  while (!fields.contains("end")) {
    const std::string head = reader.takeLine();
    const std::size_t blank = head.find(' ');
    fields[head.substr(0, blank)] = reader.take(std::stoul(head.substr(blank + 1)));
  }
  return fields;
}

std::vector<std::string> textsOf(std::string_view list) {
  std::vector<std::string> texts;
  while (!list.empty()) {
    const std::size_t end = std::min(list.find('\0'), list.size() - 1);
    texts.emplace_back(list.substr(0, end));
    list.remove_prefix(end + 1);
  }
  return texts;
}

std::vector<OpenDescriptor> descriptorsOf(std::string_view list) {
  std::vector<OpenDescriptor> descriptors;
  for (const std::string& text : textsOf(list)) {
    const std::size_t blank = text.find(' ');
    descriptors.push_back({std::stoi(text.substr(0, blank)), text.substr(blank + 1)});
  }
  std::sort(descriptors.begin(), descriptors.end(),
            [](const OpenDescriptor& a, const OpenDescriptor& b) { return a.number < b.number; });
  return descriptors;
}

/** The signals of a line "SigIgn:\t0000000000001000": one bit each, the lowest is signal 1. */
std::set<int> signalsOf(const std::string& lines, const std::string& key) {
  std::istringstream words(lines.substr(std::min(lines.find(key), lines.size())));
  std::string name;
  unsigned long long mask = 0;
  words >> name >> std::hex >> mask;
  std::set<int> signals;
  for (int signal = 1; mask != 0; ++signal, mask >>= 1U) {
    if ((mask & 1U) != 0) {
      signals.insert(signal);
    }
  }
  return signals;
}

}  // namespace

WorkerStart receiveReport(int connection) {
  const Fields fields = receiveFields(connection);
  const std::string& signals = fields.at("signals");
  WorkerStart start;
  start.pid = std::stoi(fields.at("pid"));
  start.age = ageFrom(fields.at("stat"));
  start.parent = std::stoi(fields.at("parent"));
  start.arguments = textsOf(fields.at("arguments"));
  start.environment = textsOf(fields.at("environment"));
  start.descriptors = descriptorsOf(fields.at("descriptors"));
  start.parentDeathSignal = std::stoi(fields.at("death-signal"));
  start.blockedSignals = signalsOf(signals, "SigBlk");
  start.ignoredSignals = signalsOf(signals, "SigIgn");
  start.caughtSignals = signalsOf(signals, "SigCgt");
  start.workingDirectory = fields.at("directory");
  return start;
}

}  // namespace sim
