// Clients of the control socket that come, say something and leave, beside other connections of the daemon, against a
// plain model of what shall happen; see control_input.h for the input.

#include <boost/lexical_cast.hpp>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "control/control_requests.h"
#include "ctrl/rx_ctrl.h"
#include "fuzz/check.h"
#include "fuzz/control_input.h"
#include "fuzz/control_model.h"
#include "fuzz/control_world.h"
#include "fuzz/input.h"
#include "sim/namespaces.h"

namespace {

using fuzz::check;
using fuzz::ControlModel;

constexpr const char* socketPath = "/sim/control";

// As the main loop does it.
void takeConnection(RxCtrl& ctrl, int connection) {
  if (ctrl.controlConnection != nullptr) {
    ctrl.replacedConnections.insert(ctrl.controlConnection->fd());
  }
  ctrl.controlConnection = std::make_unique<ControlConnection>(connection);
}

// One daemon, and everything that connects to it.
class Run {
 public:
  explicit Run(std::uint16_t port)
      : ctrl_("host", port, "high", 0, nullptr, nullptr, "10", socketPath, "eth1"),
        ownNumbers_(fuzz::openNumbers()),
        model_({.hostname = "host",
                .port = port,
                .speed = "high",
                .interface = "eth1",
                .inkey = "",
                .outkey = ""}) {}
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  ~Run();

  void follow(fuzz::Input& input);

 private:
  void doStep(fuzz::Input& input);
  void connect();
  void serve();
  void closeForeign(fuzz::Input& input);

  void checkEverything();
  void checkLink() const;
  void checkClients();
  void checkNumbers() const;
  void checkForeign() const;

  // Calls `use` with the number of a client that the input chooses, if there is any.
  template <class Use>
  void withClient(fuzz::Input& input, Use use) {
    if (!clients_.empty()) {
      use(static_cast<int>(input.byte() % clients_.size()));
    }
  }
  fuzz::ControlSocketClient& client(int number) { return *clients_[static_cast<std::size_t>(number)]; }

