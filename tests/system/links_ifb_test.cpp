// Talking into a destination of a foreign device over real sockets: taken for as long as the talk lasts,
// given back at its end, and left alone when somebody else has it.
#include "system/links_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kBefore[] = "239.192.4.7";
constexpr char kOther[] = "1.2.3.4 <^PTT>";
constexpr char kOtherLog[] = "qnrifb active other PTT ";
constexpr char kConflictLog[] = "qnrifb conflict ";
constexpr char kDroppedLog[] = " dropped";

class IfbLink : public Links {
 protected:
  void SetUp() override {
    Links::SetUp();
    ASSERT_TRUE(device->set_address(3, kBefore));
  }
  // The device has been asked, and what it answered has been worked off.
  void CallWhatIsNotConfirmed(const std::string& what) {
    Call(what, "TALK:1");
    ASSERT_TRUE(Reported(what, "TALK:r"));
    ASSERT_TRUE(device.wait_received("DST"));
    let_it_settle(client);
  }

  FarDeviceSim device;
  const std::string url = ifb_url(device, 3);
};

TEST_F(IfbLink, TalkTakesTheDestinationAndGivesItBack) {
  TalkTo(url);
  EXPECT_EQ(device->address(3), kOwnAddress);
  EXPECT_THAT(device->received(), ElementsAre("DST", "LOGIN", set_line(3, kOwnAddress)));
  EXPECT_THAT(answers(client, call_line(url, "TALK:0") + "\r\nCALL"),
              ElementsAre("BEGIN", call_line(url, "TALK:1"), "END"))
      << "the end comes after its delay";
  EXPECT_TRUE(Reported(url, "TALK:0"));
  EXPECT_TRUE(device.wait_address(3, kBefore));
  EXPECT_THAT(device->received(),
              ElementsAre("DST", "LOGIN", set_line(3, kOwnAddress), "LOGIN", set_line(3, kBefore)));
  EXPECT_TRUE(device.refused_nothing());
}

TEST_F(IfbLink, PressInTheMeantimeKeepsTheDestination) {
  TalkTo(url);
  device->forget_records();
  ASSERT_TRUE(client.send_raw(call_line(url, "TALK:0") + "\r\n" + call_line(url, "TALK:1") + "\r\n"));
  const std::string other = ifb_url(device, 4);
  TalkToAmongOthers(other);
  Drop(other);
  EXPECT_TRUE(StaysIn(url, '1')) << "the other's end shows that the delay is over";
  EXPECT_EQ(device->address(3), kOwnAddress);
  EXPECT_EQ(device.count(set_line(3, kBefore)), 0);
}

TEST_F(IfbLink, WhateverTheDestinationCarriedComesBackAsItWas) {
  for (const std::string before :
       {"", "10.0.0.7", "quoted \"a\" \\b", "Studio <239.192.1.1>", " ", "a;b=c"}) {
    SCOPED_TRACE(before);
    ASSERT_TRUE(device->set_address(3, before));
    let_it_settle(client);  // it has read what the device told before
    TalkTo(url);
    EXPECT_EQ(device->address(3), kOwnAddress);
    Drop(url);
    EXPECT_TRUE(device.wait_address(3, before));
  }
}

TEST_F(IfbLink, NextTalkUsesTheIdleConnection) {
  TalkTo(url);
  Drop(url);
  ASSERT_TRUE(device.wait_address(3, kBefore));
  device->forget_records();
  const std::string next = ifb_url(device, 5);
  TalkTo(next);
  EXPECT_EQ(device->connections(), 1);
  EXPECT_THAT(device->received(), ElementsAre("DST", "LOGIN", set_line(5, kOwnAddress)));
}

TEST_F(IfbLink, OtherTalkersDestinationIsLeftAlone) {
  ExpectLog(kOtherLog);
  ASSERT_TRUE(device->set_address(3, kOther));
  CallWhatIsNotConfirmed(url);
  EXPECT_TRUE(StaysIn(url, 'r'));
  Drop(url);
  ASSERT_TRUE(NoCalls());
  EXPECT_THAT(device->received(), ElementsAre("DST"));
  EXPECT_EQ(device->address(3), kOther);
}

TEST_F(IfbLink, DestinationIsTakenOnceTheOtherTalkerHasGone) {
  ExpectLog(kOtherLog);
  ASSERT_TRUE(device->set_address(3, kOther));
  CallWhatIsNotConfirmed(url);
  ASSERT_TRUE(StaysIn(url, 'r'));
  ASSERT_TRUE(device->set_address(3, kBefore));
  EXPECT_TRUE(Reported(url, "TALK:1"));
  Drop(url);
  EXPECT_TRUE(device.wait_address(3, kBefore));
}

