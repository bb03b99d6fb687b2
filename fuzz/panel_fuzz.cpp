// Lines of a network panel: an input is the panel's name, then what it says, with calls that are reported and
// the clock between it (support/panel_rig.h tells the marks).
#include "support/fuzzing.h"
#include "support/panel_rig.h"

namespace {

constexpr std::size_t kLongestId = 1980;  // what is left of a line beside "ATTACH HARKUI#"

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 2);
  parts.resize(2);
  // A name ends at a point or a blank.
  const std::string id =
      parts[0].substr(0, std::min(parts[0].find_first_of(std::string_view(". \r\0", 4)), kLongestId));
  hark::fuzz::PanelRig rig(id, hark::HarkUIProxy::kNetworkPanel);
  for (const std::string& line : hark::fuzz::lines_of(parts[1])) {
    if (!rig.run_mark(line)) rig.panel().harkui_receive(hark::fuzz::ExactText(line).c_str());
    rig.pass();
  }
  return 0;
}
