#include "ulx/pipe.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "ulx/exceptions.h"

namespace ulx {

/** The ends of a new pipe. Those that nobody takes are closed. */
class Pipe::Ends {
 public:
  Ends() {
    if (::pipe(ends_.data()) == -1) {
      throwErrno("pipe()", errno);
    }
  }
  Ends(const Ends&) = delete;
  Ends& operator=(const Ends&) = delete;
  ~Ends() {
    for (const int end : ends_) {
      if (end != taken) {
        ::close(end);
      }
    }
  }

  int takeReadEnd() { return std::exchange(ends_[0], taken); }
  int takeWriteEnd() { return std::exchange(ends_[1], taken); }

 private:
  static constexpr int taken = -1;

  std::array<int, 2> ends_{taken, taken};
};

Pipe::Pipe() : Pipe(Ends()) {}

Pipe::Pipe(Ends&& ends) : writeEnd(ends.takeWriteEnd(), true), readEnd(ends.takeReadEnd(), true) {}

}  // namespace ulx
