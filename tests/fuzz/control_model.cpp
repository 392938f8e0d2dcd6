#include "fuzz/control_model.h"

#include <algorithm>
#include <vector>

namespace fuzz {

namespace {

constexpr unsigned ports = 65536;

// A sign may precede the digits; a minus counts down from the end, as in any unsigned number.
std::optional<std::uint16_t> portOf(const std::string& text) {
  const bool hasSign = !text.empty() && (text[0] == '-' || text[0] == '+');
  const std::string digits = text.substr(hasSign ? 1 : 0);
  if (digits.empty()) {
    return std::nullopt;
  }
  unsigned value = 0;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') {
      return std::nullopt;
    }
    value = value * 10 + static_cast<unsigned>(digit - '0');
    if (value >= ports) {
      return std::nullopt;
    }
  }
  return static_cast<std::uint16_t>(text[0] == '-' ? ports - value : value);
}

std::vector<std::string> fieldsOf(const std::string& line) {
  constexpr std::size_t fieldCount = 6;
  std::vector<std::string> fields(1);
  for (const char letter : line) {
    if (letter == ' ') {
      fields.emplace_back();
    } else {
      fields.back() += letter;
    }
  }
  fields.resize(std::max(fields.size(), fieldCount));
  return fields;
}

}  // namespace

bool ControlModel::isDeparted(int number) const {
  const auto client = clients.find(number);
  return client != clients.end() && number != connection && departed_.contains(client->second);
}

void ControlModel::closeDeparted() {
  waiting.remove_if([this](int number) { return isDeparted(number); });
  std::erase_if(clients, [this](const auto& client) { return isDeparted(client.first); });
}

void ControlModel::hold(int client, int number) {
  clients[number] = client;
  if (std::find(waiting.begin(), waiting.end(), number) == waiting.end()) {
    waiting.push_back(number);
  }
}

bool ControlModel::takeLine(const std::string& line) {
  const std::vector<std::string> fields = fieldsOf(line);
  const std::optional<std::uint16_t> port = portOf(fields[1]);
  if (!port) {
    return false;
  }
  link.hostname = fields[0];
  link.port = *port;
  link.speed = fields[2];
  link.interface = fields[3];
  link.inkey = fields[4].empty() ? link.inkey : fields[4];
  link.outkey = fields[5].empty() ? link.outkey : fields[5];
  lastRequest = line;
  return true;
}

bool ControlModel::serve(int client, int number, const std::string& message) {
  if (message.size() == 1 && link.port != 0) {
    heard[client] += lastRequest;
    return true;
  }
  if (message.size() == 1) {
    hold(client, number);
    return true;
  }
  if (!takeLine(message.substr(0, message.find('\0')))) {
    return false;
  }
  clients[number] = client;
  for (const int waitingNumber : waiting) {
    if (clients.contains(waitingNumber)) {
      heard[clients[waitingNumber]] += message;
      if (waitingNumber != number) {
        clients.erase(waitingNumber);
      }
    }
  }
  connection = number;
  return true;
}

}  // namespace fuzz
