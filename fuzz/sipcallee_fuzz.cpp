// Calls that come in: an input is what the service is like, and behind a line feed the steps of far stations,
// of the application, and of the clock (support/sip_world.h) after an INVITE has come in.
#include "support/fuzzing.h"
#include "support/sip_world.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  hark::fuzz::run_world(hark::fuzz::as_text(data, size), "<INVITE|%a015");
  return 0;
}
