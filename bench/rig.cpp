#include "rig.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace hark::bench {
namespace {

constexpr const char* kIdentity =
    "HARK LABL:\"Bench\" DROPFLASH:0\r\nSRC 1 PSNM:\"Bench\" RTPA:\"239.192.0.77\"\r\n";

std::string sources() { return std::string(kSourceLabel) + " <quillnet:" + kSource + ">;gpio=1;gpiol=1\n"; }

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
