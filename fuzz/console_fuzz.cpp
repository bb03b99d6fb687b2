// Lines of a console's key module, from behind "Intercom": an input is the module's type (1, 2 or 3, the
// first character), then what it says, with calls that are reported and the clock between it
// (support/panel_rig.h tells the marks).
#include "support/fuzzing.h"
#include "support/panel_rig.h"

namespace {

int type_of(char letter) {
  constexpr int kTypes = hark::HarkUIProxy::kModuleColour;
  return (static_cast<unsigned char>(letter) - '1') % kTypes + hark::HarkUIProxy::kModule20;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = hark::fuzz::as_text(data, size);
  if (input.empty() || input[0] < '1') return 0;
  hark::fuzz::PanelRig rig("1", type_of(input[0]));
  for (const std::string& line : hark::fuzz::lines_of(input.substr(1))) {
    if (!rig.run_mark(line)) rig.panel().harkui_receive_surface(hark::fuzz::ExactText(line).c_str());
    rig.pass();
  }
  return 0;
}
