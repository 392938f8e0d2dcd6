#pragma once

#include <sys/types.h>

#include <string>

namespace soak {

/** What must stay as it is while a daemon lives. Its check throws Broken. */
class Footprint {
 public:
  void check(pid_t daemon, const std::string& socketPath);

  [[nodiscard]] long kilobytes() const { return kilobytes_; }

 private:
  void checkMemory();

  long kilobytes_ = 0;
  long warmKilobytes_ = 0;
  int checks_ = 0;
  std::string mask_;
};

}  // namespace soak
