// Reports of calls, of which anybody who can call this station writes a part: an input is lines as the model
// gets them. What is learned of the callers leaves a table that its readers understand.
#include "support/fuzzing.h"
#include "support/panel_rig.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  hark::fuzz::PanelRig rig("1", hark::HarkUIProxy::kNetworkPanel);
  for (const std::string& line : hark::fuzz::lines_of(hark::fuzz::as_text(data, size))) {
    const bool is_clock = line[0] == '@' && rig.run_mark(line);
    if (!is_clock) rig.model().harkd_receive(hark::fuzz::ExactText(line).c_str());
    rig.pass();
    hark::fuzz::check_learned_table();
  }
  return 0;
}
