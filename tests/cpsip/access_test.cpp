// The access by field id: every field in its way of being reached, and what a read gives of a long value,
// of what is absent and of what is no field at all.
#include "cpsip/field_rows.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

std::string Name(const FieldRow& row, unsigned instance, unsigned parm) {
  return std::string(row.name) + "/" + std::to_string(instance) + "/" + std::to_string(parm);
}

// The record that a field must lie in, found by walking the chains by hand.
const cpsip_field& RecordOf(const cpsip_msg& msg, const FieldRow& row, unsigned instance, unsigned parm) {
  const cpsip_field* record = row.field != nullptr ? &(msg.*row.field) : &msg.fields[msg.*row.head];
  for (unsigned at = 1; row.HasInstances() && at < instance; ++at)
    record = &msg.fields[record->next_hdr];
  for (unsigned at = 0; row.IsParameter() && at < parm; ++at)
    record = &msg.fields[record->next_parm];
  return *record;
}

TEST(AccessTest, EveryFieldIsReadBackByInstanceAndParameter) {
  for (const FieldRow& row : FieldRows()) {
    SCOPED_TRACE(row.name);
    const unsigned instances = row.HasInstances() ? 3 : 1;
    const unsigned parms = row.IsParameter() ? 3 : 1;
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    for (unsigned instance = 1; instance <= instances; ++instance) {
      for (unsigned parm = 1; parm <= parms; ++parm)
        Put(*msg, row.id, Name(row, instance, parm), instance, parm);
    }
    for (unsigned instance = 1; instance <= instances; ++instance) {
      for (unsigned parm = 1; parm <= parms; ++parm) {
        EXPECT_EQ(Text(*msg, row.id, instance, parm), Name(row, instance, parm));
        EXPECT_EQ(cpsip_field_view(RecordOf(*msg, row, instance, parm)), Name(row, instance, parm));
      }
    }
  }
}

TEST(AccessTest, ThirdInstanceAndParameterWrittenFirstMakesBlankOnesBefore) {
  for (const FieldRow& row : FieldRows()) {
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    const unsigned instance = row.HasInstances() ? 3 : 1;
    const unsigned parm = row.IsParameter() ? 3 : 1;
    Put(*msg, row.id, "last", instance, parm);
    EXPECT_EQ(Text(*msg, row.id, instance, parm), "last");
    if (row.HasInstances()) {
      EXPECT_EQ(msg.get()->*row.count, 3);
    }
    if (row.mode == FieldMode::kInstance) {
      EXPECT_EQ(Text(*msg, row.id, 1), "");
      EXPECT_EQ(Text(*msg, row.id, 2), "");
    }
    if (row.IsParameter()) {
      EXPECT_THAT(Parms(*msg, row.id, instance), ElementsAre("", "", "last"));
    }
  }
}

// One message that has everything: no two fields share a record but those that stand twice.
TEST(AccessTest, NoFieldDisturbsAnother) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  for (const FieldRow& row : FieldRows()) {
    if (row.id == row.record || row.IsParameter()) Put(*msg, row.id, Name(row, 2, 2), 2, 2);
  }
  for (const FieldRow& row : FieldRows()) {
    SCOPED_TRACE(row.name);
    if (row.id == row.record || row.IsParameter()) {
      EXPECT_EQ(Text(*msg, row.id, 2, 2), Name(row, 2, 2));
    } else {
      EXPECT_EQ(Text(*msg, row.id, 2, 2), Text(*msg, row.record, 2, 2));
    }
  }
}

TEST(AccessTest, LastWrittenTextStands) {
  for (const FieldRow& row : FieldRows()) {
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    Put(*msg, row.id, "first and longer");
    Put(*msg, row.id, "second");
    EXPECT_EQ(Text(*msg, row.id), "second");
  }
}

