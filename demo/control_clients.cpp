#include "demo/control_clients.h"

#include <utility>

#include "sim/error.h"

namespace demo {

namespace {

std::optional<std::string> answerByNow(sim::LinkManager& client) {
  try {
    return client.receive(sim::Deadline(0));
  } catch (const sim::TimedOut&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<sim::LinkManager> ControlClients::deliver(sim::LinkManager connection,
                                                        const std::string& line) {
  connection.send(line);
  return std::exchange(delivering_, std::move(connection));
}

void ControlClients::ask(sim::LinkManager connection) {
  connection.send("?");
  asking_.push_back(std::move(connection));
}

std::vector<std::string> ControlClients::takeAnswers() {
  std::vector<std::string> answers;
  asking_.remove_if([&answers](sim::LinkManager& client) {
    const std::optional<std::string> answer = answerByNow(client);
    if (answer) {
      answers.push_back(*answer);
    }
    return answer.has_value();
  });
  return answers;
}

}  // namespace demo
