// Talk lines that stay when their service is made anew, because their far end does not confirm them: they
// have no SIP line any more whose end could end them, over real ports of the IFB link and the PTT requests.
#include <arpa/inet.h>

#include <functional>

#include "callctl/call_fixture.h"
#include "callctl/line_events.h"
#include "routing/qncpptt_private.h"
#include "routing/qnrifb.h"

namespace hark {
namespace {

constexpr const char kPttSource[] = "quillnet:239.192.0.7;qntb=1";
constexpr const char kConfirmation[] = "INDI QnCH#7 ifb_qnch=5";
constexpr in_port_t kDiscardPort = 9;

std::function<void(const std::string& url, char talk)> on_report;

void report(const char* url, char listen, char talk) {
  note_report(url, listen, talk);
  if (on_report) on_report(url, talk);
}

class OutlivedLine : public CallTest {
 protected:
  OutlivedLine() {
    qncpptt.local_port = 0;
    qncpptt.req_addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    qncpptt.req_addr.sin_port = htons(kDiscardPort);
    EXPECT_EQ(qncpptt_initialize(), 0);
    qncpptt_update_status_callback = ifb_update_status;
    station.harkd_qnsrcch = inet_addr("239.192.0.5");
    sipctrl_modifycall_callback = report;
  }
  ~OutlivedLine() override {
    on_report = nullptr;
    qncpptt_cleanup();
    qncpptt = QncpPtt();
    qncpptt_update_status_callback = nullptr;
  }

  static void Renew() {
    EXPECT_EQ(sipctrl_removeservice(), 0);
    station.harkd_svcname = {'N', 'e', 'w', 's'};
    station.sip_ip = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(sipctrl_createservice(station_identity()), 0);
  }
  void Confirm() { qncpptt_receive(kConfirmation, clock.Now()); }
  // A line that is shown as off, and whose service is made anew.
  void Outlive() {
    ASSERT_EQ(Talk(kPttSource), 0);
    ifb_update_status(0, false);
    Renew();
    ASSERT_EQ(talk_lines[0].state, kLineOff);
    Forget();
  }
  static bool IsFree() { return talk_lines[0].url.empty() && qncpptt.ports[0].dst == 0; }
};

TEST_F(OutlivedLine, AsksForNothingInTheNameOfTheFormerService) {
  Outlive();
  EXPECT_EQ(qncpptt.ports[0].dst, 0U);
  Confirm();
  EXPECT_EQ(talk_lines[0].state, kLineOff);
  EXPECT_THAT(Reports(), testing::IsEmpty());
}

TEST_F(OutlivedLine, EndsWhenItIsDropped) {
  Outlive();
  ASSERT_EQ(DropTalk(kPttSource), 0);
  PassAfterMs(401);
  EXPECT_TRUE(IsFree());
}

TEST_F(OutlivedLine, EndsWhenItsFarContactOpens) {
  Outlive();
  Remote(kTalkKind, kPttSource, kWishConnect);
  EXPECT_EQ(talk_lines[0].state, kLineRequest);
  Remote(kTalkKind, kPttSource, kWishDrop);
  EXPECT_TRUE(IsFree());
}

TEST_F(OutlivedLine, ThatIsUpAgainEndsWithTheNextService) {
  Outlive();
  ifb_update_status(0, true);
  Renew();
  EXPECT_TRUE(IsFree());
}

TEST_F(OutlivedLine, ThatIsUpAgainEndsWhenItIsDropped) {
  Outlive();
  ifb_update_status(0, true);
  ASSERT_EQ(DropTalk(kPttSource), 0);
  PassAfterMs(401);
  EXPECT_TRUE(IsFree());
}

TEST_F(OutlivedLine, LeavesNothingBehindForTheCallThatRingsOnIt) {
  ASSERT_EQ(Talk(kPttSource), 0);
  ifb_update_status(0, false);
  line_ring(kTalkKind, 0, "Ann", "sip:hark-listen@10.0.0.5:5061");
  EXPECT_EQ(qncpptt.ports[0].dst, 0U);
  EXPECT_EQ(talk_lines[0].state, kLineRequest);
}

TEST_F(OutlivedLine, GivesItsChannelBackBeforeWhoHearsOfItsEndCallsAnew) {
  ASSERT_EQ(Talk(kPttSource), 0);
  on_report = [](const std::string& url, char talk) {
    if (talk != kLineOff || url != kPttSource) return;
    on_report = nullptr;
    EXPECT_EQ(Talk("quillnet:239.192.0.9;gpio=3;gpiot=1"), 0);
  };
  ASSERT_EQ(DropTalk(kPttSource), 0);
  PassAfterMs(401);
  EXPECT_EQ(talk_lines[0].url, "quillnet:239.192.0.9;gpio=3;gpiot=1");
  EXPECT_EQ(qncpptt.ports[0].dst, 0U);
}

}  // namespace
}  // namespace hark
