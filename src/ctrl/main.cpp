#include <boost/lexical_cast.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

#include "ctrl/command_line.h"
#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/messages.h"
#include "ctrl/rx_ctrl.h"
#include "ctrl/signals.h"
#include "ulx/exceptions.h"

namespace {

std::string connectFailTimeoutText() {
  const char* configured = getConfigString(configuration_key::connectFailTimeout);
  return configured == nullptr ? "10" : configured;
}

void runDaemon(int argc, char* const* argv) {
  const Options options = parseOptions(argc, argv);
  applyConfiguration(options);
  const std::string timeoutText = connectFailTimeoutText();
  char* const* positionals = argv + argc - positionalCount;
  const auto ctrl = std::make_unique<RxCtrl>(
      positionals[0], boost::lexical_cast<std::uint16_t>(positionals[1]), positionals[2], options.classes,
      options.inkey, options.outkey, timeoutText, options.socketPath, options.interface);
  ctrl->run();
}

// Everything that is thrown leaves as a ulx::Exception, with a text and an exit status.
void runWithKnownExceptions(int argc, char* const* argv) {
  try {
    runDaemon(argc, argv);
  } catch (const ulx::Exception&) {
    throw;
  } catch (const std::exception& e) {
    throw ulx::StdException(e);
  } catch (const char* text) {
    throw ulx::StrException(text);
  } catch (const std::string& text) {
    throw ulx::StrException(text);
  } catch (...) {
    throw ulx::UnknownException();
  }
}

int runAndReport(int argc, char* const* argv) {
  try {
    runWithKnownExceptions(argc, argv);
    return EXIT_SUCCESS;
  } catch (const ulx::Exception& e) {
    logError(e.text());
    return e.status;
  }
}

}  // namespace

int main(int argc, char** argv) {
  ignoreBrokenPipes();
  catchHangups();  // before the configuration is read, whose lock may have to be waited for
  if (argc <= positionalCount) {
    printUsage();
  }
  // The store reports a missing configuration on standard output: at once, not when the daemon ends.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  std::exit(runAndReport(argc, argv));
}
