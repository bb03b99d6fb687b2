// The option file: an input is the file. Whatever it holds is taken or ends the program with the usage text's
// status, which the fuzzer sees as an exception.
#include "daemon/options.h"
#include "daemon/station/station.h"
#include "support/fuzzing.h"

// The name that std::exit was given stays here as it is.
#include "support/throwing_exit.h"
#undef exit

namespace {

using hark::station;
using hark::fuzz::check;

constexpr int kExitUsage = 1;
constexpr std::size_t kLongestWord = 80;  // a line of the file and the "-" in front of it

void check_station() {
  check(station.harkd_qnrd_io_min > 0 && station.harkd_qnrd_io_min <= station.harkd_qnrd_io_max,
        "the routing destinations are a range");
  check(station.ifa_name.size() <= kLongestWord && station.harkd_iface_name.size() <= kLongestWord,
        "an interface's name is from one line");
  check(station.harkd_iface_name == station.harkd_ifa_name_default, "both defaults of the interface are one");
  check(station.appName == "harkd" && station.harkd_svcname[0] == '\0', "nothing else is touched");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const hark::fuzz::MemoryFile file;
  file.write(hark::fuzz::as_text(data, size));
  hark::station_reset();
  station.harkconfig_file = file.path();
  try {
    hark::loadconfig();
  } catch (const hark::fuzz::ExitCalled& exit_called) {
    check(exit_called.status == kExitUsage, "a bad option ends with the usage text's status");
  }
  check_station();
  return 0;
}
