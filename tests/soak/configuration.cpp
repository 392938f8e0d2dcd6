#include "soak/configuration.h"

#include "sim/unit.h"

namespace soak {

namespace {

// Sets a switch to what a random spelling of its value means; some spellings mean nothing.
std::string randomSwitch(Random& random, const std::string& key, bool& value) {
  if (random.oneIn(3)) {
    return "";
  }
  const bool wanted = random.oneIn(2);
  if (random.oneIn(8)) {
    return key + " = " + random.word({"2", "on", "enabled", "?"}) + "\n";
  }
  value = wanted;
  return key + " = " +
         (wanted ? random.word({"1", "yes", "True", "Y", "tr"}) : random.word({"0", "no", "False", "N"})) +
         "\n";
}

}  // namespace

void Configuration::write() const {
  if (form == Form::missing) {
    sim::Unit::removeConfig();
  } else {
    sim::Unit::writeConfig(text);
  }
}

std::string randomTimeout(Random& random) {
  return random.word({"1000000", "1000000", "1000000", "0", "never", "-5"});
}

Configuration randomConfiguration(Random& random, const std::string& timeout) {
  Configuration made;
  if (random.oneIn(12)) {
    return made;
  }
  if (random.oneIn(8)) {
    made.form = Configuration::Form::broken;
    made.text = "[usb]\nsmartcard = 1\n" + random.word({"neither a section nor a key\n", "[unclosed\n"});
    return made;
  }
  made.form = Configuration::Form::readable;
  made.connectFailTimeout = timeout;
  made.text = "[usb]\nconnect_fail_timeout = " + timeout + "\n";
  made.text += randomSwitch(random, "smartcard", made.smartcard);
  made.text += randomSwitch(random, "hid_only", made.hidOnly);
  made.text += randomSwitch(random, "block_mass_storage", made.blockMassStorage);
  made.text += randomSwitch(random, "isochronous_enabled", made.isochronousEnabled);
  made.text += randomSwitch(random, "isochronous_user_warning", made.isochronousUserWarning);
  if (random.oneIn(4)) {
    made.genericProgram = "/opt/soak/generic";
    made.text += "[apps]\nquor_usb_rx_generic = " + made.genericProgram + "\n";
  }
  return made;
}

}  // namespace soak
