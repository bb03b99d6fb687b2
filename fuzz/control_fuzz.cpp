// Lines of the control port, from clients, a console, and the daemon itself: an input is a dialogue.
#include "support/dialogue.h"
#include "support/fuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  hark::fuzz::run_dialogue(hark::fuzz::as_text(data, size), hark::fuzz::Sender::kClient);
  return 0;
}
