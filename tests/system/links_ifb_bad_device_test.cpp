// A foreign device that is not what one hopes for: absent, dying, silent, hanging without reading a word, or
// talking nonsense. The talk waits, or goes on as it was; the station serves everybody else, loses no
// descriptor, and the next talk starts afresh.
#include "system/deaf_port.h"
#include "system/links_fixture.h"
#include "system/support/ports.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kBefore[] = "239.192.4.7";

class BadDevice : public Links {
 protected:
  void SetUp() override {
    Links::SetUp();
    ASSERT_TRUE(device->set_address(3, kBefore));
    descriptors = settled_descriptors(station, client);
  }
  // The talk has been asked for, and is not confirmed.
  void CallInVain(const std::string& what) {
    Call(what, "TALK:1");
    ASSERT_TRUE(Reported(what, "TALK:r"));
  }
  // After all that: a talk comes about and is given back.
  void TalksAfresh() {
    ASSERT_TRUE(device->set_address(3, kBefore));
    let_it_settle(client);  // it has read what the device told before
    TalkTo(url);
    Drop(url);
    EXPECT_TRUE(device.wait_address(3, kBefore));
  }

  FarDeviceSim device;
  const std::string url = ifb_url(device, 3);
  int descriptors = 0;
};

TEST_F(BadDevice, AbsentLeavesTheTalkWaitingAndTheNextOneStartsAfresh) {
  ExpectLog(" dropped");
  device.die();
  CallInVain(url);
  EXPECT_TRUE(HasDescriptors(descriptors));
  EXPECT_TRUE(StaysIn(url, 'r'));
  ASSERT_TRUE(device.come_back());
  EXPECT_TRUE(StaysIn(url, 'r'));
  EXPECT_EQ(device->connections(), 0) << "it is not tried again";
  Drop(url);
  TalksAfresh();
}

TEST_F(BadDevice, ManyThatAreAbsentCostNoDescriptor) {
  ExpectLog(" dropped");
  const std::string closed = std::to_string(closed_tcp_port());
  for (int i = 1; i <= 100; ++i) {
    const std::string host = "127.0.1." + std::to_string(i);
    CallInVain("quillnet:239.192.1." + std::to_string(i) + ";ifb=" + host + ":" + closed + "/1");
  }
  EXPECT_TRUE(HasDescriptors(descriptors));
  EXPECT_EQ(Listed().size(), 100U);
  ServesClients();
}

TEST_F(BadDevice, ThatCutsTheConnectionLeavesTheTalkAsItWas) {
  ExpectLog(" dropped");
  TalkTo(url);
  device->close_clients();
  EXPECT_TRUE(HasDescriptors(descriptors));
  EXPECT_TRUE(StaysIn(url, '1'));
  device->forget_records();
  Drop(url);
  ASSERT_TRUE(NoCalls());
  EXPECT_THAT(device->received(), IsEmpty()) << "there is no connection to write it back on";
  EXPECT_EQ(device->connections(), 1);
  TalksAfresh();
}

TEST_F(BadDevice, WhatWasFoundBeforeTheCutIsNotWrittenBackLater) {
  ExpectLog(" dropped");
  TalkTo(url);
  device->close_clients();
  ASSERT_TRUE(HasDescriptors(descriptors));
  Drop(url);
  ASSERT_TRUE(device->set_address(3, "set right by hand"));
  TalkTo(url);
  Drop(url);
  EXPECT_TRUE(device.wait_address(3, "set right by hand"));
}

TEST_F(BadDevice, ThatDiesWithManyTalksTakesNoneAlong) {
  ExpectLog("qnrifb active other PTT ");
  ExpectLog(" dropped");
  TalkTo(url);
  const std::string waiting = ifb_url(device, 4);
  ASSERT_TRUE(device->set_address(4, "1.2.3.4 <^PTT>"));
  Call(waiting, "TALK:1");
  ASSERT_TRUE(listener.skip_to(call_line(waiting, "TALK:r")));
  ASSERT_TRUE(Reported(url, "TALK:1"));
  device.die();
  EXPECT_TRUE(HasDescriptors(descriptors));
  EXPECT_TRUE(StaysIn(url, '1'));
  EXPECT_TRUE(StaysIn(waiting, 'r'));
  Drop(waiting);
  Drop(url);
  ASSERT_TRUE(device.come_back());
  TalksAfresh();
}

TEST_F(BadDevice, ThatSaysNothingIsWaitedForAndToldNothing) {
  device->set_answering(false);
  CallInVain(url);
  ASSERT_TRUE(device.wait_received("DST"));
  EXPECT_TRUE(StaysIn(url, 'r'));
  Drop(url);
  ASSERT_TRUE(NoCalls());
  EXPECT_THAT(device->received(), ElementsAre("DST"));
  device->set_answering(true);
  TalksAfresh();
  EXPECT_EQ(device->connections(), 1);
}

TEST_F(BadDevice, ThatNeverConfirmsGetsBackWhatWasFound) {
  device->set_answering(false);
  CallInVain(url);
  ASSERT_TRUE(device.wait_received("DST"));
  ASSERT_TRUE(device->send("DST 3 ADDR:\"239.192.4.7\""));
  ASSERT_TRUE(device.wait_received(set_line(3, kOwnAddress)));
  EXPECT_TRUE(StaysIn(url, 'r'));
  Drop(url);
  ASSERT_TRUE(device.wait_received(set_line(3, kBefore)));
  EXPECT_THAT(device->received(),
              ElementsAre("DST", "LOGIN", set_line(3, kOwnAddress), "LOGIN", set_line(3, kBefore)));
}

