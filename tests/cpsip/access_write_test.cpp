// Writing by field id: how the chain of blocks grows, that old text stays, and what is refused.
#include <algorithm>

#include "cpsip/field_rows.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

// A message whose only block has `free` bytes left.
cpsip_msg_ptr MessageWithRoom(std::size_t free) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  if (free < kBuildBlockSize) Put(*msg, CPSIP_FLD_CALL_ID, Pattern(kBuildBlockSize - free));
  return msg;
}

struct GrowthRow {
  std::size_t free;
  std::size_t length;
  std::vector<unsigned> used;
};

// The room of a block is used only if the whole rest of the value fits there; else a new block takes it.
TEST(AccessWriteTest, ValueThatDoesNotFitGoesToNewBlocks) {
  const GrowthRow rows[] = {
      {256, 1, {1}},
      {256, 255, {255}},
      {256, 256, {256}},
      {256, 257, {0, 256, 1}},
      {256, 511, {0, 256, 255}},
      {256, 512, {0, 256, 256}},
      {256, 513, {0, 256, 256, 1}},
      {100, 99, {255}},
      {100, 100, {256}},
      {100, 101, {156, 101}},
      {100, 256, {156, 256}},
      {100, 300, {156, 256, 44}},
      {0, 1, {256, 1}},
      {0, 256, {256, 256}},
      {0, 257, {256, 256, 1}},
  };
  for (const GrowthRow& row : rows) {
    SCOPED_TRACE(std::to_string(row.length) + " bytes with " + std::to_string(row.free) + " free");
    for (const std::uint32_t id :
         {CPSIP_FLD_SUBJECT, CPSIP_FLD_CONTACT_URI, CPSIP_FLD_FROM_PARM, CPSIP_FLD_VIA_PARM}) {
      const cpsip_msg_ptr msg = MessageWithRoom(row.free);
      Put(*msg, id, Pattern(row.length));
      EXPECT_EQ(UsedOfBlocks(msg->chain.get()), row.used);
      EXPECT_EQ(Text(*msg, id), Pattern(row.length));
    }
  }
}

TEST(AccessWriteTest, ThreeHundredBytesWithAHundredFreeOpenTwoBlocksAndAreReadWhole) {
  const cpsip_msg_ptr msg = MessageWithRoom(100);
  Put(*msg, CPSIP_FLD_SUBJECT, Pattern(300));
  EXPECT_THAT(UsedOfBlocks(msg->chain.get()), ElementsAre(156, 256, 44));
  const cpsip_field& field = msg->subject;
  EXPECT_EQ(field.buf, msg->chain->next);
  EXPECT_EQ(field.offset, kOsaHeaderSize);
  EXPECT_EQ(field.length, 300);
  EXPECT_EQ(Text(*msg, CPSIP_FLD_SUBJECT), Pattern(300));
  EXPECT_EQ(Text(*msg, CPSIP_FLD_CALL_ID), Pattern(156));
}

TEST(AccessWriteTest, ValueOfEverySizeIsReadBackWhole) {
  for (const std::size_t length : {0UL, 1UL, 255UL, 256UL, 257UL, 511UL, 512UL, 513UL, 5000UL, 65535UL}) {
    SCOPED_TRACE(length);
    for (const bool with_buffer : {true, false}) {
      const cpsip_msg_ptr msg = CPSIP_MsgCreate(with_buffer);
      Put(*msg, CPSIP_FLD_CALL_ID, Pattern(length));
      EXPECT_EQ(Text(*msg, CPSIP_FLD_CALL_ID), Pattern(length));
      EXPECT_EQ(msg->call_id.length, length);
    }
  }
}

TEST(AccessWriteTest, NewBlocksAreBuildBlocks) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  EXPECT_EQ(msg->chain, nullptr);
  Put(*msg, CPSIP_FLD_CALL_ID, Pattern(1000));
  for (const cpsip_osa_buf* block = msg->chain.get(); block != nullptr; block = block->next) {
    EXPECT_EQ(block->capacity, kBuildBlockSize);
  }
  EXPECT_EQ(ChainText(msg->chain.get()), Pattern(1000));
}

TEST(AccessWriteTest, MessageWithoutABlockGetsOneOnTheFirstWrite) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  Put(*msg, CPSIP_FLD_TO_PARM, "tag=1");
  EXPECT_THAT(UsedOfBlocks(msg->chain.get()), ElementsAre(5));
  EXPECT_EQ(Text(*msg, CPSIP_FLD_TO_PARM), "tag=1");
}

// The transport leaves slack behind a datagram for this: what is written to a received message needs no
// block.
TEST(AccessWriteTest, SlackBehindADatagramTakesWhatIsWritten) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  msg->chain.reset(cpsip_osa_buf_alloc(40));
  const std::string_view datagram = "Call-ID: received";
  std::copy(datagram.begin(), datagram.end(), msg->chain->data());
  msg->chain->used = static_cast<std::uint16_t>(datagram.size());
  msg->call_id = {msg->chain.get(), kOsaHeaderSize + 9, 8, 0, 0};
  Put(*msg, CPSIP_FLD_VIA_PARM, "received=10.0.0.1");
  EXPECT_EQ(ChainText(msg->chain.get()), "Call-ID: receivedreceived=10.0.0.1");
  EXPECT_EQ(msg->chain->next, nullptr);
  EXPECT_EQ(Text(*msg, CPSIP_FLD_CALL_ID), "received");
  Put(*msg, CPSIP_FLD_VIA_PARM, "rport=5060", 1, 2);
  EXPECT_EQ(Text(*msg, CPSIP_FLD_VIA_PARM, 1, 2), "rport=5060");
  EXPECT_THAT(UsedOfBlocks(msg->chain.get()), ElementsAre(34, 10));
}

