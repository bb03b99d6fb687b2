// The station beside a DNS-SD daemon that is not there, dies, hangs and comes back: it keeps on serving its
// panels, and finds and announces again as soon as it can.
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>

#include "system/net/discovery_fixture.h"

namespace hark::test {
namespace {

using std::chrono::steady_clock;

class LostDaemon : public DiscoveryTest {
 protected:
  // All is well: the station knows the others, and they know it.
  [[nodiscard]] testing::AssertionResult WellAgain() {
    if (testing::AssertionResult found = a.wait_entry("gate", kGate, kRecoverMs); !found) return found;
    if (testing::AssertionResult self = a.wait_entry("IC 000002", a.own_entry(), kRecoverMs); !self)
      return self;
    return witness_->wait_there("IC 000002", kRecoverMs);
  }
  void SetUp() override {
    DiscoveryTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    gate_ = watcher.publish({.name = "gate"});
    witness_ = std::make_unique<Witness>(watcher);
  }

  static constexpr char kGate[] = "gate <hark:10.77.0.200>\n\tharkd 4013\n";
  // The longest wait between two tries is 16 s; the tests come back long before that.
  static constexpr int kRecoverMs = 15'000;

  NetStation a{net, 2};
  Desk desk;
  Program gate_;
  std::unique_ptr<Witness> witness_;
};

TEST_F(LostDaemon, IsFoundWhenItStartsLater) {
  Start(a, desk);
  EXPECT_LT(desk.answer_ms(), kNotHeldUpMs);
  EXPECT_EQ(a.log_count("mdns reconnected"), 0);
  ASSERT_TRUE(a.host.start_discovery());
  EXPECT_TRUE(WellAgain());
  EXPECT_EQ(a.log_count("mdns reconnected"), 1);
  EXPECT_EQ(a.log_count("mdns failure"), 0) << "it was never lost";
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, IsFoundWhenTheBusWasThereBefore) {
  ASSERT_TRUE(a.host.start_bus());
  Start(a, desk);
  EXPECT_LT(desk.answer_ms(), kNotHeldUpMs);
  ASSERT_TRUE(a.host.start_avahi());
  EXPECT_TRUE(WellAgain());
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, IsNoticedAtOnceAndFoundAgain) {
  Boot(a, desk);
  ASSERT_TRUE(WellAgain());
  const int before = a.log_count("mdns reconnected");
  a.host.kill_avahi();
  EXPECT_TRUE(a.logged("mdns failure"));
  EXPECT_TRUE(wait_until([&] { return a.table().empty(); })) << a.table();
  EXPECT_EQ(a.log_count("mdns reconnected"), before);
  ASSERT_TRUE(a.host.start_avahi());
  EXPECT_TRUE(WellAgain());
  EXPECT_EQ(a.log_count("mdns failure"), 1);
  EXPECT_EQ(a.log_count("mdns reconnected"), before + 1);
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, IsFoundAgainAfterAnOrderlyRestart) {
  Boot(a, desk);
  ASSERT_TRUE(WellAgain());
  a.host.stop_avahi();
  ASSERT_TRUE(a.host.start_avahi());
  EXPECT_TRUE(a.logged("mdns failure"));
  EXPECT_TRUE(a.logged("mdns reconnected", 2, kRecoverMs));
  EXPECT_TRUE(WellAgain());
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, IsFoundAgainAfterTheBusWasKilled) {
  Boot(a, desk);
  ASSERT_TRUE(WellAgain());
  a.host.kill_bus();
  EXPECT_TRUE(a.logged("mdns failure"));
  EXPECT_TRUE(wait_until([&] { return a.table().empty(); })) << a.table();
  EXPECT_LT(desk.answer_ms(), kNotHeldUpMs);
  a.host.kill_avahi();
  ASSERT_TRUE(a.host.start_discovery());
  EXPECT_TRUE(WellAgain());
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, MayHangWithoutHoldingUpTheStation) {
  Boot(a, desk);
  ASSERT_TRUE(WellAgain());
  a.host.pause_avahi();
  // The station has to announce itself anew, and tries again and again.
  ASSERT_TRUE(a.give_source("SRC 1 PSNM:\"Other\" RTPA:\"239.192.0.77:5004\""));
  const auto start = steady_clock::now();
  EXPECT_TRUE(AnswersUntil(desk, [&] { return steady_clock::now() - start > std::chrono::seconds(6); }));
  a.host.resume_avahi();
  EXPECT_TRUE(a.wait_entry("IC 000002", a.own_entry("Other"), kRecoverMs));
  EXPECT_TRUE(a.wait_entry("gate", kGate, kRecoverMs));
  EXPECT_TRUE(witness_->wait_there("IC 000002", kRecoverMs));
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, MayHangWithItsBus) {
  Boot(a, desk);
  ASSERT_TRUE(WellAgain());
  a.host.pause_bus();
  ASSERT_TRUE(a.give_source("SRC 1 PSNM:\"Other\" RTPA:\"239.192.0.77:5004\""));
  const auto start = steady_clock::now();
  EXPECT_TRUE(AnswersUntil(desk, [&] { return steady_clock::now() - start > std::chrono::seconds(6); }));
  a.host.resume_bus();
  EXPECT_TRUE(a.wait_entry("IC 000002", a.own_entry("Other"), kRecoverMs));
  EXPECT_TRUE(a.wait_entry("gate", kGate, kRecoverMs));
  EXPECT_TRUE(witness_->wait_there("IC 000002", kRecoverMs));
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, MayHangWithItsBusFromTheStartOn) {
  ASSERT_TRUE(a.host.start_discovery());
  a.host.pause_bus();
  Start(a, desk);
  const auto start = steady_clock::now();
  EXPECT_TRUE(AnswersUntil(desk, [&] { return steady_clock::now() - start > std::chrono::seconds(3); }));
  a.host.resume_bus();
  EXPECT_TRUE(WellAgain());
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, MayHangWithItsBusWhileTheStationEnds) {
  Boot(a, desk);
  ASSERT_TRUE(WellAgain());
  a.host.pause_bus();
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_EQ(a.table(), "");
}

// Each press and each release of such a key asks the daemon; all of them together may cost no more than one.
TEST_F(LostDaemon, MayHangWhileKeysOfUnknownStationsArePressed) {
  Boot(a, desk);
  ASSERT_TRUE(WellAgain());
  ASSERT_TRUE(desk.assign("KL01", "Nobody"));
  ASSERT_TRUE(desk.wait_display("KL01", R"(TEXT="Nobody", ALT="", DFL=0)"));
  a.host.pause_avahi();
  for (int i = 0; i < 4; ++i)
    ASSERT_TRUE(desk.tap("KL01"));
  const auto start = steady_clock::now();
  EXPECT_TRUE(AnswersUntil(desk, [&] { return steady_clock::now() - start > std::chrono::seconds(3); }));
  a.host.resume_avahi();
  EXPECT_TRUE(WellAgain());
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, MayHangFromTheStartOn) {
  ASSERT_TRUE(a.host.start_discovery());
  a.host.pause_avahi();
  Start(a, desk);
  const auto start = steady_clock::now();
  EXPECT_TRUE(AnswersUntil(desk, [&] { return steady_clock::now() - start > std::chrono::seconds(3); }));
  a.host.resume_avahi();
  EXPECT_TRUE(WellAgain());
  EXPECT_TRUE(a.station.ends_clean());
}

TEST_F(LostDaemon, MayHangWhileTheStationEnds) {
  Boot(a, desk);
  ASSERT_TRUE(WellAgain());
  a.host.pause_avahi();
  EXPECT_TRUE(a.station.ends_clean());
  EXPECT_EQ(a.table(), "");
}

// Stands where the system bus does, and hangs up on everybody.
class DeadBus : public Pumped {
 public:
  explicit DeadBus(const std::string& path)
      : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un at{};
    at.sun_family = AF_UNIX;
    path.copy(std::begin(at.sun_path), sizeof at.sun_path - 1);
    listens_ = ::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) == 0 &&
               ::listen(listener_.get(), 10) == 0;
  }
  [[nodiscard]] bool listens() const { return listens_; }
  // Seconds between one try and the next; several connections in a row are one try.
  [[nodiscard]] const std::vector<double>& pauses() const { return pauses_; }

