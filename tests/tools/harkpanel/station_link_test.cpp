// The connection to the station over real sockets on loopback: what is reported, in which words, and that
// nothing is reported from within a call.
#include "tools/harkpanel/station_link.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/fd.h"

namespace hark::panel_gateway {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr Ms kPatience = 30'000;

// The station's end: a listening socket, and one connection.
class FakeStation {
 public:
  FakeStation() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof at;
    const int room = 8'192;  // what it does not read soon fills the connection
    (void)::setsockopt(listener_.get(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<sockaddr*>(&at), size), 0);
    EXPECT_EQ(::listen(listener_.get(), 4), 0);
    EXPECT_EQ(::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&at), &size), 0);
    port_ = ntohs(at.sin_port);
  }
  [[nodiscard]] std::uint16_t port() const { return port_; }
  void TakeIn() { peer_.reset(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)); }
  void StopListening() { listener_.reset(); }
  void Say(const std::string& bytes) const {
    EXPECT_EQ(::send(peer_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  void HangUp() { peer_.reset(); }
  // With unread bytes before it: the other end finds its connection reset.
  void Reset() {
    const linger now{1, 0};
    (void)::setsockopt(peer_.get(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
    peer_.reset();
  }
  // What has come so far; `ended` when no more will.
  std::string Heard(bool& ended) const {
    std::array<char, 4096> piece;
    std::string all;
    ssize_t n = 0;
    while ((n = ::recv(peer_.get(), piece.data(), piece.size(), MSG_DONTWAIT)) > 0) {
      all.append(piece.data(), static_cast<std::size_t>(n));
    }
    ended = n == 0;
    return all;
  }
  std::string Heard() const {
    bool ended = false;
    return Heard(ended);
  }

 private:
  UniqueFd listener_;
  UniqueFd peer_;
  std::uint16_t port_ = 0;
};

class StationLinkTest : public testing::Test, protected StationLinkUser {
 protected:
  StationLinkTest() {
    static const std::array<lws_protocols, 2> protocols{
        {{kWatchedProtocol, watched_callback, 0, 0, 0, nullptr, 0}, {}}};
    lws_set_log_level(LLL_ERR, nullptr);
    lws_context_creation_info info{};
    info.port = CONTEXT_PORT_NO_LISTEN_SERVER;
    info.protocols = protocols.data();
    info.options = LWS_SERVER_OPTION_EXPLICIT_VHOSTS | LWS_SERVER_OPTION_SKIP_SERVER_CANONICAL_NAME;
    info.fd_limit_per_thread = 32;
    context = lws_create_context(&info);
    vhost = lws_create_vhost(context, &info);
    beat.test = this;
    Beat();
    Open("127.0.0.1", station.port());
  }
  ~StationLinkTest() override {
    link.reset();
    lws_sul_cancel(&beat);
    lws_context_destroy(context);
  }

  void Open(const std::string& host, std::uint16_t port) {
    StationLinkUser& user = *this;
    link.emplace(context, vhost, control::HostPort{host, port}, user);
  }
  void Beat() {
    lws_sul_schedule(
        context, 0, &beat,
        [](lws_sorted_usec_list_t* timer) {
          StationLinkTest& test = *static_cast<Timer*>(timer)->test;
          if (test.link) test.link->tick(now_ms());
          test.Beat();
        },
        5'000);
  }
  bool Until(const std::function<bool()>& done) {
    const Ms end = now_ms() + kPatience;
    in_loop = true;
    bool is_done = done();
    while (!is_done && now_ms() < end) {
      (void)lws_service(context, 0);
      is_done = done();
    }
    in_loop = false;
    return is_done;
  }
  void Connect() {
    link->dial();
    station.TakeIn();
    ASSERT_TRUE(Until([this] { return !events.empty(); }));
    ASSERT_THAT(events, ElementsAre("connected"));
    events.clear();
  }

  void station_connected() override { Note("connected"); }
  void station_said(const std::string& line) override {
    Note("said " + line);
    if (on_line) on_line();
  }
  void station_lost(std::string_view why) override { Note("lost: " + std::string(why)); }
  void Note(const std::string& event) {
    EXPECT_TRUE(in_loop) << event << " came from within a call";
    events.push_back(event);
  }

  struct Timer : lws_sorted_usec_list_t {
    StationLinkTest* test = nullptr;
  };
  FakeStation station;
  lws_context* context = nullptr;
  lws_vhost* vhost = nullptr;
  Timer beat{};
  std::optional<StationLink> link;
  std::vector<std::string> events;
  std::function<void()> on_line;
  bool in_loop = false;
};

TEST_F(StationLinkTest, ConnectsAndCutsWhatComesIntoLines) {
  Connect();
  station.Say("first\nsec");
  ASSERT_TRUE(Until([this] { return events.size() == 1; }));
  station.Say("ond\r\nthird\n");
  ASSERT_TRUE(Until([this] { return events.size() == 3; }));
  EXPECT_THAT(events, ElementsAre("said first", "said second", "said third"));
}

TEST_F(StationLinkTest, NameIsLookedUpAndEachOfItsAddressesTried) {
  Open("localhost", station.port());  // may be ::1 as well, where nobody listens
  link->dial();
  ASSERT_TRUE(Until([this] { return !events.empty(); }));
  EXPECT_THAT(events, ElementsAre("connected"));
}

TEST_F(StationLinkTest, NameThatThereIsNotIsSaidToBeThat) {
  Open("no-such-host.invalid", 4013);
  link->dial();
  ASSERT_TRUE(Until([this] { return !events.empty(); }));
  EXPECT_THAT(events, ElementsAre(testing::AnyOf("lost: no such host", "lost: name server does not answer")));
}

TEST_F(StationLinkTest, RefusedConnectionIsSaidToBeThat) {
  station.StopListening();
  link->dial();
  EXPECT_THAT(events, IsEmpty());
  ASSERT_TRUE(Until([this] { return !events.empty(); }));
  EXPECT_THAT(events, ElementsAre("lost: connection refused"));
  link->dial();
  ASSERT_TRUE(Until([this] { return events.size() == 2; }));
  EXPECT_EQ(events.back(), "lost: connection refused");
}

TEST_F(StationLinkTest, StationThatHangsUpIsHeardToTheEndFirst) {
  Connect();
  station.Say("too many connections\n");
  station.HangUp();
  ASSERT_TRUE(Until([this] { return events.size() == 2; }));
  EXPECT_THAT(events, ElementsAre("said too many connections", "lost: closed by the station"));
}

TEST_F(StationLinkTest, ResetConnectionIsClosedByTheStation) {
  Connect();
  station.Reset();
  ASSERT_TRUE(Until([this] { return !events.empty(); }));
  EXPECT_THAT(events, ElementsAre("lost: closed by the station"));
}

TEST_F(StationLinkTest, DialsAgainAfterALoss) {
  Connect();
  station.Say("half a li");
  station.HangUp();
  ASSERT_TRUE(Until([this] { return !events.empty(); }));
  events.clear();
  Connect();
  station.Say("whole line\n");
  ASSERT_TRUE(Until([this] { return !events.empty(); }));
  EXPECT_THAT(events, ElementsAre("said whole line"));
}

TEST_F(StationLinkTest, SendsAtOnceAndInOrder) {
  link->send("before there is a connection\n");
  Connect();
  link->send("one\n");
  link->send("two\n");
  EXPECT_EQ(station.Heard(), "one\ntwo\n");
}

TEST_F(StationLinkTest, StationThatTakesNothingIsGivenUpAndNothingGrows) {
  Connect();
  const std::string line(1'000, 'x');
  for (int i = 0; i < 20'000 && link->connected(); ++i)
    link->send(line);
  EXPECT_FALSE(link->connected());
  EXPECT_THAT(events, IsEmpty());
  ASSERT_TRUE(Until([this] { return !events.empty(); }));
  EXPECT_THAT(events, ElementsAre("lost: takes nothing of what it is told"));
}

TEST_F(StationLinkTest, WhatTheStationDoesNotTakeAtOnceFollowsLater) {
  Connect();
  std::string all;
  for (int i = 0; i < 20'000 && !link->waiting(); ++i) {
    const std::string line = "line " + std::to_string(i) + "\n";
    link->send(line);
    all += line;
  }
  ASSERT_TRUE(link->waiting());
  std::string heard;
  ASSERT_TRUE(Until([&] {
    heard += station.Heard();
    return heard.size() >= all.size();
  }));
  EXPECT_EQ(heard, all);
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(StationLinkTest, GivingUpIsReportedOnceAndLater) {
  Connect();
  link->give_up();
  link->give_up();
  EXPECT_THAT(events, IsEmpty());
  bool ended = false;
  ASSERT_TRUE(Until([&] { return (void)station.Heard(ended), ended; }));
  EXPECT_THAT(events, ElementsAre("lost: given up"));
}

TEST_F(StationLinkTest, LineMayGiveTheConnectionUp) {
  Connect();
  on_line = [this] { link->give_up(); };
  station.Say("one\ntwo\nthree\n");
  ASSERT_TRUE(Until([this] { return events.size() >= 2; }));
  EXPECT_THAT(events, ElementsAre("said one", "lost: given up"));
}

TEST_F(StationLinkTest, DialRightBehindGivingUpStandsForTheReport) {
  Connect();
  link->give_up();
  link->dial();
  ASSERT_TRUE(Until([this] { return !events.empty(); }));
  EXPECT_THAT(events, ElementsAre("connected"));
}

TEST_F(StationLinkTest, FinishSendsTheLastLinesAndReportsNothing) {
  Connect();
  link->send("event KEY=UP\n");
  link->finish();
  std::string heard;
  bool ended = false;
  ASSERT_TRUE(Until([&] {
    heard += station.Heard(ended);
    return ended;
  }));
  EXPECT_EQ(heard, "event KEY=UP\n");
  EXPECT_FALSE(link->finished());
  station.HangUp();
  ASSERT_TRUE(Until([this] { return link->finished(); }));
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(StationLinkTest, FinishWithoutAConnectionIsDoneAtOnce) {
  link->finish();
  EXPECT_TRUE(link->finished());
}

}  // namespace
}  // namespace hark::panel_gateway
