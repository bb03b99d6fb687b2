// The question to a SIP service, and what counts as its answer.
#include "tools/harkctl/sip_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tools/harkctl/sip_probe.h"

namespace hark::ctl {
namespace {

constexpr char kBranch[] = "z9hG4bK1234";

TEST(SipOptions, TheQuestionHasAllThatARequestNeeds) {
  EXPECT_EQ(options_request({"hark-talk", "10.0.0.7:5062", "10.0.0.2:40000", kBranch, "id@10.0.0.2", "tag1"}),
            "OPTIONS sip:hark-talk@10.0.0.7:5062 SIP/2.0\r\n"
            "Via: SIP/2.0/UDP 10.0.0.2:40000;branch=z9hG4bK1234;rport\r\n"
            "Max-Forwards: 70\r\n"
            "From: <sip:harkctl@10.0.0.2:40000>;tag=tag1\r\n"
            "To: <sip:hark-talk@10.0.0.7:5062>\r\n"
            "Call-ID: id@10.0.0.2\r\n"
            "CSeq: 1 OPTIONS\r\n"
            "Contact: <sip:harkctl@10.0.0.2:40000>\r\n"
            "Accept: application/sdp\r\n"
            "Content-Length: 0\r\n\r\n");
}

TEST(SipOptions, AResponseWithOurBranchCounts) {
  const struct {
    const char* text;
    int status;
  } kRows[] = {
      {"SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP a;branch=z9hG4bK1234\r\n\r\n", 200},
      {"SIP/2.0 100 Trying\r\nVia: SIP/2.0/UDP a;branch=z9hG4bK1234\r\n\r\n", 100},
      {"SIP/2.0 486 Busy\r\nTo: x\r\nvia:SIP/2.0/UDP a;rport=1; Branch = z9hG4bK1234 ;received=b\r\n", 486},
      {"SIP/2.0 404 \nv: SIP/2.0/UDP a;branch=z9hG4bK1234,SIP/2.0/UDP b;branch=x\n\n", 404},
      // no answer to us
      {"", 0},
      {"SIP/2.0 200 OK\r\n\r\n", 0},
      {"SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP a;branch=z9hG4bK9999\r\n\r\n", 0},
      {"SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP a\r\n\r\n", 0},
      {"SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP a;branch=x\r\nVia: SIP/2.0/UDP b;branch=z9hG4bK1234\r\n\r\n", 0},
      {"SIP/2.0 200 OK\r\nX-Via: SIP/2.0/UDP a;branch=z9hG4bK1234\r\n\r\n", 0},
      {"SIP/2.0 200 OK\r\n\r\nVia: SIP/2.0/UDP a;branch=z9hG4bK1234\r\n", 0},
      {"SIP/2.0 20 OK\r\nVia: SIP/2.0/UDP a;branch=z9hG4bK1234\r\n\r\n", 0},
      {"SIP/2.0 2x0 OK\r\nVia: SIP/2.0/UDP a;branch=z9hG4bK1234\r\n\r\n", 0},
      {"SIP/3.0 200 OK\r\nVia: SIP/2.0/UDP a;branch=z9hG4bK1234\r\n\r\n", 0},
      {"OPTIONS sip:a SIP/2.0\r\nVia: SIP/2.0/UDP a;branch=z9hG4bK1234\r\n\r\n", 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(response_status(row.text, kBranch), row.status);
  }
  EXPECT_EQ(response_status("SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP a;branch=\r\n\r\n", ""), 0);
}

TEST(SipOptions, OnlyAFinalResponseSettlesIt) {
  for (const int status : {200, 299, 404, 501, 699})
    EXPECT_TRUE(is_final(status)) << status;
  for (const int status : {0, 100, 183, 199, 700})
    EXPECT_FALSE(is_final(status)) << status;
}

TEST(SipOptions, PausesDoubleUpToT2) {
  std::string pauses;
  for (std::chrono::milliseconds pause = kSipT1; pauses.size() < 24; pause = next_pause(pause))
    pauses += std::to_string(pause.count()) + " ";
  EXPECT_EQ(pauses, "500 1000 2000 4000 4000 ");
}

}  // namespace
}  // namespace hark::ctl
