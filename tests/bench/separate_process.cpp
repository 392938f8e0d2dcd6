#include "bench/separate_process.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>
#include <utility>

#include "sim/error.h"

namespace bench {

namespace {

using Sockets = std::pair<sim::Descriptor, sim::Descriptor>;

/** What the process reports; longer texts of failures are cut. */
struct Answer {
  double sample = 0;
  std::array<char, 4096> failure{};
};

Sockets connectedSockets() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw sim::systemError("socketpair()");
  }
  return {sim::Descriptor(ends[0]), sim::Descriptor(ends[1])};
}

bool sendSample(int socket, double sample) {
  Answer answer;
  answer.sample = sample;
  return ::send(socket, &answer, sizeof answer, MSG_NOSIGNAL) == sizeof answer;
}

void sendFailure(int socket, const std::string& text) {
  Answer answer;
  text.copy(answer.failure.data(), answer.failure.size() - 1);
  static_cast<void>(::send(socket, &answer, sizeof answer, MSG_NOSIGNAL));
}

double leastOf(int repetitions, Measurement& measurement) {
  double least = measurement.sample();
  for (int i = 1; i < repetitions; ++i) {
    least = std::min(least, measurement.sample());
  }
  return least;
}

/** No sample stands for a measurement that makes no sense, and for a prepared one a 0. */
void answerAll(int socket, const Figure& figure, const Contender& contender) {
  const std::unique_ptr<Measurement> measurement = figure.begin(contender);
  if (!sendSample(socket, measurement == nullptr ? std::nan("") : 0) || measurement == nullptr) {
    return;
  }
  char question = 0;
  while (::recv(socket, &question, 1, 0) == 1 &&
         sendSample(socket, leastOf(figure.repetitions, *measurement))) {
  }
}

[[noreturn]] void answerInsteadOfParent(int socket, pid_t parent, const Figure& figure,
                                        const Contender& contender) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() == parent) {
    try {
      answerAll(socket, figure, contender);
    } catch (const std::exception& error) {
      sendFailure(socket, error.what());
    }
  }
  ::_exit(EXIT_SUCCESS);
}

pid_t forkAnswering(int socket, const Figure& figure, const Contender& contender) {
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  if (child == -1) {
    throw sim::systemError("fork()");
  }
  if (child == 0) {
    answerInsteadOfParent(socket, parent, figure, contender);
  }
  return child;
}

}  // namespace

SeparateProcess::Child::Child(const Figure& figure, const Contender& contender)
    : Child(connectedSockets(), figure, contender) {}

SeparateProcess::Child::Child(Sockets sockets, const Figure& figure, const Contender& contender)
    : socket_(std::move(sockets.first)), pid_(forkAnswering(sockets.second.get(), figure, contender)) {}

SeparateProcess::Child::~Child() {
  ::shutdown(socket_.get(), SHUT_RDWR);  // closing would not do: later processes have inherited the socket
  ::waitpid(pid_, nullptr, 0);           // it ends what it has started, and itself
}

SeparateProcess::SeparateProcess(const Figure& figure, const Contender& contender)
    : child_(figure, contender), measures_(!std::isnan(receive())) {}

void SeparateProcess::askForSample() {
  if (::send(child_.socket(), "?", 1, MSG_NOSIGNAL) != 1) {
    throw sim::systemError("asking for a sample");
  }
}

double SeparateProcess::takeSample() {
  return receive();
}

double SeparateProcess::receive() {
  Answer answer;
  if (::recv(child_.socket(), &answer, sizeof answer, 0) != sizeof answer) {
    throw sim::Error("the measuring process has ended");
  }
  if (answer.failure.front() != '\0') {
    throw sim::Error(answer.failure.data());
  }
  return answer.sample;
}

}  // namespace bench
