// sipsak asks and sends junk, baresip calls and is called, and tshark looks at what went over the wire.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "system/peers_fixture.h"

namespace hark::test {
namespace {

class Sipsak : public PeersTest {
 protected:
  Sipsak() : PeersTest({"sipsak"}) {}
  [[nodiscard]] Program Asks(const std::string& uri, std::vector<std::string> more) {
    std::vector<std::string> words = {"sipsak", "-s", uri};
    words.insert(words.end(), more.begin(), more.end());
    return Run(std::move(words));
  }
  [[nodiscard]] std::string Service(const std::string& name, int port) const {
    return "sip:" + name + "@" + station.sip_ip() + ":" + std::to_string(port);
  }
};

TEST_F(Sipsak, OptionsAreAnsweredByBothServices) {
  for (const std::string& uri :
       {Service("hark-listen", kListenService), Service("hark-talk", kTalkService)}) {
    SCOPED_TRACE(uri);
    Program asks = Asks(uri, {"-vvv"});
    EXPECT_TRUE(ends_with(asks, 0));
    EXPECT_TRUE(asks.said("SIP/2.0 200 OK")) << asks.output();
  }
}

// With the characters of a request replaced at random, more of them with each one.
TEST_F(Sipsak, StationAnswersOnAfterTrash) {
  Program trash = Asks(Service("hark-talk", kTalkService), {"-R", "-t", "60", "-v"});
  (void)trash.wait_exit(5'000);
  trash.stop();
  Program asks = Asks(Service("hark-talk", kTalkService), {});
  EXPECT_TRUE(ends_with(asks, 0));
}

// A softphone without the format that all stations have.
class Baresip : public PeersTest {
 protected:
  Baresip() : PeersTest({"baresip"}) {}
  // It is sip:`user`@peer at that port, runs the command, and ends by itself after some seconds.
  [[nodiscard]] Program Softphone(const std::string& user, int port, const std::string& command) {
    const TempRoot& root = station.root();
    std::filesystem::create_directory(root.file("phone"));
    root.write("phone/config",
               "sip_listen " + peer + ":" + std::to_string(port) + "\nnet_interface " + peer +
                   "\nmodule_path " + "/usr/lib/baresip/modules" +
                   "\nmodule g711.so\nmodule ausine.so\nmodule aufile.so\nmodule_app account.so\n"
                   "module_app menu.so\naudio_source ausine,440\naudio_player aufile," +
                   root.file("phone/heard.wav") + "\naudio_alert aufile," + root.file("phone/alert.wav") +
                   "\n");
    root.write("phone/accounts", "<sip:" + user + "@" + peer + ">;regint=0;answermode=auto\n");
    root.write("phone/contacts", "");
    std::vector<std::string> words = {"baresip", "-4", "-s", "-v", "-f", root.file("phone"), "-t", "4"};
    if (!command.empty()) words.insert(words.end(), {"-e", command});
    Program phone = Run(std::move(words));
    EXPECT_TRUE(wait_bound(peer, port)) << phone.output();
    return phone;
  }
};

TEST_F(Baresip, CallerWithoutOurFormatIsRefusedAndTheNextOneRingsAtOnce) {
  const std::string uri = "sip:hark-listen@" + station.sip_ip() + ":" + std::to_string(kListenService);
  Program phone = Softphone("hark-talk", 5070, "/dial " + uri);
  EXPECT_TRUE(wait_until([&] { return phone.said("488 No common codec"); })) << phone.output();
  EXPECT_THAT(answers(client, "CALL"), testing::ElementsAre("BEGIN", "END"));
  if (installed("sipp").empty()) return;
  Program caller = Caller("caller_is_dropped.xml");
  ASSERT_TRUE(Reported(far, "LISTEN:R"));
  Call(far, "LISTEN:1");
  EXPECT_TRUE(Reported(far, "LISTEN:1"));
  Call(far, "LISTEN:0");
  EXPECT_TRUE(ends_with(caller, 0));
}

TEST_F(Baresip, CalleeWithoutOurFormatRefusesAndTheCallIsOff) {
  ExpectLog("Line 1/0 error 488 Call failed");
  Program phone = Softphone("hark-talk", kFarTalkService, "");
  Call(far, "LISTEN:1");
  EXPECT_TRUE(Reported(far, "LISTEN:0"));
  EXPECT_TRUE(Logged("Line 1/0 error 488 Call failed"));
}

// How tshark grades what it notes: hints are below.
constexpr long kWarning = 0x600000;

// What stations, callers and callees say to each other, as somebody sees it who knows all of SIP and SDP.
class Tshark : public PeersTest {
 protected:
  Tshark() : PeersTest({"sipp", "tshark", "dumpcap"}) {}

  // Starts to write down what is said to and by the station. False when that is not allowed here.
  [[nodiscard]] bool Captures() {
    capture_ = Run({"dumpcap", "-q", "-i", "lo", "-f", "udp and host " + station.sip_ip(), "-w", File()});
    return wait_until([&] { return !capture_.alive() || station.root().exists("peers.pcap"); }) &&
           capture_.alive();
  }
  // What tshark makes of each datagram: its sender, the method of its CSeq, its media, and what is wrong with
  // it.
  [[nodiscard]] Lines Frames() {
    std::vector<std::string> words = {"tshark", "-n",     "-r", File(),       "-d", "udp.port==1-65535,sip",
                                      "-T",     "fields", "-E", "separator=|"};
    for (const char* field : {"ip.src", "sip.CSeq.method", "sdp.media", "_ws.malformed",
                              "_ws.expert.severity", "_ws.expert.message", "sdp.invalid"})
      words.insert(words.end(), {"-e", field});
    Program reads = Run(std::move(words));
    EXPECT_TRUE(ends_with(reads, 0));
    Lines frames = lines_of(reads.output());
    std::erase_if(frames, [](const std::string& line) { return line.starts_with("Running as user"); });
    return frames;
  }
  // Waits until the capture holds the BYE of so many calls and their answers, and ends it.
  void StopsCapturing(int calls) {
    EXPECT_TRUE(wait_until([&] {
      const std::string held = station.root().read("peers.pcap");
      int byes = 0;
      for (std::size_t at = 0; (at = held.find(" BYE\r\n", at)) != std::string::npos; ++at)
        ++byes;
      return byes >= 2 * calls;
    }));
    capture_.send_signal(SIGINT);
    EXPECT_TRUE(ends_with(capture_, 0));
  }
  [[nodiscard]] std::string File() const { return station.root().file("peers.pcap"); }

 private:
  Program capture_;
};

TEST_F(Tshark, FindsNothingMalformedInCallsOfBothDirections) {
  if (!Captures()) GTEST_SKIP() << "capturing on lo is not allowed here";
  Program callee = Callee("callee_is_dropped.xml", kFarTalkService);
  Call(far, "LISTEN:1");
  ASSERT_TRUE(Reported(far, "LISTEN:1"));
  Call(far, "LISTEN:0");
  ASSERT_TRUE(Reported(far, "LISTEN:0"));
  ASSERT_TRUE(ends_with(callee, 0));
  Program caller = Caller("caller_is_dropped.xml");
  ASSERT_TRUE(Reported(far, "LISTEN:R"));
  Call(far, "LISTEN:1");
  ASSERT_TRUE(Reported(far, "LISTEN:1"));
  Call(far, "LISTEN:0");
  ASSERT_TRUE(Reported(far, "LISTEN:0"));
  ASSERT_TRUE(ends_with(caller, 0));
  StopsCapturing(2);

  int offers_and_answers = 0;
  int sent = 0;
  for (const std::string& frame : Frames()) {
    SCOPED_TRACE(frame);
    std::istringstream in(frame + "|");
    std::array<std::string, 7> fields;
    for (std::string& field : fields)
      std::getline(in, field, '|');
    const auto& [from, method, media, malformed, severity, message, invalid] = fields;
    EXPECT_NE(method, "") << "not taken for SIP";
    EXPECT_EQ(malformed + invalid, "");
    EXPECT_LT(std::strtol(severity.c_str(), nullptr, 0), kWarning) << message;
    if (from == station.sip_ip()) ++sent;
    if (from == station.sip_ip() && !media.empty()) ++offers_and_answers;
  }
  EXPECT_GE(sent, 7) << "INVITE, ACK, BYE; 100, 180, 200, BYE";
  EXPECT_GE(offers_and_answers, 2);
}

}  // namespace
}  // namespace hark::test