TEST_F(BadDevice, ThatHangsHoldsNobodyUp) {
  // It answers each of the questions that waited; the later answers show the state before the first set.
  ExpectLog("qnrifb conflict ");
  device->set_reading(false);
  FarDeviceSim good({.addresses = {{3, kBefore}}});
  for (int dst = 1; dst <= quillsim::kFarDestinations; ++dst)
    CallInVain(ifb_url(device, dst));
  ServesClients();
  TalkTo(ifb_url(good, 3));
  EXPECT_TRUE(StaysIn(url, 'r'));
  device->set_reading(true);
  ASSERT_TRUE(device.wait_address(3, kOwnAddress));
  ASSERT_TRUE(listener.skip_to(call_line(url, "TALK:1")));
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_TRUE(device.wait_address(3, kBefore));
  EXPECT_TRUE(good.wait_address(3, kBefore));
}

TEST_F(BadDevice, ThatHangsDoesNotHoldUpTheEnd) {
  TalkTo(url);
  device->set_reading(false);
  EXPECT_EQ(station.terminate(), 0);
  // What the station left on the way arrives when the device is back.
  device->set_reading(true);
  EXPECT_TRUE(device.wait_address(3, kBefore));
}

TEST_F(BadDevice, NobodyAnswersTheConnect) {
  const DeafPort nobody;
  ASSERT_TRUE(nobody.is_deaf());
  const std::string deaf = "quillnet:239.192.0.11;ifb=127.0.0.1:" + std::to_string(nobody.port()) + "/1";
  CallInVain(deaf);
  TalksAfresh();
  EXPECT_TRUE(StaysIn(deaf, 'r'));
  ServesClients();
  Drop(deaf);
  CallInVain(deaf);
  EXPECT_EQ(station.terminate(), 0);
}

TEST_F(BadDevice, NonsenseIsIgnored) {
  const std::vector<std::string> rows = {
      "",
      "DST",
      "DST ",
      "DST x",
      "DST 3",
      "DST 3 ",
      "DST 3 NAME:\"x\"",
      "DST x ADDR:\"y\"",
      "DST 99999999999999999999 ADDR:\"y\"",
      "DST -3 ADDR:\"y\"",
      "DST 33 ADDR:\"y\"",
      "dst 3 ADDR:\"y\"",
      "INDI DST 3 ADDR:\"y\"",
      "SRC 3 ADDR:\"y\"",
      "XDST 3 ADDR:\"y\"",
      "LOGIN OK",
      "ERROR 1000 bad command",
      "\x80\xff",
      "\"",
      "\\",
      std::string("DST \0 3 ADDR:\"y\"", 16),
      std::string(100, '\0'),
  };
  device->set_answering(false);
  CallInVain(url);
  ASSERT_TRUE(device.wait_received("DST"));
  for (const std::string& row : rows)
    ASSERT_TRUE(device->send(row));
  EXPECT_TRUE(StaysIn(url, 'r')) << "before it was taken";
  EXPECT_THAT(device->received(), ElementsAre("DST"));
  device->set_answering(true);
  ASSERT_TRUE(device->set_address(3, kBefore));
  ASSERT_TRUE(Reported(url, "TALK:1"));
  for (const std::string& row : rows)
    ASSERT_TRUE(device->send(row));
  EXPECT_TRUE(StaysIn(url, '1')) << "after it was taken";
  EXPECT_EQ(device->connections(), 1);
  Drop(url);
  EXPECT_TRUE(device.wait_address(3, kBefore));
}

TEST_F(BadDevice, LinesInPiecesAndRunsOfEndsAreRead) {
  device->set_answering(false);
  CallInVain(url);
  ASSERT_TRUE(device.wait_received("DST"));
  for (const char* piece : {"\r\n\n\rDS", "T 3", " ADDR:\"a", " b\"", "\r"}) {
    ASSERT_TRUE(device->send_raw(piece));
    let_it_settle(client);
  }
  ASSERT_TRUE(device.wait_received(set_line(3, kOwnAddress)));
  ASSERT_TRUE(device->send_raw("DST 4 ADDR:\"x\"\nDST 3 ADDR:\"" + std::string(kOwnAddress) + "\"\n\n"));
  EXPECT_TRUE(Reported(url, "TALK:1"));
  Drop(url);
  EXPECT_TRUE(device.wait_received(set_line(3, "a b")));
}

TEST_F(BadDevice, EndlessLineEndsTheConnectionAndNotTheTalk) {
  ExpectLog("failed (message too long)");
  TalkTo(url);
  ASSERT_TRUE(device->send_raw("DST 4 NAME:\"" + std::string(1900, 'x')));
  EXPECT_TRUE(StaysIn(url, '1'));
  EXPECT_EQ(device->clients(), 1) << "not yet";
  (void)device->send_raw(std::string(200, 'x'));
  EXPECT_TRUE(device.wait_clients(0));
  EXPECT_TRUE(HasDescriptors(descriptors));
  EXPECT_TRUE(StaysIn(url, '1'));
  Drop(url);
  TalksAfresh();
}

TEST_F(BadDevice, AFloodIsWorkedOffWhileClientsAreServed) {
  ExpectLog("qnrifb conflict ");
  TalkTo(url);
  std::string flood;
  while (flood.size() < 1'000'000)
    flood += "DST 4 NAME:\"x\" ADDR:\"y <^PTT>\"\r\nno word of it\r\n\r\nDST 17 ADDR:\"z\"\n";
  ASSERT_TRUE(device->send_raw(flood + "DST 3 ADDR:\"x\"\r\n"));
  ServesClients();
  EXPECT_TRUE(Reported(url, "TALK:0"));
  EXPECT_EQ(device->connections(), 1);
}

}  // namespace
}  // namespace hark::test