TEST_F(IfbLink, ConflictEndsTheTalkAndNothingIsWrittenBack) {
  ExpectLog(kConflictLog);
  TalkTo(url);
  device->forget_records();
  ASSERT_TRUE(device->set_address(3, "10.0.0.9"));
  EXPECT_TRUE(Reported(url, "TALK:0"));
  EXPECT_TRUE(StaysIn(url, '0'));
  Call(url, "TALK:0");
  ASSERT_TRUE(NoCalls());
  let_it_settle(client);
  EXPECT_FALSE(device->pump(0)) << "nothing was sent";
  EXPECT_THAT(device->received(), IsEmpty());
  EXPECT_EQ(device->address(3), "10.0.0.9");
  EXPECT_THAT(answers(listener, "#"), IsEmpty()) << "it has been reported off already";
}

TEST_F(IfbLink, ConflictThatEndsIsATalkAgain) {
  ExpectLog(kConflictLog);
  TalkTo(url);
  ASSERT_TRUE(device->set_address(3, kOther));
  EXPECT_TRUE(Reported(url, "TALK:0"));
  ASSERT_TRUE(device->set_address(3, kOwnAddress));
  EXPECT_TRUE(Reported(url, "TALK:1"));
  Drop(url);
  EXPECT_TRUE(device.wait_address(3, kBefore)) << "what was there before the first time";
}

TEST_F(IfbLink, OnlyTheWholeOwnAddressConfirms) {
  ExpectLog(kConflictLog);
  TalkTo(url);
  const std::string own = kOwnAddress;
  for (const std::string& other : {own + " ", own.substr(0, own.size() - 1), "x" + own, std::string()}) {
    SCOPED_TRACE(other);
    ASSERT_TRUE(device->set_address(3, other));
    EXPECT_TRUE(Reported(url, "TALK:0"));
  }
  ASSERT_TRUE(device->set_address(3, own));
  EXPECT_TRUE(Reported(url, "TALK:1"));
  ASSERT_TRUE(device->set_address(4, "somebody"));
  EXPECT_TRUE(StaysIn(url, '1')) << "another destination is not ours";
}

TEST_F(IfbLink, SigtermGivesTheDestinationBack) {
  TalkTo(url);
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_TRUE(device.wait_address(3, kBefore));
  EXPECT_TRUE(device.wait_clients(0));
  EXPECT_TRUE(device.refused_nothing());
}

TEST_F(IfbLink, SigtermLeavesOthersDestinationsAlone) {
  ExpectLog(kOtherLog);
  ExpectLog(kConflictLog);
  const std::string taken = ifb_url(device, 4);
  ASSERT_TRUE(device->set_address(4, kOther));
  CallWhatIsNotConfirmed(taken);
  TalkTo(url);
  ASSERT_TRUE(device->set_address(3, kOther));
  ASSERT_TRUE(Reported(url, "TALK:0"));
  device->forget_records();
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_TRUE(device.wait_clients(0));
  EXPECT_THAT(device->received(), IsEmpty());
}

TEST_F(IfbLink, AddressesThatCannotBeReadAreAsNone) {
  ExpectLog("qnrifb_set parse error");
  const std::string place = "127.0.0.1:" + std::to_string(device.port());
  for (const std::string& address :
       {std::string("x"), std::string("127.0.0/3"), std::string("127.0.0.256/3"), std::string("127.0.0.1"),
        place, place + "/0", std::string("127.0.0.1:65537/3"), "ninechars@" + place + "/3"}) {
    SCOPED_TRACE(address);
    const std::string bad = "quillnet:239.192.0.10;ifb=" + address;
    Call(bad, "TALK:1");
    EXPECT_TRUE(StaysIn(bad, 'S'));
    Call(bad, "TALK:0");
    ASSERT_TRUE(NoCalls());
    ASSERT_TRUE(Reported(bad, "TALK:0"));
  }
  EXPECT_EQ(device->connections(), 0);
}

class IfbLinkWithPassword : public Links {
 protected:
  FarDeviceSim device{{.password = "secret78", .addresses = {{3, kBefore}}}};
};

TEST_F(IfbLinkWithPassword, LogsInWithIt) {
  const std::string url = ifb_url(device, 3, "secret78");
  TalkTo(url);
  EXPECT_THAT(device->received(), ElementsAre("DST", "LOGIN secret78", set_line(3, kOwnAddress)));
  Drop(url);
  EXPECT_TRUE(device.wait_address(3, kBefore));
  EXPECT_TRUE(device.refused_nothing());
}

TEST_F(IfbLinkWithPassword, WrongOrMissingOneIsNeverConfirmed) {
  ExpectLog(kDroppedLog);
  for (const std::string password : {"", "wrong"}) {
    SCOPED_TRACE(password);
    const std::string url = ifb_url(device, 3, password);
    device->forget_records();
    Call(url, "TALK:1");
    ASSERT_TRUE(Reported(url, "TALK:r"));
    ASSERT_TRUE(device.wait_received(set_line(3, kOwnAddress)));
    EXPECT_TRUE(StaysIn(url, 'r'));
    EXPECT_EQ(device->address(3), kBefore);
    Drop(url);
    ASSERT_TRUE(device.wait_received(set_line(3, kBefore)));
    // The device goes, so that the next login is not that of this connection.
    device.die();
    ASSERT_TRUE(device.come_back());
    let_it_settle(client);
  }
  EXPECT_THAT(device->changes(), IsEmpty());
}

}  // namespace
}  // namespace hark::test
