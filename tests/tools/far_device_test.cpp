// The simulated foreign device as a server, in this process, with sockets that play its clients.
#include "tools/quillsim/far_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system/support/client.h"
#include "system/support/far_device_sim.h"
#include "system/support/pump.h"

namespace quillsim {
namespace {

using hark::test::Client;
using hark::test::FarDeviceSim;
using hark::test::wait_until;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kBadCommand[] = "ERROR 1000 bad command";
constexpr char kNotLoggedIn[] = "ERROR 1001 not logged in";
constexpr char kNoDestination[] = "ERROR 1002 bad port number";
constexpr int kShortMs = 50;

std::string dst_line(int dst, const std::string& addr) {
  return "DST " + std::to_string(dst) + " NAME:\"Output " + std::to_string(dst) + "\" ADDR:\"" + addr + "\"";
}

class FarDeviceTest : public testing::Test {
 protected:
  explicit FarDeviceTest(FarDeviceOptions options = {}) : device_(std::move(options)) {}
  void SetUp() override {
    ASSERT_TRUE(client_.connect(device_.port()));
    ASSERT_TRUE(device_.wait_clients(1));
  }
  void LogIn(Client& client, const std::string& line = "LOGIN") { ASSERT_TRUE(client.ask(line, "LOGIN OK")); }
  // All that the device tells of its destinations.
  [[nodiscard]] testing::AssertionResult TellsAll(Client& client) {
    (void)client.send_raw("DST\n");
    for (int dst = 1; dst <= kFarDestinations; ++dst) {
      if (testing::AssertionResult told = client.expect_line(dst_line(dst, device_->address(dst))); !told)
        return told;
    }
    return client.expect_silence(kShortMs);
  }

