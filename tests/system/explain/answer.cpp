#include "system/explain/answer.h"

#include <algorithm>
#include <ostream>

namespace support {

namespace {

using Lines = std::vector<std::string>;

std::string shown(const std::string& text) {
  return "\"" + text + "\"";
}

std::string shown(const Lines& arguments) {
  std::string all;
  for (const std::string& argument : arguments) {
    all += (all.empty() ? "" : " ") + shown(argument);
  }
  return "[" + all + "]";
}

template <class Value>
std::string shown(const std::optional<Value>& value) {
  return value ? shown(*value) : "null";
}

/** Compares the fields of one device or node, and keeps a line for each that differs. */
class Comparison {
 public:
  Comparison(Lines& lines, std::string subject) : lines_(lines), subject_(std::move(subject)) {}

  template <class Value>
  Comparison& field(const char* name, const Value& daemon, const Value& explained) {
    if (daemon != explained) {
      lines_.push_back(subject_ + ": " + name + ": the daemon " + shown(daemon) + ", usb_rx_explain " +
                       shown(explained));
    }
    return *this;
  }

 private:
  Lines& lines_;
  std::string subject_;
};

/** Pairs what both sides know by the field `key`, and keeps a line for what only one of them knows. */
template <class Part, class Compare>
void pairUp(Lines& lines, const std::vector<Part>& daemon, const std::vector<Part>& explained,
            std::string Part::*key, const Compare& compare) {
  for (const Part& part : daemon) {
    const auto other = std::ranges::find(explained, part.*key, key);
    if (other == explained.end()) {
      lines.push_back(part.*key + ": only the daemon has it");
    } else {
      compare(part, *other);
    }
  }
  for (const Part& part : explained) {
    if (std::ranges::find(daemon, part.*key, key) == daemon.end()) {
      lines.push_back(part.*key + ": only usb_rx_explain has it");
    }
  }
}

void compareNodes(Lines& lines, const NodeAnswer& daemon, const NodeAnswer& explained) {
  Comparison(lines, daemon.path)
      .field("worker", daemon.worker, explained.worker)
      .field("display", daemon.display, explained.display);
}

void compareDevices(Lines& lines, const Answer& daemon, const Answer& explained) {
  Comparison(lines, daemon.device)
      .field("kind", daemon.kind, explained.kind)
      .field("verdict", daemon.verdict, explained.verdict)
      .field("rule", daemon.rule, explained.rule)
      .field("display", daemon.display, explained.display)
      .field("worker", daemon.worker, explained.worker);
  pairUp(lines, daemon.nodes, explained.nodes, &NodeAnswer::path,
         [&lines](const NodeAnswer& node, const NodeAnswer& other) { compareNodes(lines, node, other); });
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  out << answer.device << ": kind " << shown(answer.kind) << ", verdict " << shown(answer.verdict)
      << ", rule " << shown(answer.rule) << ", display " << shown(answer.display) << ", worker "
      << shown(answer.worker);
  for (const NodeAnswer& node : answer.nodes) {
    out << "; " << node.path << ": worker " << shown(node.worker) << ", display " << shown(node.display);
  }
  return out;
}

std::vector<std::string> differences(const std::vector<Answer>& daemon,
                                     const std::vector<Answer>& explained) {
  Lines lines;
  pairUp(lines, daemon, explained, &Answer::device,
         [&lines](const Answer& device, const Answer& other) { compareDevices(lines, device, other); });
  return lines;
}

}  // namespace support
