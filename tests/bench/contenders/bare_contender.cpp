#include "bench/contenders/bare_contender.h"

namespace bench {

std::vector<std::string> BareContender::command(const std::string& worker,
                                                const std::vector<std::string>& devices) const {
  if (devices.empty()) {
    return {program_, worker};
  }
  const std::string& first = devices.front();
  const std::string prefix = first.substr(0, first.find_last_not_of("0123456789") + 1);
  return {program_, worker, prefix, std::to_string(devices.size())};
}

}  // namespace bench
