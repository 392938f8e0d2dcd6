#include "kernel/pair/wire.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "kernel/guest/machine.h"

namespace pair {

Wire::~Wire() {
  try {
    heal();
  } catch (const std::exception& error) {
    // The next test would find machines that do not reach each other.
    std::fprintf(stderr, "the wire stays cut: %s\n", error.what());
    std::abort();
  }
}

void Wire::cut() {
  guest::thisMachine().execute("set_link", R"({"name": "wire", "up": false})");
  isCut_ = true;
}

void Wire::heal() {
  if (isCut_) {
    guest::thisMachine().execute("set_link", R"({"name": "wire", "up": true})");
    isCut_ = false;
  }
}

}  // namespace pair
