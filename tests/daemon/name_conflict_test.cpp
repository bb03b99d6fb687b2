// Another station on the network has our name: the process ends from inside a callback of DNS-SD, in the
// middle of a pass, and nothing that it holds is lost by that.
#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdlib>

#include "addressing/harkbonjour.h"
#include "daemon/daemon_fixture.h"
#include "daemon/harkd.h"
#include "daemon/harkd_private.h"
#include "daemon/log/process_files.h"
#include "daemon/server_cmd.h"
#include "daemon/station/station.h"
#include "support/scripted_dnssd.h"

namespace hark {
namespace {

using testing::ExitedWithCode;
using testing::HasSubstr;

class NameConflict : public testing::Test {
 protected:
  NameConflict() {
    bStopSignaled = 0;
    station_reset();
    scripted_dnssd.Reset();
    station.harkconfig_file = folder.File("harkd.conf");
    station.ApplicationSettingsFolder = folder.path();
    pid_file_folder_ = std::exchange(pid_file_folder, folder.path() + "/");
  }
  ~NameConflict() override {
    pid_file_folder = pid_file_folder_;
    scripted_dnssd.Reset();
    station_reset();
  }

  // A station that runs, is announced, has a setting that is not saved yet, and then meets its namesake.
  [[noreturn]] void MeetNamesake() const {
    const std::array<const char*, 7> argv = {"harkd",     "-i",         "nonic0", "-sip_ip",
                                             "127.0.0.1", "-ctrl_port", "0"};
    if (harkd_initialize(static_cast<int>(argv.size()), argv.data()) != 0) std::exit(1);
    create_pid_file("harkd");
    if (!folder.Exists("harkd.pid")) std::exit(2);
    scripted_dnssd.Start();
    if (harkbonjour_initialize(0, 4013, "News") != 0) std::exit(3);
    server_cmd("HARK TRGL:7\n", kInternalConnection);
    RegisterAnswer answer;
    answer.error = kDNSServiceErr_NameConflict;
    answer.name = "News";
    scripted_dnssd.Answer(scripted_dnssd.References(DnssdKind::kRegister).front(), answer);
    // What is printed goes to stderr, where the test looks.
    (void)::dup2(2, 1);
    (void)harkd_main();
    std::exit(4);
  }

  TestFolder folder;
  TestFiles files{folder};
  std::string pid_file_folder_;
};

TEST_F(NameConflict, EndsTheProcessWithNothingLost) {
  EXPECT_EXIT(MeetNamesake(), ExitedWithCode(255), "Name in use, please choose another");
  EXPECT_THAT(folder.Read("harkid"), HasSubstr("TRGL:7")) << "a setting of the same pass is saved";
  EXPECT_FALSE(folder.Exists("harkd.pid"));
}

}  // namespace
}  // namespace hark