  void fill(fd_set& read, fd_set& /*write*/, int& highest) const override {
    (void)fdset_add(listener_.get(), read, highest);
  }
  void serve(const fd_set& read, const fd_set& /*write*/) override {
    if (!fdset_has(listener_.get(), read)) return;
    const UniqueFd hung_up(::accept(listener_.get(), nullptr, nullptr));
    const auto now = steady_clock::now();
    const double pause = std::chrono::duration<double>(now - last_).count();
    if (last_ != steady_clock::time_point() && pause > kOneTryS) pauses_.push_back(pause);
    last_ = now;
  }

 private:
  static constexpr double kOneTryS = 0.5;

  UniqueFd listener_;
  bool listens_ = false;
  steady_clock::time_point last_;
  std::vector<double> pauses_;
};

TEST_F(LostDaemon, IsTriedAgainAfterPausesThatDouble) {
  DeadBus bus(a.host.run_file("dbus/system_bus_socket"));
  ASSERT_TRUE(bus.listens());
  Start(a, desk);
  ASSERT_TRUE(wait_until([&] { return bus.pauses().size() >= 4; }, 30'000));
  double least = 1;
  for (std::size_t i = 0; i < 4; ++i, least *= 2) {
    SCOPED_TRACE(i);
    // Half of it and twice as much are for a loaded machine, on which a try takes its time and is seen late.
    EXPECT_GT(bus.pauses()[i], least / 2);
    EXPECT_LT(bus.pauses()[i], least * 2);
  }
  EXPECT_EQ(a.log_count("mdns reconnected"), 0);
  EXPECT_TRUE(a.station.ends_clean());
}

}  // namespace
}  // namespace hark::test
