#include "demo/configurator.h"

#include <sys/wait.h>

#include "sim/error.h"
#include "sim/process.h"

namespace demo {

void runConfigurator(const CommandLine& arguments) {
  CommandLine command = {DEMO_CONFIGURATOR};
  command.insert(command.end(), arguments.begin(), arguments.end());
  int status = 0;
  if (::waitpid(sim::startProcess(command, {}, "/dev/null", "/dev/null"), &status, 0) == -1) {
    throw sim::systemError("waitpid()");
  }
  if (status != 0) {
    throw sim::Error("quor_config did not do what it was asked for");
  }
}

}  // namespace demo
