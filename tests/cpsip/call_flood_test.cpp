// What a far end can send again and again inside one call: the memory and the time that it costs stay in
// proportion to the datagram at hand.
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "cpsip/call_fixture.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_msg_copy.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;

constexpr unsigned kMostFields = 1100;  // of a dialog's memory; a datagram has some 400
constexpr unsigned kMostBlocks = 17;

unsigned Blocks(const cpsip_msg& msg) {
  unsigned blocks = 0;
  for (const cpsip_osa_buf* block = msg.chain.get(); block != nullptr; block = block->next)
    ++blocks;
  return blocks;
}

std::size_t Bytes(const cpsip_msg& msg) {
  std::size_t bytes = 0;
  for (const cpsip_osa_buf* block = msg.chain.get(); block != nullptr; block = block->next)
    bytes += block->used;
  return bytes;
}

std::string Repeated(unsigned times, const std::string& text) {
  std::string all;
  for (; times != 0; --times)
    all += text;
  return all;
}

class CallFloodTest : public CallTest {
 protected:
  void ExpectBoundedMemory() const {
    ASSERT_NE(Dialog(), nullptr);
    EXPECT_LE(Dialog()->state_msg->fields.count(), kMostFields);
    EXPECT_LE(Blocks(*Dialog()->state_msg), kMostBlocks);
  }
};

// Each further INVITE of a call added its Via list to the dialog's memory for good: some 190 of them filled
// the pool of fields, which ended the daemon.
TEST_F(CallFloodTest, InvitesOfOneCallWithManyViasLeaveItsMemoryBounded) {
  Send({.method = "INVITE", .headers = Contact()});
  const std::string vias = Repeated(85, "v:a/b/U h;b\r\n");
  for (unsigned i = 2; i < 60; ++i) {
    SCOPED_TRACE(i);
    Send({.method = "INVITE", .cseq = i, .branch = "z9hG4bKnext" + std::to_string(i), .headers = vias});
    (void)Received();
    ASSERT_NO_FATAL_FAILURE(ExpectBoundedMemory());
  }
  EXPECT_THAT(heard_, ElementsAre("INVITE"));
  EXPECT_EQ(Respond(486), 0);
  EXPECT_THAT(Came(), ElementsAre("486 INVITE"));
}

// Each provisional response added its routes and its Contact to the dialog's memory for good.
TEST_F(CallFloodTest, ProvisionalResponsesWithManyRoutesLeaveTheCallsMemoryBounded) {
  const std::string invite = Invite();
  const std::string routes = Repeated(25, "Record-Route: <sip:1.1.1.1;lr>\r\n");
  for (unsigned i = 0; i < 60; ++i) {
    SCOPED_TRACE(i);
    SendText(Answer(invite, "183 Progress",
                    routes + "Contact: <sip:far" + std::to_string(i % 2) + "@" + far_.place() + ">\r\n"));
    ASSERT_NO_FATAL_FAILURE(ExpectBoundedMemory());
    EXPECT_EQ(Dialog()->state_msg->route_count, 25);
  }
}

// A full pool of fields met while parameters were copied ended the process.
TEST_F(CallFloodTest, CopyingParametersIntoAFullPoolLeavesThemOut) {
  const cpsip_msg_ptr from = CPSIP_MsgCreate(true);
  const cpsip_msg_ptr to = CPSIP_MsgCreate(true);
  for (unsigned parm = 1; parm <= 3; ++parm)
    ASSERT_EQ(cpsip_msg_write(*from, CPSIP_FLD_TO_PARM, 1, parm, "a=b"), kAccessOk);
  while (to->fields.count() + 1 < cpsip_field_pool::kMaxFields)
    (void)to->fields.alloc();
  EXPECT_EQ(cpsip_msg_copy_header_parms(*from, *to, 1, CPSIP_FLD_TO_PARM), kAccessOk);
  EXPECT_EQ(CPSIP_MsgGetParmCnt(*to, CPSIP_FLD_TO_PARM, 1), 1U);
  cpsip_msg_copy_parms_across(*from, CPSIP_FLD_TO_PARM, *to, CPSIP_FLD_FROM_PARM);
  EXPECT_EQ(CPSIP_MsgGetParmCnt(*to, CPSIP_FLD_FROM_PARM, 1), 0U);
}

// The first copy into a message whose pool is full wanted a record for the header itself, too.
TEST_F(CallFloodTest, CopyingAViaIntoAFullPoolLeavesItOut) {
  const cpsip_msg_ptr from = CPSIP_MsgCreate(true);
  const cpsip_msg_ptr to = CPSIP_MsgCreate(true);
  ASSERT_EQ(cpsip_msg_write(*from, CPSIP_FLD_VIA_PARM, 1, 1, "a=b"), kAccessOk);
  while (to->fields.count() < cpsip_field_pool::kMaxFields)
    (void)to->fields.alloc();
  (void)cpsip_msg_copy_header_parms(*from, *to, 1, CPSIP_FLD_VIA_PARM);
  EXPECT_EQ(to->via_count, 0);
}

// A 486 that came again had its ACK formatted again, which wrote the outbound route into it once more.
TEST_F(CallFloodTest, RefusalsThatComeAgainDoNotGrowTheirAck) {
  const std::string route = "<sip:" + far_.place() + ";lr>";
  ua_.pszRoute = route;
  Start();
  const std::string invite = Invite();
  const std::string refusal = Answer(invite, "486 Busy Here");
  SendText(refusal);
  SendText(refusal);
  ASSERT_NE(Dialog(), nullptr);
  ASSERT_EQ(Dialog()->client_tacts.size(), 1U);
  ASSERT_NE(Dialog()->client_tacts.front()->ack_msg, nullptr);
  const std::size_t before = Bytes(*Dialog()->client_tacts.front()->ack_msg);
  for (unsigned i = 0; i < 20; ++i)
    SendText(refusal);
  EXPECT_EQ(Bytes(*Dialog()->client_tacts.front()->ack_msg), before);
  EXPECT_EQ(Came(), std::vector<std::string>(22, "ACK"));
}

// Processor time of this thread, in microseconds: what others do meanwhile does not count.
std::int64_t ThreadTimeUs() {
  timespec time{};
  (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::int64_t{time.tv_sec} * 1'000'000 + time.tv_nsec / 1000;
}

// Each parameter of From and To was looked for from the first one on, at each copy: 600 of them held the
// control loop for milliseconds, 75 times as long as none.
TEST_F(CallFloodTest, ParametersOfFromCostInProportionToTheirNumber) {
  const auto cost_of = [this](unsigned parameters) {
    std::int64_t least = 0;
    for (unsigned i = 0; i < 12; ++i) {
      const std::string name = std::to_string(parameters) + "-" + std::to_string(i);
      const std::string text = Text({.method = "OPTIONS",
                                     .branch = "z9hG4bK" + name,
                                     .call = name,
                                     .from_parms = ";tag=far" + Repeated(parameters, ";a")});
      const std::int64_t begin = ThreadTimeUs();
      SendText(text);
      const std::int64_t cost = ThreadTimeUs() - begin;
      least = i == 0 ? cost : std::min(least, cost);
      EXPECT_THAT(Came(), ElementsAre("200 OPTIONS"));
    }
    return least;
  };
  const std::int64_t few = cost_of(75);
  const std::int64_t many = cost_of(550);
  EXPECT_LT(many, 16 * few) << few << " us for 75, " << many << " us for 550";
}

}  // namespace
}  // namespace hark::test
