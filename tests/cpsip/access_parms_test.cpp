// Parameters: taking them out of their header, and finding one by its name.
#include "cpsip/field_rows.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> AfterClearing(const FieldRow& row, unsigned parm) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  for (const unsigned at : {1U, 2U, 3U})
    Put(*msg, row.id, "p" + std::to_string(at), 1, at);
  Put(*msg, row.record, "line");
  Put(*msg, row.id, "", 1, parm);
  EXPECT_EQ(Text(*msg, row.record), "line");
  return Parms(*msg, row.id);
}

TEST(AccessParmsTest, ClearedParameterIsGoneAndThoseBehindItMoveUp) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    EXPECT_THAT(AfterClearing(row, 1), ElementsAre("p2", "p3"));
    EXPECT_THAT(AfterClearing(row, 2), ElementsAre("p1", "p3"));
    EXPECT_THAT(AfterClearing(row, 3), ElementsAre("p1", "p2"));
  }
}

TEST(AccessParmsTest, ClearingAParameterThatIsNotThereChangesNothing) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    for (const unsigned parm : {4U, 5U, 1000U}) {
      EXPECT_THAT(AfterClearing(row, parm), ElementsAre("p1", "p2", "p3"));
    }
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    Put(*msg, row.id, "");
    EXPECT_THAT(Parms(*msg, row.id), IsEmpty());
  }
}

TEST(AccessParmsTest, AllParametersGoOneByOneAndNewOnesCome) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  Put(*msg, CPSIP_FLD_VIA_PARM, "other", 2);
  for (const unsigned at : {1U, 2U, 3U})
    Put(*msg, CPSIP_FLD_VIA_PARM, "p", 1, at);
  for (int at = 0; at < 3; ++at)
    Put(*msg, CPSIP_FLD_VIA_PARM, "");
  EXPECT_THAT(Parms(*msg, CPSIP_FLD_VIA_PARM), IsEmpty());
  Put(*msg, CPSIP_FLD_VIA_PARM, "branch=1");
  EXPECT_THAT(Parms(*msg, CPSIP_FLD_VIA_PARM), ElementsAre("branch=1"));
  EXPECT_THAT(Parms(*msg, CPSIP_FLD_VIA_PARM, 2), ElementsAre("other"));
}

struct Found {
  int result;
  unsigned index;
  std::uint32_t length;
  std::string value;
};

constexpr char kOld = '?';

Found Find(cpsip_msg& msg, std::uint32_t id, std::string_view name, unsigned instance = 1) {
  cpsip_field_text value;
  value.fill(kOld);
  Found found{0, 99, 99, {}};
  found.result = CPSIP_MsgGetParmValue(msg, id, instance, name, found.index, value, found.length);
  if (found.result != kAccessOk) return found;
  const std::string_view filled(value.data(), value.size());
  found.value = filled.substr(0, filled.find(kOld));
  return found;
}

struct FindRow {
  std::vector<std::string> parms;
  std::string_view name;
  unsigned index;
  std::uint32_t length;
  std::string_view value;
};

TEST(AccessParmsTest, ParameterIsFoundByItsName) {
  const FindRow rows[] = {
      {{"tag=abc"}, "tag=", 1, 3, "abc"},
      {{"branch=z9", "rport=5060"}, "rport=", 2, 4, "5060"},
      {{"rport"}, "rport", 1, 1, ""},
      {{"rport=5060"}, "rport", 1, 4, "5060"},
      {{"lr", "rport"}, "rport", 2, 1, ""},
      // case
      {{"TaG=AbC"}, "tag=", 1, 3, "AbC"},
      {{"maddr=224.2.0.1"}, "MADDR=", 1, 9, "224.2.0.1"},
      {{"RPORT"}, "rport", 1, 1, ""},
      // blanks around "="; those behind the value belong to it
      {{"tag = abc"}, "tag=", 1, 3, "abc"},
      {{" \ttag\t=\t abc"}, "tag=", 1, 3, "abc"},
      {{"tag=abc "}, "tag=", 1, 4, "abc "},
      {{"tag=a b"}, "tag=", 1, 3, "a b"},
      {{"t a g=abc"}, "tag=", 1, 3, "abc"},
      {{" rport "}, "rport", 1, 1, ""},
      // the name may be the beginning of the parameter's
      {{"received=10.0.0.1"}, "rec", 1, 8, "10.0.0.1"},
      {{"received=10.0.0.1", "rport=5060"}, "r", 1, 8, "10.0.0.1"},
      {{"tagged=1", "tag=2"}, "tag", 1, 1, "1"},
      {{"tagged=1", "tag=2"}, "tag=", 2, 1, "2"},
      {{"rport5"}, "rport", 1, 1, ""},
      // only the first "=" ends the name
      {{"tag=a=b"}, "tag=", 1, 3, "a=b"},
      {{"tag=="}, "tag=", 1, 1, "="},
      // nothing behind "="
      {{"tag="}, "tag=", 1, 0, ""},
      {{"tag= \t "}, "tag=", 1, 0, ""},
      // the first of two
      {{"tag=1", "tag=2"}, "tag=", 1, 1, "1"},
  };
  for (const FindRow& row : rows) {
    SCOPED_TRACE(row.parms.front() + " by " + std::string(row.name));
    for (const std::uint32_t id :
         {CPSIP_FLD_FROM_PARM, CPSIP_FLD_TO_PARM, CPSIP_FLD_VIA_PARM, CPSIP_FLD_CONTACT_PARM}) {
      const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
      for (unsigned at = 0; at < row.parms.size(); ++at)
        Put(*msg, id, row.parms[at], 1, at + 1);
      const Found found = Find(*msg, id, row.name);
      EXPECT_EQ(found.result, kAccessOk);
      EXPECT_EQ(found.index, row.index);
      EXPECT_EQ(found.length, row.length);
      EXPECT_EQ(found.value, row.value);
    }
  }
}

