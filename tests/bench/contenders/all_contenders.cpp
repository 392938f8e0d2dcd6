#include "bench/contenders/all_contenders.h"

#include "bench/contenders/bare_contender.h"
#include "bench/contenders/calls_contender.h"
#include "bench/contenders/daemon_contender.h"
#include "bench/peers/mdev.h"
#include "bench/peers/mdevd.h"
#include "bench/peers/udevd.h"

namespace bench {

Contenders allContenders(const std::vector<NamedDaemon>& daemons) {
  Contenders contenders;
  for (const auto& [name, program] : daemons) {
    contenders.push_back(std::make_unique<DaemonContender>(name, program));
  }
  contenders.push_back(std::make_unique<CallsContender>(BENCH_CALLS));
  contenders.push_back(std::make_unique<BareContender>(BENCH_BARE));
  contenders.push_back(std::make_unique<Mdevd>());
  contenders.push_back(std::make_unique<Udevd>());
  contenders.push_back(std::make_unique<Mdev>());
  return contenders;
}

}  // namespace bench
