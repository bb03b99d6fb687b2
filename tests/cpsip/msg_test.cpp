// A message and its pool of field records: what a new one holds, how the pool grows, and what goes with it.
#include "cpsip/cpsip_msg.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <utility>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

bool IsBlank(const cpsip_field& field) {
  return field.buf == nullptr && field.offset == 0 && field.length == 0 && field.next_hdr == 0 &&
         field.next_parm == 0;
}

void AllocUpTo(cpsip_msg& msg, std::uint16_t count) {
  while (msg.fields.count() < count)
    (void)cpsip_msg_alloc_field_ptr(msg);
}

TEST(SipMsg, NewOneWithABufferHasABlockToBuildIn) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  ASSERT_NE(msg->chain, nullptr);
  EXPECT_EQ(msg->chain->capacity, 256);
  EXPECT_EQ(msg->chain->used, 0);
  EXPECT_EQ(msg->chain->next, nullptr);
  EXPECT_EQ(msg->fields.count(), 1);
}

TEST(SipMsg, NewOneWithoutABufferHasNoChain) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  EXPECT_EQ(msg->chain, nullptr);
  EXPECT_EQ(msg->fields.count(), 1);
}

TEST(SipMsg, NewOneIsBlank) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  EXPECT_EQ(msg->method, cpsip_method::response);
  EXPECT_EQ(msg->cseq_method, cpsip_method::response);
  EXPECT_STREQ(msg->unknown_method.data(), "");
  EXPECT_EQ(msg->status_code, 0);
  EXPECT_EQ(msg->scan_status, 0);
  EXPECT_EQ(msg->max_forwards, 0);
  EXPECT_EQ(msg->content_kind, cpsip_content_kind::none);
  EXPECT_EQ(msg->content_length, 0U);
  EXPECT_EQ(msg->expires, 0U);
  EXPECT_FALSE(msg->content_length_seen);
  EXPECT_FALSE(msg->include_allow);
  EXPECT_EQ(msg->sdp, nullptr);
  EXPECT_EQ(msg->sdp2, nullptr);
  EXPECT_EQ(msg->body, nullptr);
  EXPECT_TRUE(msg->sdp_text.view().empty());
  EXPECT_FALSE(msg->sdp_text.owned());
  EXPECT_FALSE(msg->sdp2_text.owned());
  EXPECT_EQ(msg->via_head, 0);
  EXPECT_EQ(msg->via_count, 0);
  EXPECT_TRUE(IsBlank(msg->start_line));
  EXPECT_TRUE(IsBlank(msg->to));
}

TEST(SipMsg, DeleteFreesChainPoolSessionsAndBody) {
  const std::int64_t before = LiveAllocations();
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->chain->next = cpsip_osa_buf_alloc(kBuildBlockSize);
  AllocUpTo(*msg, 200);
  for (auto* sdp : {&msg->sdp, &msg->sdp2}) {
    *sdp = std::make_unique<cpsdp_parms>();
    (*sdp)->m_count = 2;
    (*sdp)->media[0] = std::make_unique<cpsdp_media>();
    (*sdp)->media[1] = std::make_unique<cpsdp_media>();
  }
  msg->sdp_text.borrow("v=0");
  msg->sdp2_text.own(std::make_unique<char[]>(3), 3);
  msg->body = std::make_unique<char[]>(10);
  EXPECT_GE(LiveAllocations() - before, 1 + 2 + 24 + 6 + 2);
  CPSIP_MsgDelete(std::move(msg));
  EXPECT_EQ(LiveAllocations(), before);
}

TEST(SipMsg, DeleteOfNothingIsFine) {
  const std::int64_t before = LiveAllocations();
  CPSIP_MsgDelete(nullptr);
  EXPECT_EQ(LiveAllocations(), before);
}

TEST(SdpText, BorrowedTextStaysWhereItIs) {
  const std::string text = "v=0";
  cpsip_sdp_text sdp_text;
  sdp_text.borrow(text);
  EXPECT_EQ(sdp_text.view().data(), text.data());
  EXPECT_EQ(sdp_text.view().size(), text.size());
  EXPECT_FALSE(sdp_text.owned());
}

TEST(SdpText, BorrowingGivesUpWhatWasOwned) {
  const std::int64_t before = LiveAllocations();
  cpsip_sdp_text sdp_text;
  sdp_text.own(std::make_unique<char[]>(3), 3);
  EXPECT_TRUE(sdp_text.owned());
  EXPECT_EQ(sdp_text.view().size(), 3U);
  sdp_text.borrow("v=0");
  EXPECT_FALSE(sdp_text.owned());
  EXPECT_EQ(LiveAllocations(), before);
}

TEST(FieldPool, RecordZeroIsBlankAndStandsForNone) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  const cpsip_field* const none = cpsip_msg_get_field_ptr_using_idx(*msg, 0);
  ASSERT_NE(none, nullptr);
  EXPECT_TRUE(IsBlank(*none));
  EXPECT_EQ(cpsip_field_view(*none), "");
}