TEST(AccessTest, FieldsWithoutInstancesTakeAnyInstanceNumber) {
  for (const FieldRow& row : FieldRows()) {
    if (row.HasInstances()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    for (const unsigned instance : {0U, 9U, 300U}) {
      Put(*msg, row.id, Name(row, instance, 1), instance, 1);
      EXPECT_EQ(Text(*msg, row.id, 1, 1), Name(row, instance, 1));
      EXPECT_EQ(Text(*msg, row.id, instance, 1), Name(row, instance, 1));
    }
  }
}

struct PartRow {
  std::uint32_t offset, max, length, remaining;
};

// 600 bytes lie as 256, 256 and 88 in the blocks behind the first one.
TEST(AccessTest, ReadCutsByOffsetAndMaxAcrossBlocks) {
  const PartRow rows[] = {
      {0, 0, 0, 600},     {0, 1, 1, 599},      {0, 255, 255, 345}, {0, 256, 256, 344}, {0, 257, 257, 343},
      {0, 600, 600, 0},   {0, 601, 600, 0},    {1, 300, 300, 299}, {255, 2, 2, 343},   {256, 256, 256, 88},
      {256, 344, 344, 0}, {250, 300, 300, 50}, {511, 2, 2, 87},    {512, 88, 88, 0},   {512, 87, 87, 1},
      {599, 1, 1, 0},     {599, 9, 1, 0},      {600, 5, 0, 0},     {601, 5, 0, 0},     {0xFFFFFFFF, 5, 0, 0},
  };
  const std::string text = Pattern(600);
  for (const FieldRow& field : {FieldRows()[0], FieldRows()[2], FieldRows()[3], FieldRows()[7]}) {
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    Put(*msg, field.id, text);
    for (const PartRow& row : rows) {
      SCOPED_TRACE(std::string(field.name) + " offset " + std::to_string(row.offset) + " max " +
                   std::to_string(row.max));
      const FieldRead read = Read(*msg, field.id, 1, 1, row.offset, row.max);
      EXPECT_EQ(read.result, kAccessOk);
      EXPECT_EQ(read.text, row.length == 0 ? "" : text.substr(row.offset, row.length));
      EXPECT_EQ(read.remaining, row.remaining);
    }
  }
}

TEST(AccessTest, AbsentFieldIsEmptyWithoutAnError) {
  for (const bool with_buffer : {true, false}) {
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(with_buffer);
    for (const FieldRow& row : FieldRows()) {
      if (row.IsParameter()) continue;
      SCOPED_TRACE(row.name);
      for (const unsigned instance : {0U, 1U, 2U, 255U, 256U, 100000U}) {
        const FieldRead read = Read(*msg, row.id, instance, 1);
        EXPECT_EQ(read.result, kAccessOk);
        EXPECT_EQ(read.text, "");
        EXPECT_EQ(read.remaining, 0U);
      }
      EXPECT_TRUE(!row.HasInstances() || msg.get()->*row.count == 0) << "a read makes nothing";
    }
  }
}

TEST(AccessTest, EndOfParametersIsNoSuchParameter) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    EXPECT_EQ(Read(*msg, row.id, 1, 1).result, kAccessNoParameter);
    Put(*msg, row.id, "a=1", 1, 1);
    EXPECT_EQ(Read(*msg, row.id, 1, 2).result, kAccessNoParameter);
    EXPECT_EQ(Read(*msg, row.id, 1, 100000).result, kAccessNoParameter);
    if (row.HasInstances()) {
      EXPECT_EQ(Read(*msg, row.id, 2, 1).result, kAccessNoParameter);
      EXPECT_EQ(Read(*msg, row.id, 0, 1).result, kAccessNoParameter);
    }
  }
}

TEST(AccessTest, ParameterZeroIsReportedAndRefused) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    Put(*msg, row.id, "a=1");
    EXPECT_THAT(ReportsOf([&] { EXPECT_EQ(Read(*msg, row.id, 1, 0).result, kAccessNoParameter); }),
                Not(IsEmpty()));
    EXPECT_THAT(ReportsOf([&] { EXPECT_EQ(Write(*msg, row.id, 1, 0, "b"), kAccessNoParameter); }),
                Not(IsEmpty()));
    EXPECT_THAT(Parms(*msg, row.id), ElementsAre("a=1"));
  }
}

TEST(AccessTest, IdThatIsNoFieldIsReportedAndDoesNothing) {
  for (const std::uint32_t id : IdsWithoutField()) {
    SCOPED_TRACE(id);
    const cpsip_msg_ptr msg = NewRequest();
    const std::string before = ChainText(msg->chain.get());
    EXPECT_THAT(ReportsOf([&] { EXPECT_EQ(Text(*msg, id), ""); }), Not(IsEmpty()));
    EXPECT_THAT(ReportsOf([&] { EXPECT_EQ(Write(*msg, id, 1, 1, "text"), kAccessOk); }), Not(IsEmpty()));
    EXPECT_EQ(ChainText(msg->chain.get()), before);
    EXPECT_EQ(msg->fields.count(), 1);
  }
}

TEST(AccessTest, ReservedParametersOfReplacesSubscriptionStateAndEventAreNoFields) {
  EXPECT_THAT(IdsWithoutField(), ::testing::IsSupersetOf({62U, 70U, 72U, 73U, 75U}));
}

TEST(AccessTest, OrdinaryReadsAndWritesReportNothing) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  EXPECT_EQ(ReportsOf([&] {
              for (const FieldRow& row : FieldRows()) {
                Put(*msg, row.id, "text", 2, 2);
                EXPECT_EQ(Text(*msg, row.id, 2, 2), "text");
              }
            }),
            "");
}

}  // namespace
}  // namespace hark::test
