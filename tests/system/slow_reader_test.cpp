// Clients that read late, little or never, while the station has much to say to them: they may lose their
// connection, and never hold up the others for longer than the time that one peer has.
#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

// Passed on to all who subscribed to outputs.
const std::string kLongPush = "GPO 1 CMD:" + std::string(1900, 'x');
constexpr int kSmallBuffer = 4096;

class SlowReaders : public StationTest {
 protected:
  void SetUp() override {
    Start();
    // What becomes of those who don't read.
    ExpectLog("send failed");
    ExpectLog("harkd: send(");
    sender = Connect("127.0.0.9");
    ASSERT_TRUE(sender.ask("VER", kVersion));
  }
  [[nodiscard]] Client Subscriber(const std::string& host, int receive_buffer) const {
    Client client;
    client.set_receive_buffer(receive_buffer);
    EXPECT_TRUE(client.connect(station.ctrl_port(), host));
    EXPECT_TRUE(client.send_line("SUB GPO"));
    EXPECT_TRUE(client.skip_to("END"));
    return client;
  }
  // That many long pushes, all passed on.
  void Push(int count) {
    std::string lines;
    for (int i = 0; i < 20; ++i)
      lines += kLongPush + "\r\n";
    for (int i = 0; i < count; i += 20)
      ASSERT_THAT(answers(sender, lines), ElementsAre());
  }
  [[nodiscard]] int Dropped() const {
    int count = 0;
    for (const std::string& line : lines_of(station.stderr_text())) {
      if (line.find("send failed") != std::string::npos) ++count;
    }
    return count;
  }

  Client sender;
};

TEST_F(SlowReaders, WhoNeverReadsIsDroppedAndTheOthersAreServed) {
  const int descriptors = settled_descriptors(station, sender);
  Client deaf = Subscriber("127.0.0.2", kSmallBuffer);
  Client good = Subscriber("127.0.0.3", 0);
  for (int i = 0; i < 200 && Dropped() == 0; ++i) {
    Push(40);
    ASSERT_TRUE(good.skip_to("CMD:xxx"));
    while (good.has_line())
      (void)good.read_line();
  }
  EXPECT_EQ(Dropped(), 1);
  EXPECT_TRUE(Logged("Shut."));
  Client newcomer = Connect("127.0.0.4");
  EXPECT_TRUE(newcomer.ask("VER", kVersion));
  newcomer.close();
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors + 1; })) << "its place is free again";
}

TEST_F(SlowReaders, SeveralWhoNeverReadAreAllDropped) {
  std::vector<Client> deaf;
  for (int i = 0; i < 3; ++i)
    deaf.push_back(Subscriber("127.0.4." + std::to_string(i + 1), kSmallBuffer));
  const int many = static_cast<int>(deaf.size());
  for (int i = 0; i < 200 && Dropped() < many; ++i)
    Push(40);
  EXPECT_EQ(Dropped(), many);
  EXPECT_TRUE(sender.ask("VER", kVersion));
}

TEST_F(SlowReaders, WhoNeverReadsItsOwnAnswersIsDropped) {
  Client deaf;
  deaf.set_receive_buffer(kSmallBuffer);
  ASSERT_TRUE(deaf.connect(station.ctrl_port(), "127.0.0.2"));
  std::string questions;
  for (int i = 0; i < 2000; ++i)
    questions += "CFG\r\n";
  for (int i = 0; i < 50 && Dropped() == 0; ++i) {
    (void)deaf.send_raw(questions, 20);
    EXPECT_TRUE(sender.ask("VER", kVersion));
  }
  EXPECT_TRUE(wait_until([&] { return Dropped() == 1; }));
  EXPECT_TRUE(sender.ask("VER", kVersion));
}

// A half line that a dropped client left behind once stood in front of the next client's first line.
TEST_F(SlowReaders, WhatADroppedClientLeftBehindIsGoneWithIt) {
  Client deaf = Subscriber("127.0.0.2", kSmallBuffer);
  ASSERT_TRUE(deaf.send_raw("half a line"));
  for (int i = 0; i < 200 && Dropped() == 0; ++i)
    Push(40);
  ASSERT_EQ(Dropped(), 1);
  ASSERT_TRUE(Logged("]: disconnected connection id: "));
  Client next = Connect("127.0.0.3");  // in the same place
  EXPECT_TRUE(next.ask("VER", kVersion));
}

TEST_F(SlowReaders, WhoReadsLateGetsEverythingThatFits) {
  Client late = Subscriber("127.0.0.2", 0);
  Push(20);
  for (int i = 0; i < 20; ++i)
    EXPECT_TRUE(late.expect_line(kLongPush));
  EXPECT_EQ(Dropped(), 0);
}

TEST_F(SlowReaders, WhoReadsSlowlyKeepsHisConnectionAndTheOthersTheirs) {
  Client slow = Subscriber("127.0.0.2", kSmallBuffer);
  for (int i = 0; i < 400; ++i) {
    ASSERT_TRUE(sender.send_line(kLongPush));
    // A few kilobytes at a time, behind the others.
    ASSERT_TRUE(slow.expect_line(kLongPush));
    ASSERT_TRUE(sender.ask("VER", kVersion));
  }
  EXPECT_EQ(Dropped(), 0);
}

TEST_F(SlowReaders, WhoIsResetWhileBeingWrittenToIsForgotten) {
  Client listener = Subscriber("127.0.0.2", kSmallBuffer);
  Push(20);
  listener.abort();
  Push(40);
  Client again = Connect("127.0.0.2");
  EXPECT_TRUE(again.ask("VER", kVersion));
}

}  // namespace
}  // namespace hark::test
