// Counting instances by every field id, and parameters.
#include "cpsip/field_rows.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::IsEmpty;
using ::testing::Not;

TEST(CountTest, RepeatingHeadersAreCountedByEachOfTheirFields) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.HasInstances()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg, row.id), 0U);
    for (const unsigned count : {1U, 2U, 255U}) {
      msg.get()->*row.count = static_cast<std::uint8_t>(count);
      EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg, row.id), count);
    }
  }
}

TEST(CountTest, FromAndToAreAlwaysOne) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  for (const std::uint32_t id : {6U, 7U, 8U, 9U, 13U, 14U, 15U, 16U, 36U, 37U}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(ReportsOf([&] { EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg, id), 1U); }), "");
  }
}

struct LineRow {
  cpsip_field cpsip_msg::*line;
  std::vector<std::uint32_t> ids;
};

TEST(CountTest, SingleHeadersAreOneWhenTheirLineIsThere) {
  const LineRow rows[] = {
      {&cpsip_msg::replaces, {61, 62}},
      {&cpsip_msg::refer_to, {63, 64, 65, 66}},
      {&cpsip_msg::subscription_state_line, {70, 71, 72}},
      {&cpsip_msg::event_line, {74, 75}},
      {&cpsip_msg::referred_by, {76, 78, 79}},
      {&cpsip_msg::content_type_line, {84, 85, 86}},
      {&cpsip_msg::user_agent_line, {34, 35}},
      {&cpsip_msg::subject_line, {40, 41}},
      {&cpsip_msg::server_line, {50, 51}},
  };
  for (const LineRow& row : rows) {
    for (const std::uint32_t id : row.ids) {
      SCOPED_TRACE(id);
      const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
      EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg, id), 0U);
      (msg.get()->*row.line).length = 1;
      EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg, id), 1U);
      for (const LineRow& other : rows)
        (msg.get()->*other.line).length = 1;
      (msg.get()->*row.line).length = 0;
      EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg, id), 0U) << "the line of another header counts";
    }
  }
}

// Kept: nothing fills the lines of these three, so a message that has them says 0.
TEST(CountTest, UserAgentSubjectAndServerAreNotCountedByTheirValues) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  for (const std::uint32_t id : {34U, 35U, 40U, 41U, 50U, 51U}) {
    SCOPED_TRACE(id);
    Put(*msg, id, "text");
    EXPECT_EQ(ReportsOf([&] { EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg, id), 0U); }), "");
  }
}

TEST(CountTest, OtherFieldsAreReportedAndZero) {
  const cpsip_msg_ptr msg = NewRequest();
  Put(*msg, CPSIP_FLD_REASON, "OK");
  Put(*msg, CPSIP_FLD_START_LINE, "SIP/2.0 200 OK");
  Put(*msg, CPSIP_FLD_REFERRED_BY, "line");
  Put(*msg, CPSIP_FLD_REFERRED_BY_DISPLAY, "Carol");
  for (const std::uint32_t id :
       {0U, 1U, 10U, 11U, 12U, 22U, 29U, 55U, 60U, 77U, 80U, 83U, 87U, 1000U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(id);
    EXPECT_THAT(ReportsOf([&] { EXPECT_EQ(CPSIP_MsgGetHdrCnt(*msg, id), 0U); }), Not(IsEmpty()));
  }
}

// What a header that is counted by its line needs before its parameters count.
void PutLine(cpsip_msg& msg, const FieldRow& row) {
  if (row.mode == FieldMode::kParameter) Put(msg, row.record, "line");
}

TEST(CountTest, ParametersAreCountedPerInstance) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    PutLine(*msg, row);
    for (unsigned count = 1; count <= 10; ++count) {
      Put(*msg, row.id, "p", 1, count);
      EXPECT_EQ(CPSIP_MsgGetParmCnt(*msg, row.id, 1), count);
    }
    if (row.HasInstances()) {
      Put(*msg, row.id, "p", 2, 3);
      EXPECT_EQ(CPSIP_MsgGetParmCnt(*msg, row.id, 2), 3U) << "blank ones count";
    }
    EXPECT_EQ(CPSIP_MsgGetParmCnt(*msg, row.id, 1), 10U);
    Put(*msg, row.id, "", 1, 4);
    EXPECT_EQ(CPSIP_MsgGetParmCnt(*msg, row.id, 1), 9U);
  }
}

TEST(CountTest, InstanceWithoutParametersHasNone) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    Put(*msg, row.record, "line");
    EXPECT_EQ(CPSIP_MsgGetParmCnt(*msg, row.id, 1), 0U);
  }
}

TEST(CountTest, InstanceAboveTheCountHasNoParameters) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    PutLine(*msg, row);
    Put(*msg, row.id, "p");
    for (const unsigned instance : {2U, 255U, 256U, 70000U}) {
      EXPECT_EQ(CPSIP_MsgGetParmCnt(*msg, row.id, instance), 0U) << instance;
    }
  }
}

TEST(CountTest, ParametersOfMoreThanThreeHundredBytesCount) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  Put(*msg, CPSIP_FLD_TO_PARM, Pattern(301), 1, 1);
  Put(*msg, CPSIP_FLD_TO_PARM, Pattern(5000), 1, 2);
  EXPECT_EQ(CPSIP_MsgGetParmCnt(*msg, CPSIP_FLD_TO_PARM, 1), 2U);
}

}  // namespace
}  // namespace hark::test
