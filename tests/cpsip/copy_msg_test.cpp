// The deep copy of a whole message: everything that a dialog or a retransmission needs, and what it leaves.
#include <algorithm>
#include <memory>

#include "cpsip/cpsip_msg_copy.h"
#include "cpsip/field_rows.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool IsCopied(const FieldRow& row) {
  static const std::uint32_t kFields[] = {1,  2,  4,  5,  6,  8,  9,  10, 12, 13, 15, 16, 18, 19, 20,
                                          21, 31, 33, 34, 35, 39, 40, 41, 43, 45, 47, 49, 50, 51, 53,
                                          54, 63, 64, 65, 66, 69, 71, 74, 76, 77, 78, 79, 85, 86};
  return std::ranges::find(kFields, row.id) != std::end(kFields);
}

std::string Value(const FieldRow& row, unsigned instance, unsigned parm) {
  return "f" + std::to_string(row.id) + "." + std::to_string(instance) + "." + std::to_string(parm);
}

// A message with two instances and two parameters of everything, scalars, two sessions and a body.
cpsip_msg_ptr FullMessage() {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  for (const FieldRow& row : FieldRows()) {
    if (row.id != row.record && !row.IsParameter()) continue;
    for (const unsigned instance : {1U, 2U}) {
      if (instance > 1 && !row.HasInstances()) break;
      for (const unsigned parm : {1U, 2U})
        Put(*msg, row.id, Value(row, instance, parm), instance, parm);
    }
  }
  return msg;
}

class CopyMsgTest : public ::testing::Test {
 protected:
  void Copy() { EXPECT_EQ(cpsip_msg_copy_sip_msg(*src_, *dst_), 0); }

  cpsip_msg_ptr src_ = FullMessage();
  cpsip_msg_ptr dst_ = CPSIP_MsgCreate(true);
};

TEST_F(CopyMsgTest, EveryFieldThatADialogNeedsIsCopiedAndNoOther) {
  Copy();
  for (const FieldRow& row : FieldRows()) {
    if (row.id == CPSIP_FLD_ALLOW_EVENTS) continue;  // the line itself is nothing without its items
    for (const unsigned instance : {1U, 2U}) {
      SCOPED_TRACE(std::string(row.name) + " " + std::to_string(instance));
      if (!IsCopied(row)) {
        EXPECT_EQ(Text(*dst_, row.id, instance), "");
      } else if (row.IsParameter()) {
        EXPECT_THAT(Parms(*dst_, row.id, instance), Parms(*src_, row.id, instance));
        EXPECT_EQ(Parms(*dst_, row.id, instance).size(), 2U);
      } else {
        EXPECT_EQ(Text(*dst_, row.id, instance), Text(*src_, row.id, instance));
        EXPECT_NE(Text(*dst_, row.id, instance), "");
      }
    }
  }
}

TEST_F(CopyMsgTest, CountsAreThoseOfTheSource) {
  Copy();
  for (const FieldRow& row : FieldRows()) {
    SCOPED_TRACE(row.name);
    if (row.HasInstances()) {
      EXPECT_EQ(dst_.get()->*row.count, 2);
    }
  }
}

TEST_F(CopyMsgTest, ScalarsAreCopied) {
  cpsip_msg& src = *src_;
  int dialog = 0;
  src.method = cpsip_method::unrecognized;
  src.app_dialog_id = 0xFEDCBA98;
  src.unknown_method = "PING";
  src.status_code = 487;
  src.cseq = 0xFFFFFFFE;
  src.cseq_method = cpsip_method::refer;
  src.max_forwards = 70;
  src.content_kind = cpsip_content_kind::sipfrag;
  src.content_length_seen = true;
  src.body_received = 17;
  src.expires = 3600;
  src.include_allow = true;
  src.related_dialog = &dialog;
  src.scan_status = 400;
  src.event_id = 2;
  src.event_id_parm = 93603;
  Copy();
  EXPECT_EQ(dst_->method, cpsip_method::unrecognized);
  EXPECT_EQ(dst_->app_dialog_id, 0xFEDCBA98);
  EXPECT_EQ(dst_->unknown_method, "PING");
  EXPECT_EQ(dst_->status_code, 487);
  EXPECT_EQ(dst_->cseq, 0xFFFFFFFE);
  EXPECT_EQ(dst_->cseq_method, cpsip_method::refer);
  EXPECT_EQ(dst_->max_forwards, 70);
  EXPECT_EQ(dst_->content_kind, cpsip_content_kind::sipfrag);
  EXPECT_TRUE(dst_->content_length_seen);
  EXPECT_EQ(dst_->body_received, 17U);
  EXPECT_EQ(dst_->expires, 3600U);
  EXPECT_TRUE(dst_->include_allow);
  EXPECT_EQ(dst_->related_dialog, &dialog);
  EXPECT_EQ(dst_->scan_status, 400);
  EXPECT_EQ(dst_->event_id, 2U);
  EXPECT_EQ(dst_->event_id_parm, 93603U);
}

TEST_F(CopyMsgTest, LongestUnknownMethodIsCopied) {
  src_->unknown_method.assign(kMaxUnknownMethod, 'M');
  Copy();
  EXPECT_EQ(dst_->unknown_method.size(), kMaxUnknownMethod);
}

