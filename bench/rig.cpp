#include "rig.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace hark::bench {
namespace {

constexpr const char* kIdentity =
    "HARK LABL:\"Bench\" DROPFLASH:0\r\nSRC 1 PSNM:\"Bench\" RTPA:\"239.192.0.77\"\r\n";

// An ordinary station's file; the source that is called stands last, so that all others are looked at before
// it.
std::string sources() {
  constexpr int kOthers = 499;
  std::string text;
  for (int i = 0; i < kOthers; ++i)
    text += "Station" + std::to_string(i) + " <hark:10.0." + std::to_string(i / 250) + "." +
            std::to_string(i % 250 + 1) + ">;trgl=4\n\talt Alt " + std::to_string(i) + "\n";
  return text + kSourceLabel + " <quillnet:" + kSource + ">;gpio=1;gpiol=1\n";
}

}  // namespace

std::string source_command(int input, const std::string& source) {
  return "set hark#1.sub#1.in#" + std::to_string(input) + " src_id=\"" + source + "\"";
}

std::size_t source_command_size(int input) {
  return (source_command(input, kSource) + ", gain=0\r\n").size();
}

Rig::Rig(const std::string& harkd, const std::string& channels)
    : root_(sources(), channels),
      daemon_(harkd, root_, ctrl_port_, listener_.port()),
      mixer_(daemon_.pid() > 0 ? listener_.accept() : UniqueFd()) {
  mixer_.send(kIdentity);
}

bool Rig::wait_ready(LineConnection& control) {
  // The station can make calls once it has taken its identity, of which the version request knows nothing:
  // the loop has done it when it has answered twice.
  for (int i = 0; i < 2; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    control.send("VER\r\n");
    (void)control.wait_for("VER ");
  }
  return !control.is_lost() || fail("the control port does not answer");
}

void Rig::end_call(LineConnection& control, int input) {
  mixer_.send("GPO 2 Hxxxx\r\n");
  (void)mixer_.wait_for(source_command(input, ""));
  control.send("VER\r\n");
  (void)control.wait_for("VER ");
}

bool fail(const char* what) {
  (void)std::fprintf(stderr, "hark_bench: %s\n", what);
  return false;
}

}  // namespace hark::bench
