#include "demo/real/steps.h"

#include <exception>
#include <string>

namespace demo {

void Steps::show(const std::string& headline, const std::function<std::string()>& act) {
  if (done_ != shown_++) {
    return;
  }
  log_.headline(std::to_string(shown_) + ". " + headline);
  try {
    log_.line("ok", act());
    ++done_;
  } catch (const std::exception& error) {
    const std::string why = error.what();
    log_.line("FAILED", why.substr(0, why.find('\n')));  // what a wait adds for tests is not for a person
  }
}

bool Steps::conclude() const {
  log_.headline(std::to_string(done_) + " of " + std::to_string(shown_) + " steps went as expected" +
                (done_ == shown_ ? "." : "; the one above did not, and ends the demo."));
  return done_ == shown_;
}

}  // namespace demo
