// Start, loop and end inside one process: nothing is left open, and a start that fails tells its reason.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "daemon/daemon_fixture.h"
#include "daemon/harkd.h"
#include "daemon/harkd_private.h"
#include "daemon/options.h"
#include "daemon/settings.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

using testing::ExitedWithCode;
using testing::HasSubstr;

constexpr char kNobody[] = "9";  // no routing daemon listens at the discard port

class Lifecycle : public testing::Test {
 protected:
  Lifecycle() {
    bStopSignaled = 0;
    station_reset();
    station.harkconfig_file = folder.File("harkd.conf");
    station.ApplicationSettingsFolder = folder.path();
  }
  ~Lifecycle() override { station_reset(); }

  // A port of this machine that is free, or taken as long as `holder` is open.
  static std::string Port(UniqueFd& holder) {
    holder.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in at{};
    at.sin_family = AF_INET;
    socklen_t size = sizeof at;
    EXPECT_EQ(::bind(holder.get(), reinterpret_cast<sockaddr*>(&at), sizeof at), 0);
    EXPECT_EQ(::listen(holder.get(), 1), 0);
    EXPECT_EQ(::getsockname(holder.get(), reinterpret_cast<sockaddr*>(&at), &size), 0);
    return std::to_string(ntohs(at.sin_port));
  }
  static std::string FreePort() {
    UniqueFd holder;
    return Port(holder);
  }
  static int Start(const std::string& port) {
    const std::array<const char*, 9> argv = {"harkd",      "-i",         "nonic0",    "-sip_ip", "127.0.0.1",
                                             "-ctrl_port", port.c_str(), "-qnr_port", kNobody};
    return harkd_initialize(static_cast<int>(argv.size()), argv.data());
  }
  static long Descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }

  TestFolder folder;
  TestFiles files{folder};
};

TEST_F(Lifecycle, StopIsObeyedAtTheEndOfThePassAndNothingStaysOpen) {
  const long before = Descriptors();
  EXPECT_EQ(Start(FreePort()), 0);
  EXPECT_GT(Descriptors(), before);
  harkd_stop();
  EXPECT_EQ(harkd_main(), 0);
  EXPECT_EQ(Descriptors(), before);
  EXPECT_EQ(server.con_data, nullptr);
  EXPECT_EQ(server.model, nullptr);
  EXPECT_TRUE(qnrobjdb.objs.empty());
}

TEST_F(Lifecycle, StartSetsAddressOfTheRoutingDaemonAndInterfaceBehindTheCommandLine) {
  EXPECT_EQ(Start(FreePort()), 0);
  EXPECT_STREQ(dotted(station.harkd_qnrd_ipv4).data(), "127.0.0.1");
  EXPECT_EQ(station.harkd_qnrd_port, 9);
  EXPECT_EQ(station.ifa_name, "nonic0");
  EXPECT_STREQ(dotted(station.sip_ip).data(), "127.0.0.1");
  EXPECT_STREQ(station.harkd_svcname.data(), "");
  EXPECT_FALSE(station.harkbonjour_init) << "announcing waits until something asks for it";
  for (int i = 0; i < kMaxConnections; ++i) {
    EXPECT_FALSE(server.is_open(i));
    EXPECT_EQ(server.slot(i).reconnect_us, kNotConsole);
  }
  harkd_stop();
  EXPECT_EQ(harkd_main(), 0);
}

TEST_F(Lifecycle, OptionFileOverridesWhatTheCommandLineMayNotSet) {
  folder.Write("harkd.conf", "qnr_port 10.255.255.254:9\nsip_ip lo\nqnr_port 127.0.0.8:8\n");
  EXPECT_EQ(Start(FreePort()), 0);
  EXPECT_STREQ(dotted(station.harkd_qnrd_ipv4).data(), "127.0.0.8");
  EXPECT_EQ(station.harkd_qnrd_port, 8);
  EXPECT_EQ(station.ifa_name, "lo");
  EXPECT_EQ(std::string(dotted(station.sip_ip).data()).substr(0, 4), "127.")
      << "the address is polled at start";
  harkd_stop();
  EXPECT_EQ(harkd_main(), 0);
}

// Interrupts select again and again, as no signal but SIGTERM should.
class Interrupter {
 public:
  Interrupter() {
    struct sigaction action {};
    action.sa_handler = [](int /*signal*/) {};
    (void)::sigaction(SIGALRM, &action, nullptr);
    Every(1000);
  }
  Interrupter(const Interrupter&) = delete;
  Interrupter& operator=(const Interrupter&) = delete;
  ~Interrupter() {
    Every(0);
    (void)std::signal(SIGALRM, SIG_DFL);
  }

 private:
  static void Every(int us) {
    const itimerval timer{{0, us}, {0, us}};
    (void)::setitimer(ITIMER_REAL, &timer, nullptr);
  }
};

TEST_F(Lifecycle, SelectThatFailsEndsTheLoopAndCleansUp) {
  const long before = Descriptors();
  ASSERT_EQ(Start(FreePort()), 0);
  testing::internal::CaptureStderr();
  {
    const Interrupter interrupter;
    EXPECT_EQ(harkd_main(), -1);
  }
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("harkd: select() err=4\n"));
  EXPECT_EQ(Descriptors(), before);
  EXPECT_EQ(server.con_data, nullptr);
}

TEST_F(Lifecycle, NameIsMadeOfTheHardwareAddress) {
  std::array<char, kLabelSize> name{};
  station.harkd_iface_name = "lo";  // whose address is all zeros
  harkd_mkdefaultsvcname(name.data(), name.size());
  EXPECT_STREQ(name.data(), "IC 000000");
}

TEST_F(Lifecycle, DefaultNameNeedsAHardwareAddress) {
  std::array<char, kLabelSize> name{};
  name.fill('#');
  station.harkd_iface_name = "nonic0";
  harkd_mkdefaultsvcname(name.data(), name.size());
  EXPECT_STREQ(name.data(), "");
}

using LifecycleDeathTest = Lifecycle;

TEST_F(LifecycleDeathTest, TakenControlPortIsTheReasonMinusOne) {
  UniqueFd holder;
  const std::string port = Port(holder);
  EXPECT_EXIT(std::_Exit(Start(port) == -1 ? 0 : 1), ExitedWithCode(0), HasSubstr(""));
}

}  // namespace
}  // namespace hark
