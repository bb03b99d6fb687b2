// Lines of the routing daemon: an input is a dialogue that it leads.
#include "support/dialogue.h"
#include "support/fuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  hark::fuzz::run_dialogue(hark::fuzz::as_text(data, size), hark::fuzz::Sender::kRoutingDaemon);
  return 0;
}
