#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

#include <array>
#include <string>
#include <vector>

#include "ctrl/messages.h"
#include "ctrl/settings.h"
#include "sim/descriptor.h"
#include "support/child.h"
#include "support/output.h"
#include "support/restored_settings.h"

namespace {

using Lines = std::vector<std::string>;

// Stands where the system's logger does, in a private world.
class Logger {
 public:
  Logger() : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string("/dev/log").copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }

  // The messages since the last call as "<PRIORITY>" and the text behind the program's name.
  [[nodiscard]] Lines messages() const {
    Lines found;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0;) {
      found.push_back(withoutHeader({buffer.data(), static_cast<std::size_t>(size)}));
    }
    return found;
  }

 private:
  // "<15>Jan  1 00:00:00 program: text"
  static std::string withoutHeader(const std::string& line) {
    const std::string name = std::string(program_invocation_short_name) + ": ";
    const std::size_t nameStart = line.find(name);
    EXPECT_NE(nameStart, std::string::npos) << line;
    return line.substr(0, line.find('>') + 1) + line.substr(nameStart + name.size());
  }

  sim::Descriptor socket_;
};

std::string priority(int severity) {
  return "<" + std::to_string(LOG_USER | severity) + ">";
}

class SyslogMessages : public testing::Test {
 protected:
  SyslogMessages() { settings.logToSyslog = true; }

 private:
  support::RestoredSettings settings_;
};

TEST_F(SyslogMessages, ADebugMessageIsTagAndTextAtDebugPriorityWithoutATime) {
  support::inPrivateWorld([] {
    const Logger logger;
    DebugMessage("[rx_ctrl] ") << "coldplugging existing devices";
    EXPECT_EQ(logger.messages(), Lines{priority(LOG_DEBUG) + "[rx_ctrl] coldplugging existing devices"});
  });
}

TEST_F(SyslogMessages, AnErrorMessageIsTheTextAtErrorPriorityWithoutATime) {
  support::inPrivateWorld([] {
    const Logger logger;
    ErrorMessage("Address already in use while bind()");
    EXPECT_EQ(logger.messages(), Lines{priority(LOG_ERR) + "Address already in use while bind()"});
  });
}

TEST_F(SyslogMessages, APercentSignHasNoMeaning) {
  support::inPrivateWorld([] {
    const Logger logger;
    ErrorMessage("100%s of %n");
    EXPECT_EQ(logger.messages(), Lines{priority(LOG_ERR) + "100%s of %n"});
  });
}

TEST_F(SyslogMessages, NothingGoesToStandardError) {
  support::inPrivateWorld([] {
    const Logger logger;
    const support::CapturedStandardError captured;
    ErrorMessage("text");
    EXPECT_EQ(captured.writes(), Lines{});
  });
}

TEST_F(SyslogMessages, MessagesOnStandardErrorDoNotReachTheLogger) {
  support::inPrivateWorld([] {
    const Logger logger;
    settings.logToSyslog = false;
    const support::CapturedStandardError captured;
    ErrorMessage("text");
    EXPECT_EQ(logger.messages(), Lines{});
  });
}

TEST_F(SyslogMessages, ALoggerThatIsNotThereIsNoError) {
  support::inPrivateWorld([] { EXPECT_NO_THROW(ErrorMessage("lost")); });
}

}  // namespace
