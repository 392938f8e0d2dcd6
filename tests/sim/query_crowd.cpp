#include "sim/query_crowd.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "sim/error.h"
#include "sim/link_manager.h"
#include "sim/unix_socket.h"
#include "sim/wait.h"

namespace sim {

namespace {

std::string askOnce() {
  const Descriptor connection = connectTo(LinkManager::usualPath);
  if (::send(connection.get(), "?", 1, MSG_NOSIGNAL) != 1) {
    throw systemError("sending a query");
  }
  std::string answer;
  std::array<char, 1024> part{};
  ssize_t length = 0;
  while ((length = ::recv(connection.get(), part.data(), part.size(), 0)) > 0) {
    answer.append(part.data(), static_cast<std::size_t>(length));
  }
  return length == 0 ? answer : throw systemError("receiving an answer");
}

/** What the client does; it must not come back into the code of the test. */
[[noreturn]] void ask(int queries, const std::string& expected, int answers) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  try {
    int answered = 0;
    while (answered < queries && askOnce() == expected && ::write(answers, "!", 1) == 1) {
      ++answered;
    }
  } catch (const Error&) {
    ::_exit(1);
  }
  ::_exit(0);
}

}  // namespace

QueryCrowd::QueryCrowd(int clients, int queriesOfEach, const std::string& expected)
    : expected_(clients * queriesOfEach) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw systemError("pipe()");
  }
  answers_ = Descriptor(ends[0]);
  const Descriptor writer(ends[1]);
  ::fcntl(answers_.get(), F_SETFL, O_NONBLOCK);
  for (int i = 0; i < clients; ++i) {
    const pid_t client = ::fork();
    if (client == -1) {
      throw systemError("fork()");
    }
    if (client == 0) {
      ask(queriesOfEach, expected, writer.get());
    }
    clients_.push_back(client);
  }
}

QueryCrowd::~QueryCrowd() {
  for (const pid_t client : clients_) {
    ::kill(client, SIGKILL);
    ::waitpid(client, nullptr, 0);
  }
}

void QueryCrowd::countAnswers() {
  std::array<char, 4096> some{};
  ssize_t count = 0;
  while ((count = ::read(answers_.get(), some.data(), some.size())) > 0) {
    answered_ += static_cast<int>(count);
  }
  if (count == 0 && answered_ < expected_) {
    throw Error("the clients have ended with " + std::to_string(answered_) + " of " +
                std::to_string(expected_) + " answers");
  }
}

int QueryCrowd::answered() {
  countAnswers();
  return answered_;
}

void QueryCrowd::waitUntilAnswered(const Deadline& deadline) {
  waitUntil("the answers to all queries", deadline, answers_.get(),
            [this] { return answered() == expected_; });
}

}  // namespace sim