TEST(AccessParmsTest, ParameterThatIsNotThereGivesIndexAndLengthZero) {
  const FindRow rows[] = {
      {{}, "tag=", 0, 0, ""},        {{"branch=tag=1"}, "tag=", 0, 0, ""}, {{"rport"}, "rport=", 0, 0, ""},
      {{"ta"}, "tag", 0, 0, ""},     {{"ta=g"}, "tag=", 0, 0, ""},         {{"xtag=1"}, "tag=", 0, 0, ""},
      {{"", "x"}, "tag=", 0, 0, ""},
  };
  for (const FindRow& row : rows) {
    SCOPED_TRACE(row.parms.empty() ? "none" : row.parms.back());
    const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    Put(*msg, CPSIP_FLD_VIA_HOST, "10.0.0.1");
    for (unsigned at = static_cast<unsigned>(row.parms.size()); at > 0; --at) {
      if (!row.parms[at - 1].empty()) Put(*msg, CPSIP_FLD_VIA_PARM, row.parms[at - 1], 1, at);
    }
    const Found found = Find(*msg, CPSIP_FLD_VIA_PARM, row.name);
    EXPECT_EQ(found.result, kAccessOk);
    EXPECT_EQ(found.index, 0U);
    EXPECT_EQ(found.length, 0U);
    EXPECT_EQ(found.value, "");
  }
}

TEST(AccessParmsTest, EachInstanceIsSearchedAlone) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  Put(*msg, CPSIP_FLD_VIA_PARM, "branch=1", 1);
  Put(*msg, CPSIP_FLD_VIA_PARM, "branch=two", 2);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_VIA_PARM, "branch=", 1).value, "1");
  EXPECT_EQ(Find(*msg, CPSIP_FLD_VIA_PARM, "branch=", 2).value, "two");
}

TEST(AccessParmsTest, SearchInAnInstanceAboveTheCountIsNoSuchInstance) {
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_VIA_PARM, "branch=", 1).result, kAccessNoInstance);
  Put(*msg, CPSIP_FLD_VIA_PARM, "branch=1");
  EXPECT_EQ(Find(*msg, CPSIP_FLD_VIA_PARM, "branch=", 1).result, kAccessOk);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_VIA_PARM, "branch=", 2).result, kAccessNoInstance);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_FROM_PARM, "tag=", 1).result, kAccessOk);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_FROM_PARM, "tag=", 2).result, kAccessNoInstance);
}

TEST(AccessParmsTest, ParameterOfThreeHundredBytesIsFoundAndALongerOneStopsTheSearch) {
  const std::string value = Pattern(296);
  const cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  Put(*msg, CPSIP_FLD_TO_PARM, "a=1", 1, 1);
  Put(*msg, CPSIP_FLD_TO_PARM, "tag=" + value, 1, 2);
  Put(*msg, CPSIP_FLD_TO_PARM, "z=9", 1, 3);
  const Found found = Find(*msg, CPSIP_FLD_TO_PARM, "tag=");
  EXPECT_EQ(found.result, kAccessOk);
  EXPECT_EQ(found.index, 2U);
  EXPECT_EQ(found.value, value);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_TO_PARM, "z=").index, 3U);

  Put(*msg, CPSIP_FLD_TO_PARM, "tag=" + value + "x", 1, 2);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_TO_PARM, "tag=").result, kAccessTooLong);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_TO_PARM, "z=").result, kAccessTooLong);
  EXPECT_EQ(Find(*msg, CPSIP_FLD_TO_PARM, "a=").value, "1") << "what stands before it is found";
}

}  // namespace
}  // namespace hark::test