TEST(AccessWriteTest, WriteAppendsAndNeverChangesOldText) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  Put(*msg, CPSIP_FLD_CALL_ID, "old text");
  const cpsip_field old = msg->call_id;
  std::string before = ChainText(msg->chain.get());
  for (const std::string& text : {std::string("new"), Pattern(300), std::string("old text"), std::string()}) {
    Put(*msg, CPSIP_FLD_CALL_ID, text);
    EXPECT_EQ(ChainText(msg->chain.get()), before + text);
    before = ChainText(msg->chain.get());
    EXPECT_EQ(cpsip_field_view(old), "old text") << "a record that was copied before still has its text";
  }
}

TEST(AccessWriteTest, EmptyTextEmptiesAFieldAndKeepsItsInstance) {
  for (const FieldRow& row : FieldRows()) {
    if (row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    for (const unsigned instance : {1U, 2U, 3U})
      Put(*msg, row.id, "text " + std::to_string(instance), instance);
    Put(*msg, row.id, "", 2);
    EXPECT_EQ(Text(*msg, row.id, 2), "");
    if (!row.HasInstances()) continue;
    EXPECT_EQ(Text(*msg, row.id, 1), "text 1");
    EXPECT_EQ(Text(*msg, row.id, 3), "text 3");
    EXPECT_EQ(msg.get()->*row.count, 3);
  }
}

TEST(AccessWriteTest, EmptyingAnAbsentInstanceMakesItBlankAndCounted) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  Put(*msg, CPSIP_FLD_ROUTE_URI, "", 2);
  EXPECT_EQ(msg->route_count, 2);
  EXPECT_EQ(Text(*msg, CPSIP_FLD_ROUTE_URI, 2), "");
}

TEST(AccessWriteTest, CountOnlyRises) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  Put(*msg, CPSIP_FLD_VIA_HOST, "c", 3);
  Put(*msg, CPSIP_FLD_VIA_HOST, "a", 1);
  Put(*msg, CPSIP_FLD_VIA_PARM, "rport", 2);
  EXPECT_EQ(msg->via_count, 3);
  Put(*msg, CPSIP_FLD_VIA_PARM, "rport", 4);
  EXPECT_EQ(msg->via_count, 4);
}

TEST(AccessWriteTest, InstanceThatNoCountHoldsIsRefused) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.HasInstances()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    for (const unsigned instance : {0U, 256U, 257U, 0x10001U, 0xFFFFFFFFU}) {
      EXPECT_EQ(Write(*msg, row.id, instance, 1, "text"), kAccessNoInstance) << instance;
    }
    EXPECT_EQ(msg.get()->*row.count, 0);
    Put(*msg, row.id, "last", 255, 1);
    EXPECT_EQ(Text(*msg, row.id, 255, 1), "last");
    EXPECT_EQ(msg.get()->*row.count, 255);
  }
}

TEST(AccessWriteTest, ParameterNumberThatNoPoolHoldsIsRefused) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  EXPECT_EQ(Write(*msg, CPSIP_FLD_TO_PARM, 1, 65536, "a"), kAccessNoParameter);
  EXPECT_EQ(Write(*msg, CPSIP_FLD_VIA_PARM, 1, 0xFFFFFFFF, "a"), kAccessNoParameter);
  EXPECT_THAT(Parms(*msg, CPSIP_FLD_TO_PARM), ElementsAre());
  EXPECT_THAT(Parms(*msg, CPSIP_FLD_VIA_PARM), ElementsAre());
}

// The instances ahead of a parameter that was refused were made once.
TEST(AccessWriteTest, RefusedWriteChangesNothing) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  EXPECT_EQ(Write(*msg, CPSIP_FLD_VIA_PARM, 5, 65500, "a"), kAccessNoParameter);
  EXPECT_EQ(Write(*msg, CPSIP_FLD_VIA_PARM, 256, 1, "a"), kAccessNoInstance);
  EXPECT_EQ(msg->via_count, 0);
  EXPECT_EQ(msg->fields.count(), 1);
}

TEST(AccessWriteTest, TextThatNoRecordHoldsIsRefused) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  Put(*msg, CPSIP_FLD_CALL_ID, "stays");
  for (const std::size_t length : {65536UL, 65537UL, 131072UL}) {
    EXPECT_EQ(Write(*msg, CPSIP_FLD_CALL_ID, 1, 1, std::string(length, 'x')), kAccessTooLong);
  }
  EXPECT_EQ(Text(*msg, CPSIP_FLD_CALL_ID), "stays");
  EXPECT_THAT(UsedOfBlocks(msg->chain.get()), ElementsAre(5));
}

TEST(AccessWriteTest, ShortFormsWriteAndRead) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  EXPECT_EQ(cpsip_msg_write(*msg, CPSIP_FLD_CONTACT_PARM, 2, 1, "expires=60"), kAccessOk);
  EXPECT_EQ(cpsip_msg_write(*msg, CPSIP_FLD_CONTACT_PARM, 0, 1, "q=1"), kAccessNoInstance);
  std::array<char, 8> room{};
  int result = -1;
  EXPECT_EQ(cpsip_msg_read(*msg, CPSIP_FLD_CONTACT_PARM, 2, 1, room, &result), "expires=");
  EXPECT_EQ(result, kAccessOk);
  EXPECT_EQ(cpsip_msg_read(*msg, CPSIP_FLD_CONTACT_PARM, 2, 2, room, &result), "");
  EXPECT_EQ(result, kAccessNoParameter);
  EXPECT_EQ(cpsip_msg_read(*msg, CPSIP_FLD_CALL_ID, 1, 1, room), "");
}

}  // namespace
}  // namespace hark::test
