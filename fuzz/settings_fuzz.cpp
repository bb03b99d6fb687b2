// The settings file: an input is the file, replayed at start as the daemon does it. What is saved after that
// must read back as the same settings. A contact's configuration may take one more turn to come to rest: a
// quote that nothing closes is closed when it is stored, and a backslash in front of that makes the new quote
// part of the value.
#include <string>

#include "daemon/settings.h"
#include "support/fuzzing.h"
#include "support/station_rig.h"

namespace {

using hark::fuzz::check;
using hark::fuzz::StationRig;

constexpr int kStationLines = 3;  // the settings and the two sources

std::string load_and_save(const std::string& text) {
  StationRig rig(false);
  rig.load_settings(text);
  check(!hark::harkd_ext_config_changed(), "a load causes no save");
  const std::string saved = StationRig::save_settings();
  rig.advance_ms(10);
  return saved;
}

// The first `count` lines.
std::string lines(const std::string& text, int count) {
  std::size_t end = 0;
  for (; count > 0; --count) {
    end = text.find('\n', end);
    check(end != std::string::npos, "a saved file has all of its lines");
    ++end;
  }
  return text.substr(0, end);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string saved = load_and_save(std::string(hark::fuzz::as_text(data, size)));
  const std::string again = load_and_save(saved);
  check(lines(again, kStationLines) == lines(saved, kStationLines),
        "the station's settings read back as they were");
  check(load_and_save(again) == again, "what was saved reads back as it was");
  return 0;
}