  RxCtrl ctrl_;
  std::vector<int> ownNumbers_;
  ControlModel model_;
  std::vector<std::unique_ptr<fuzz::ControlSocketClient>> clients_;
  std::vector<std::unique_ptr<fuzz::ForeignConnection>> foreign_;
  std::deque<int> backlog_;  // clients that are not accepted yet
  bool hasEnded_ = false;
};

Run::~Run() {
  foreign_.clear();
  for (const int fd : fuzz::openNumbers()) {
    if (!std::binary_search(ownNumbers_.begin(), ownNumbers_.end(), fd)) {
      close(fd);
    }
  }
}

void Run::follow(fuzz::Input& input) {
  constexpr int mostSteps = 48;  // a longer run costs more than it finds
  for (int steps = 0; !hasEnded_ && !input.isAtEnd() && steps < mostSteps; ++steps) {
    doStep(input);
  }
}

void Run::doStep(fuzz::Input& input) {
  switch (static_cast<fuzz::ControlStep>(input.byte() % fuzz::controlStepCount)) {
    case fuzz::ControlStep::connect:
      connect();
      break;
    case fuzz::ControlStep::send:
      withClient(input, [&](int number) { client(number).send(input.text()); });
      break;
    case fuzz::ControlStep::finish:
      withClient(input, [&](int number) { client(number).finish(); });
      break;
    case fuzz::ControlStep::leave:
      withClient(input, [&](int number) {
        client(number).leave();
        model_.leave(number);
      });
      break;
    case fuzz::ControlStep::serve:
      serve();
      break;
    case fuzz::ControlStep::deliver:
      connect();
      clients_.back()->send(input.text());
      serve();
      break;
    case fuzz::ControlStep::openForeign:
      foreign_.push_back(std::make_unique<fuzz::ForeignConnection>(input.byte()));
      break;
    case fuzz::ControlStep::closeForeign:
      closeForeign(input);
      break;
  }
}

void Run::connect() {
  constexpr std::size_t mostWaiting = 4;  // one more than the backlog takes would wait
  if (backlog_.size() < mostWaiting) {
    backlog_.push_back(static_cast<int>(clients_.size()));
    clients_.push_back(std::make_unique<fuzz::ControlSocketClient>(socketPath));
  }
}

void Run::closeForeign(fuzz::Input& input) {
  if (!foreign_.empty()) {
    foreign_.erase(foreign_.begin() + static_cast<std::ptrdiff_t>(input.byte() % foreign_.size()));
  }
}

void Run::serve() {
  constexpr std::size_t longestMessage = 255;
  if (backlog_.empty() || !client(backlog_.front()).isReadable()) {
    return;
  }
  const int served = std::exchange(backlog_.front(), 0);
  backlog_.pop_front();
  model_.closeDeparted();
  int number = 0;
  while (model_.clients.contains(number) || std::ranges::binary_search(ownNumbers_, number) ||
         std::ranges::any_of(foreign_, [number](const auto& one) { return one->number() == number; })) {
    ++number;
  }
  const bool goesOn = model_.serve(served, number, client(served).said().substr(0, longestMessage));
  try {
    const int connection = serveControlClient(ctrl_);
    check(goesOn, "a port that is no number ends the daemon");
    check(connection == 0 || connection == model_.connection, "a client that delivers a line is returned");
    if (connection != 0) {
      takeConnection(ctrl_, connection);
    }
  } catch (const boost::bad_lexical_cast&) {
    check(!goesOn, "a port that is a number is taken");
    hasEnded_ = true;
    return;
  }
  checkEverything();
  pollfd connection{.fd = model_.connection.value_or(-1), .events = POLLIN, .revents = 0};
  hasEnded_ = poll(&connection, 1, 0) == 1;
}

void Run::checkEverything() {
  checkLink();
  checkClients();
  checkNumbers();
  checkForeign();
}

void Run::checkLink() const {
  const ControlModel::Link& link = model_.link;
  check(ctrl_.hostname == link.hostname && ctrl_.port == link.port && ctrl_.speed == link.speed &&
            ctrl_.interface == link.interface && ctrl_.inkey.value_or("") == link.inkey &&
            ctrl_.outkey.value_or("") == link.outkey && ctrl_.lastRequest == model_.lastRequest,
        "the link is that of the latest line");
  check(ctrl_.waitingClients == model_.waiting, "each number that has waited is in the list once");
}

void Run::checkClients() {
  for (int number = 0; number < static_cast<int>(clients_.size()); ++number) {
    const bool isConnected =
        std::ranges::find(backlog_, number) != backlog_.end() ||
        std::ranges::any_of(model_.clients, [number](const auto& one) { return one.second == number; });
    if (!client(number).hasLeft()) {
      check(client(number).heard() == model_.heard[number], "a client hears what it shall, and once");
      check(client(number).isDisconnected() != isConnected, "a client is connected as long as it shall be");
    }
  }
}

void Run::checkNumbers() const {
  std::size_t expected = ownNumbers_.size() + foreign_.size() + model_.clients.size();
  check(fuzz::openNumbers().size() == expected, "the daemon holds no more connections than it shall");
}

void Run::checkForeign() const {
  check(std::ranges::all_of(foreign_, [](const auto& one) { return one->isUntouched(); }),
        "what is no client of the control socket gets nothing and stays open");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  static sim::Namespaces world;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::uint16_t somePort = 5000;
  const int descriptorBefore = fuzz::lowestFreeDescriptor();
  fuzz::Input input(data, size);
  const bool isKnown = input.byte() % 2 == 1;
  Run(isKnown ? somePort : 0).follow(input);
  check(fuzz::lowestFreeDescriptor() == descriptorBefore, "every descriptor is closed again");
  return 0;
}