TEST_F(CopyMsgTest, BothSessionsAreCopied) {
  PutSession(*src_);
  PutSecondSession(*src_);
  src_->content_kind = cpsip_content_kind::sdp;
  src_->content_length = 120;
  Copy();
  ASSERT_NE(dst_->sdp, nullptr);
  ASSERT_NE(dst_->sdp2, nullptr);
  EXPECT_EQ(dst_->content_length, 120U);
  EXPECT_EQ(dst_->sdp_text.view(), kSessionPool);
  EXPECT_TRUE(dst_->sdp_text.owned());
  EXPECT_EQ(dst_->sdp2_text.view(), kSecondSessionPool);
}

TEST_F(CopyMsgTest, BodyIsCopiedWithItsNuls) {
  constexpr std::string_view kBody("SIP/2.0 200 OK\0\r\n", 17);
  src_->content_kind = cpsip_content_kind::sipfrag;
  src_->content_length = kBody.size();
  src_->body = std::make_unique<char[]>(kBody.size());
  std::copy(kBody.begin(), kBody.end(), src_->body.get());
  Copy();
  ASSERT_NE(dst_->body, nullptr);
  EXPECT_NE(dst_->body, src_->body);
  EXPECT_EQ(dst_->content_length, kBody.size());
  EXPECT_EQ(std::string_view(dst_->body.get(), kBody.size()), kBody);
}

TEST_F(CopyMsgTest, MessageWithoutBodyIsCopiedWithout) {
  src_->content_length = 10;
  Copy();
  EXPECT_EQ(dst_->body, nullptr);
}

TEST_F(CopyMsgTest, CopyOutlivesItsSource) {
  PutSession(*src_);
  Copy();
  src_.reset();
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_VIA_HOST, 2), "f18.2.2");
  EXPECT_THAT(Parms(*dst_, CPSIP_FLD_VIA_PARM, 2), ElementsAre("f19.2.1", "f19.2.2"));
  EXPECT_EQ(dst_->sdp_text.view(), kSessionPool);
}

// The line of Content-Type is not copied, its parameters are: also from a message that is itself a copy.
TEST_F(CopyMsgTest, CopyOfACopyIsTheSame) {
  Copy();
  cpsip_msg_ptr again = CPSIP_MsgCreate(true);
  EXPECT_EQ(cpsip_msg_copy_sip_msg(*dst_, *again), 0);
  EXPECT_EQ(Wire(again), Wire(dst_));
  EXPECT_THAT(Parms(*again, CPSIP_FLD_CONTENT_TYPE_PARM), ElementsAre("f86.1.1", "f86.1.2"));
}

// What long-lived dialogs use it for: text that was replaced again and again stays behind.
TEST_F(CopyMsgTest, CopyLeavesOldTextBehind) {
  cpsip_msg_ptr src = NewRequest();
  for (int at = 0; at < 100; ++at)
    Put(*src, CPSIP_FLD_CONTACT_URI, "sip:alice@10.0.0.1");
  cpsip_msg_ptr dst = CPSIP_MsgCreate(true);
  EXPECT_EQ(cpsip_msg_copy_sip_msg(*src, *dst), 0);
  EXPECT_LT(ChainText(dst->chain.get()).size(), 100U);
}

TEST_F(CopyMsgTest, ValuesAreCutAtThreeHundredBytesWithoutAReport) {
  Put(*src_, CPSIP_FLD_SUBJECT, Pattern(301));
  Put(*src_, CPSIP_FLD_UNKNOWN, "X-Long: " + Pattern(400), 2);
  Put(*src_, CPSIP_FLD_SUPPORTED_ITEM, Pattern(300), 2, 2);
  EXPECT_EQ(ReportsOf([&] { Copy(); }), "");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_SUBJECT), Pattern(300));
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_UNKNOWN, 2), "X-Long: " + Pattern(292));
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_SUPPORTED_ITEM, 2, 2), Pattern(300));
}

// A received header whose line end was cut off counted as the application's own once, and was sent.
TEST_F(CopyMsgTest, ReceivedUnknownHeaderKeepsItsLineEndWhenItIsCut) {
  for (const std::size_t length : {300U, 301U, 302U, 303U, 500U}) {
    SCOPED_TRACE(length);
    Put(*src_, CPSIP_FLD_UNKNOWN, Pattern(length - 2) + "\r\n", 1);
    Copy();
    EXPECT_EQ(Text(*dst_, CPSIP_FLD_UNKNOWN), Pattern(298) + "\r\n");
  }
}

TEST_F(CopyMsgTest, DisplayNamesOfRoutesAreNotCopied) {
  src_->route_display_head = PoolText(*src_, "Proxy");
  src_->record_route_display_head = PoolText(*src_, "Proxy");
  Copy();
  EXPECT_EQ(dst_->fields[dst_->route_display_head].length, 0);
  EXPECT_EQ(dst_->fields[dst_->record_route_display_head].length, 0);
}

TEST_F(CopyMsgTest, BlankMessageGivesABlankCopy) {
  cpsip_msg_ptr blank = CPSIP_MsgCreate(false);
  EXPECT_EQ(ReportsOf([&] { EXPECT_EQ(cpsip_msg_copy_sip_msg(*blank, *dst_), 0); }), "");
  EXPECT_THAT(ChainText(dst_->chain.get()), IsEmpty());
  EXPECT_EQ(dst_->fields.count(), 1);
}

}  // namespace
}  // namespace hark::test