  FarDeviceSim device_;
  Client client_;
};

class FarDeviceWithPasswordTest : public FarDeviceTest {
 protected:
  FarDeviceWithPasswordTest() : FarDeviceTest({.password = "secret"}) {}
};

TEST_F(FarDeviceTest, TellsAllItsDestinationsWhenAsked) {
  ASSERT_TRUE(device_->set_address(3, "239.192.0.7"));
  ASSERT_TRUE(client_.expect_line(dst_line(3, "239.192.0.7")));
  EXPECT_TRUE(TellsAll(client_));
  EXPECT_TRUE(device_.refused_nothing());
}

TEST_F(FarDeviceTest, EverybodyIsToldOfASet) {
  Client other(device_.port());
  ASSERT_TRUE(device_.wait_clients(2));
  LogIn(client_);
  ASSERT_TRUE(client_.send_raw("DST 7 ADDR:\"239.192.0.1 <^PTT>\"\n"));
  EXPECT_TRUE(client_.expect_line(dst_line(7, "239.192.0.1 <^PTT>")));
  EXPECT_TRUE(other.expect_line(dst_line(7, "239.192.0.1 <^PTT>")));
  EXPECT_EQ(device_->address(7), "239.192.0.1 <^PTT>");
  EXPECT_THAT(device_->changes(),
              ElementsAre(HasSubstr("far DST 7 ADDR:\"239.192.0.1 <^PTT>\"  (by 127.0.0.1:")));
  EXPECT_THAT(device_->received(), ElementsAre("LOGIN", "DST 7 ADDR:\"239.192.0.1 <^PTT>\""));
}

TEST_F(FarDeviceTest, QuotesAndBackslashesComeBackAsTheyWereSet) {
  LogIn(client_);
  EXPECT_TRUE(client_.ask(R"(DST 1 ADDR:"a \"b\" \\c")", dst_line(1, R"(a \"b\" \\c)")));
  EXPECT_EQ(device_->address(1), R"(a "b" \c)");
}

TEST_F(FarDeviceTest, NobodySetsWithoutALogin) {
  EXPECT_TRUE(client_.ask("DST 1 ADDR:\"x\"", kNotLoggedIn));
  EXPECT_EQ(device_->address(1), "");
  Client other(device_.port());
  LogIn(other);
  EXPECT_TRUE(client_.ask("DST 1 ADDR:\"x\"", kNotLoggedIn)) << "the other's login is not ours";
  LogIn(client_, "LOGIN whatever");
  EXPECT_TRUE(client_.ask("DST 1 ADDR:\"x\"", dst_line(1, "x")));
  EXPECT_FALSE(device_.refused_nothing());
}

TEST_F(FarDeviceWithPasswordTest, OnlyTheRightOneLetsSet) {
  for (const char* line : {"LOGIN", "LOGIN secre", "LOGIN secret ", "LOGIN Secret"}) {
    SCOPED_TRACE(line);
    EXPECT_TRUE(client_.ask(line, kNotLoggedIn));
    EXPECT_TRUE(client_.ask("DST 1 ADDR:\"x\"", kNotLoggedIn));
    EXPECT_EQ(device_->address(1), "");
  }
  LogIn(client_, "LOGIN secret");
  EXPECT_TRUE(client_.ask("DST 1 ADDR:\"x\"", dst_line(1, "x")));
  EXPECT_TRUE(client_.ask("LOGIN wrong", kNotLoggedIn));
  EXPECT_TRUE(client_.ask("DST 1 ADDR:\"y\"", kNotLoggedIn)) << "a wrong one takes the right away again";
  EXPECT_EQ(device_->address(1), "x");
}

TEST_F(FarDeviceTest, OtherLinesAreMistakesAndChangeNothing) {
  LogIn(client_);
  const std::vector<std::string> rows = {
      "",
      "dst",
      "DST ",
      "DST 1",
      "DSTX",
      "DST x ADDR:\"a\"",
      "DST 01 ADDR:\"a\"",
      "DST 1 ADDR:a",
      "DST 1 ADDR:\"a",
      "DST 1 ADDR:\"a\" ",
      "DST 1 NAME:\"a\"",
      "DST 1  ADDR:\"a\"",
      "LOGINX",
      "LOGIN ",
      " LOGIN",
      "VER",
  };
  for (const std::string& row : rows) {
    SCOPED_TRACE(row);
    EXPECT_TRUE(client_.ask(row, kBadCommand));
  }
  EXPECT_THAT(device_->refused(), SizeIs(rows.size()));
  EXPECT_TRUE(client_.ask("DST 17 ADDR:\"a\"", kNoDestination));
  EXPECT_TRUE(client_.ask("DST 0 ADDR:\"a\"", kNoDestination));
  EXPECT_THAT(device_->changes(), IsEmpty());
  device_->forget_records();
  EXPECT_TRUE(device_.refused_nothing());
  EXPECT_TRUE(device_->ever_refused());
}

TEST_F(FarDeviceTest, SomebodyElseMayTakeADestination) {
  ASSERT_TRUE(device_->set_address(2, "1.2.3.4 <^PTT>"));
  EXPECT_TRUE(client_.expect_line(dst_line(2, "1.2.3.4 <^PTT>")));
  EXPECT_THAT(device_->changes(), ElementsAre("far DST 2 ADDR:\"1.2.3.4 <^PTT>\"  (by somebody else)"));
  EXPECT_FALSE(device_->set_address(99, "x"));
}

TEST_F(FarDeviceTest, SilentItTakesLinesAndDoesNothing) {
  device_->set_answering(false);
  ASSERT_TRUE(client_.send_raw("DST\nLOGIN\nDST 1 ADDR:\"x\"\nnonsense\n"));
  ASSERT_TRUE(device_.wait_received("nonsense"));
  EXPECT_TRUE(client_.expect_silence(kShortMs));
  EXPECT_EQ(device_->address(1), "");
  EXPECT_TRUE(device_->set_address(2, "y"));
  EXPECT_TRUE(client_.expect_silence(kShortMs));
  device_->set_answering(true);
  EXPECT_TRUE(TellsAll(client_));
}

TEST_F(FarDeviceTest, HangingItReadsNothingUntilItIsBack) {
  device_->set_reading(false);
  ASSERT_TRUE(client_.send_raw("LOGIN\n"));
  EXPECT_TRUE(client_.expect_silence(kShortMs));
  EXPECT_THAT(device_->received(), IsEmpty());
  device_->set_reading(true);
  EXPECT_TRUE(client_.expect_line("LOGIN OK"));
}

TEST_F(FarDeviceTest, CutsRefusesAndAcceptsAgain) {
  Client second(device_.port());
  ASSERT_TRUE(device_.wait_clients(2));
  device_->close_clients();
  EXPECT_EQ(device_->clients(), 0);
  EXPECT_TRUE(client_.wait_closed());
  EXPECT_TRUE(second.wait_closed());
  EXPECT_FALSE(device_->send("DST 1 ADDR:\"x\""));

  ASSERT_TRUE(second.connect(device_.port()));
  ASSERT_TRUE(device_.wait_clients(1));
  device_.die();
  EXPECT_TRUE(second.wait_closed());
  EXPECT_FALSE(client_.connect(device_.port()));
  ASSERT_TRUE(device_.come_back());
  ASSERT_TRUE(client_.connect(device_.port()));
  ASSERT_TRUE(device_.wait_clients(1));
  EXPECT_EQ(device_->connections(), 4);
}

TEST_F(FarDeviceTest, AClientThatGoesLeavesWhatItSetAndTheOthers) {
  Client other(device_.port());
  LogIn(client_);
  ASSERT_TRUE(client_.send_raw("DST 1 ADDR:\"x\"\nDST 2 AD"));
  ASSERT_TRUE(device_.wait_address(1, "x"));
  client_.finish_sending();
  EXPECT_TRUE(device_.wait_clients(1));
  ASSERT_THAT(device_->refused(), SizeIs(1));
  EXPECT_EQ(device_->refused()[0].reason, "connection closed inside a line");
  EXPECT_TRUE(other.skip_to(dst_line(1, "x")));
  EXPECT_TRUE(TellsAll(other));
}

TEST_F(FarDeviceTest, SendsToAllWhateverItIsGiven) {
  Client other(device_.port());
  ASSERT_TRUE(device_.wait_clients(2));
  EXPECT_TRUE(device_->send_raw(std::string("\0\xff", 2)));
  EXPECT_TRUE(device_->send("x"));
  for (Client* client : {&client_, &other})
    EXPECT_EQ(client->read_line_with_end(), std::string("\0\xffx\r\n", 5));
}

TEST_F(FarDeviceTest, WaitsTellWhatTheyMiss) {
  EXPECT_FALSE(device_.wait_clients(2, kShortMs));
  EXPECT_FALSE(device_.wait_received("LOGIN", 1, kShortMs));
  ASSERT_TRUE(device_->set_address(1, "x"));
  EXPECT_THAT(device_.wait_address(1, "y", kShortMs).message(), HasSubstr(dst_line(1, "x")));
  EXPECT_EQ(device_.url(3), "127.0.0.1:" + std::to_string(device_.port()) + "/3");
  EXPECT_EQ(device_.url(3, "pw"), "pw@127.0.0.1:" + std::to_string(device_.port()) + "/3");
}

TEST(FarDevice, TellsItsPrinterAndKnowsMoreDestinationsWhenToldSo) {
  std::vector<std::string> printed;
  FarDevice device({.password = "pw", .addresses = {{2, "a"}, {40, "b"}}},
                   [&](const std::string& line) { printed.push_back(line); });
  EXPECT_THAT(device.describe(), ElementsAre(dst_line(2, "a"), dst_line(40, "b")));
  EXPECT_FALSE(device.listen_again()) << "it has not listened yet";
  const int port = device.listen("127.0.0.1", 0);
  ASSERT_GT(port, 0);
  Client client(port);
  ASSERT_TRUE(client.send_raw("LOGIN no\nLOGIN pw\nDST 40 ADDR:\"c\"\n"));
  client.finish_sending();
  ASSERT_TRUE(wait_until([&] {
    device.pump(1);
    return !printed.empty() && printed.back().ends_with("disconnected");
  }));
  EXPECT_THAT(printed,
              ElementsAre(HasSubstr("far device: 127.0.0.1:"),
                          "REFUSED by the far device: wrong password: LOGIN no\\x0A", HasSubstr("logged in"),
                          HasSubstr("far DST 40 ADDR:\"c\"  (by 127.0.0.1:"), HasSubstr("disconnected")));
}

}  // namespace
}  // namespace quillsim