TEST(FieldPool, RecordZeroStaysBlankInAScannedMessage) {
  const Scanned scanned =
      Scan(Request("Via: SIP/2.0/UDP h:1;b\r\nm: <sip:a>, <sip:b>\r\nAllow: A, B\r\nx: y\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_TRUE(IsBlank(scanned.msg().fields[0]));
}

TEST(FieldPool, NewIndexIsTheCountBeforeIt) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  for (std::uint16_t index = 1; index < 100; ++index) {
    EXPECT_EQ(cpsip_msg_alloc_field_ptr(*msg), index);
    EXPECT_EQ(msg->fields.count(), index + 1);
    EXPECT_TRUE(IsBlank(msg->fields[index]));
  }
}

// The first two chunks are parts of the message: an ordinary one takes no more.
TEST(FieldPool, EachEighthRecordBehindSixteenTakesAnotherChunk) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  const std::int64_t before = Allocations();
  AllocUpTo(*msg, 16);
  EXPECT_EQ(Allocations(), before);
  AllocUpTo(*msg, 17);
  EXPECT_EQ(Allocations(), before + 1);
  AllocUpTo(*msg, 24);
  EXPECT_EQ(Allocations(), before + 1);
  AllocUpTo(*msg, 25);
  EXPECT_EQ(Allocations(), before + 2);
}

TEST(FieldPool, NinthRecordIsTheFirstOfTheSecondChunk) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  AllocUpTo(*msg, 8);
  EXPECT_EQ(cpsip_msg_alloc_field_ptr(*msg), 8);
  EXPECT_EQ(msg->fields.count(), 9);
  const cpsip_field* const ninth = cpsip_msg_get_field_ptr_using_idx(*msg, 8);
  ASSERT_NE(ninth, nullptr);
  EXPECT_EQ(cpsip_msg_alloc_field_ptr(*msg), 9);
  EXPECT_EQ(cpsip_msg_get_field_ptr_using_idx(*msg, 9), ninth + 1);
}

TEST(FieldPool, RecordsOfAChunkLieSideBySide) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  AllocUpTo(*msg, 24);
  for (std::uint16_t i = 0; i < 24; ++i) {
    const auto first = static_cast<std::uint16_t>(i / 8 * 8);
    EXPECT_EQ(&msg->fields[i], &msg->fields[first] + (i - first)) << i;
  }
}

TEST(FieldPool, RecordsStayWhereTheyAreAndAreTheirOwn) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  std::vector<cpsip_field*> records{cpsip_msg_get_field_ptr_using_idx(*msg, 0)};
  while (records.size() < 1000) {
    const std::uint16_t index = cpsip_msg_alloc_field_ptr(*msg);
    cpsip_field* const record = cpsip_msg_get_field_ptr_using_idx(*msg, index);
    ASSERT_NE(record, nullptr);
    EXPECT_TRUE(IsBlank(*record));
    record->length = index;
    records.push_back(record);
  }
  EXPECT_EQ(std::set<cpsip_field*>(records.begin(), records.end()).size(), records.size());
  for (std::uint16_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(cpsip_msg_get_field_ptr_using_idx(*msg, i), records[i]);
    EXPECT_EQ(records[i]->length, i);
  }
}

TEST(FieldPool, IndexAtOrPastTheCountIsReportedAndGivesNothing) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  AllocUpTo(*msg, 3);
  for (const std::uint16_t index :
       {std::uint16_t{3}, std::uint16_t{4}, std::uint16_t{8}, std::uint16_t{0xFFFF}}) {
    SCOPED_TRACE(index);
    const cpsip_field* record = &msg->to;
    const std::string reports = Reports([&] { record = cpsip_msg_get_field_ptr_using_idx(*msg, index); });
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(reports.rfind("UXP: file: cpsip_msg line: ", 0), 0U) << reports;
  }
  const std::string reports = Reports([&] { (void)cpsip_msg_get_field_ptr_using_idx(*msg, 2); });
  EXPECT_EQ(reports, "");
}

TEST(FieldPool, HoldsAsManyRecordsAsAnIndexCanName) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  AllocUpTo(*msg, cpsip_field_pool::kMaxFields);
  const std::uint16_t last = cpsip_field_pool::kMaxFields - 1;
  msg->fields[last].length = 7;
  EXPECT_EQ(msg->fields[last].length, 7);
  EXPECT_TRUE(IsBlank(msg->fields[last - 1]));
}

TEST(FieldPoolDeathTest, EndsTheProcessWhenTheIndexesRunOut) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  AllocUpTo(*msg, cpsip_field_pool::kMaxFields);
  EXPECT_EXIT((void)cpsip_msg_alloc_field_ptr(*msg), ::testing::ExitedWithCode(1), "");
}

TEST(FieldView, CountsTheOffsetFromTheBlocksStart) {
  const cpsip_osa_chain block = BlockOf("To: sip:a@b");
  const cpsip_field field{block.get(), static_cast<std::uint16_t>(kOsaHeaderSize + 4), 7};
  EXPECT_EQ(cpsip_field_view(field), "sip:a@b");
  EXPECT_EQ(cpsip_field_view(field).data(), block->data() + 4);
}

TEST(FieldView, OfNothingIsEmpty) {
  const cpsip_osa_chain block = BlockOf("abc");
  EXPECT_EQ(cpsip_field_view(cpsip_field{}), "");
  EXPECT_EQ(cpsip_field_view(cpsip_field{block.get(), kOsaHeaderSize, 0}), "");
}

TEST(FieldView, EndsWithTheBlockThatTheTextBeginsIn) {
  const cpsip_osa_chain first{cpsip_osa_buf_alloc(8)};
  std::memcpy(first->data(), "abcdefgh", 8);
  first->used = 8;
  first->next = cpsip_osa_buf_alloc(8);
  std::memcpy(first->next->data(), "ijkl", 4);
  first->next->used = 4;
  const cpsip_field field{first.get(), static_cast<std::uint16_t>(kOsaHeaderSize + 5), 6};
  EXPECT_EQ(cpsip_field_view(field), "fgh");
}

}  // namespace
}  // namespace hark::test
