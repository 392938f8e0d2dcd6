#include "fuzz/usbip_worker_seeds.h"

#include "fuzz/input.h"
#include "fuzz/usbip_worker_input.h"

namespace fuzz {
namespace {

using namespace std::string_literals;

std::string greeting(bool hasKeys, char verdict) {
  return "USB-RXIP\0\1"s + (hasKeys ? '\1' : '\0') + verdict + std::string(32, 'c');
}

std::string said(unsigned switches, const std::string& bytes) {
  return InputWriter().byte(switches).bytes(bytes).written();
}

}  // namespace

std::vector<std::string> usbipWorkerSeeds() {
  const std::string proof(32, 'p');
  std::vector<std::string> inputs{said(0, "GET / HTTP/1.1\r\n\r\n"), said(0, "USB-RXIP\0\2"s)};
  for (unsigned switches = 0; switches <= (workerKeysSwitch | rightProofSwitch); ++switches) {
    for (const bool hasKeys : {false, true}) {
      inputs.push_back(said(switches, greeting(hasKeys, 0)));
      inputs.push_back(said(switches, greeting(hasKeys, 0) + "\0the kernel's"s));
      inputs.push_back(said(switches, greeting(hasKeys, 0) + '\0' + proof + "\0the kernel's"s));
    }
  }
  for (char verdict = 1; verdict <= 9; ++verdict) {
    inputs.push_back(said(0, greeting(false, verdict)));
    inputs.push_back(said(0, greeting(false, 0) + verdict));
    inputs.push_back(said(workerKeysSwitch, greeting(true, 0) + verdict));
  }
  return inputs;
}

}  // namespace fuzz
