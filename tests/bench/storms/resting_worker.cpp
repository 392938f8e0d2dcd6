// A generic worker that rests until it is signalled: SIGUSR1 ends it as one that cannot configure its device, SIGUSR2
// as one that failed.

#include <unistd.h>

#include <csignal>

namespace {

void end(int order) {
  constexpr int failed = 1;
  constexpr int cannotConfigure = 5;
  ::_exit(order == SIGUSR1 ? cannotConfigure : failed);
}

}  // namespace

int main() {
  std::signal(SIGUSR1, end);
  std::signal(SIGUSR2, end);
  while (true) {
    ::pause();
  }
}
