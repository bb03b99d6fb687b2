// Copies of single fields, of parameters, of Contact and of Via from one message to another.
#include "cpsip/cpsip_msg_copy.h"

#include <algorithm>

#include "cpsip/field_rows.h"
#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CopyTest : public ::testing::Test {
 protected:
  const cpsip_msg_ptr src_ = CPSIP_MsgCreate(true);
  const cpsip_msg_ptr dst_ = CPSIP_MsgCreate(true);
};

TEST_F(CopyTest, FieldIsCopiedToTheSameInstance) {
  for (const FieldRow& row : FieldRows()) {
    if (row.IsParameter()) continue;
    SCOPED_TRACE(row.name);
    const cpsip_msg_ptr src = CPSIP_MsgCreate(true);
    const cpsip_msg_ptr dst = CPSIP_MsgCreate(true);
    for (const unsigned instance : {1U, 2U, 3U})
      Put(*src, row.id, "text " + std::to_string(instance), instance);
    EXPECT_EQ(cpsip_msg_copy_field(*src, *dst, 2, row.id), kAccessOk);
    EXPECT_EQ(Text(*dst, row.id, 2), Text(*src, row.id, 2));
    if (row.HasInstances()) {
      EXPECT_EQ(Text(*dst, row.id, 1), "");
      EXPECT_EQ(dst.get()->*row.count, 2);
    }
  }
}

TEST_F(CopyTest, CopyHasTextOfItsOwn) {
  Put(*src_, CPSIP_FLD_CALL_ID, "1@h");
  EXPECT_EQ(cpsip_msg_copy_field(*src_, *dst_, 1, CPSIP_FLD_CALL_ID), kAccessOk);
  EXPECT_EQ(dst_->call_id.buf, dst_->chain.get());
}

TEST_F(CopyTest, EmptyFieldIsNotCopied) {
  Put(*dst_, CPSIP_FLD_CALL_ID, "stays");
  Put(*dst_, CPSIP_FLD_ROUTE_URI, "stays");
  EXPECT_EQ(cpsip_msg_copy_field(*src_, *dst_, 1, CPSIP_FLD_CALL_ID), kAccessOk);
  EXPECT_EQ(cpsip_msg_copy_field(*src_, *dst_, 1, CPSIP_FLD_ROUTE_URI), kAccessOk);
  EXPECT_EQ(cpsip_msg_copy_field(*src_, *dst_, 2, CPSIP_FLD_ROUTE_URI), kAccessOk);
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_CALL_ID), "stays");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_ROUTE_URI), "stays");
  EXPECT_EQ(dst_->route_count, 1);
}

TEST_F(CopyTest, FieldOfMoreThanThreeHundredBytesIsCutWithoutAReport) {
  for (const std::size_t length : {1UL, 299UL, 300UL, 301UL, 5000UL}) {
    SCOPED_TRACE(length);
    Put(*src_, CPSIP_FLD_SUBJECT, Pattern(length));
    EXPECT_EQ(
        ReportsOf([&] { EXPECT_EQ(cpsip_msg_copy_field(*src_, *dst_, 1, CPSIP_FLD_SUBJECT), kAccessOk); }),
        "");
    EXPECT_EQ(Text(*dst_, CPSIP_FLD_SUBJECT), Pattern(std::min<std::size_t>(length, 300)));
  }
}

// The parameters of all instances of `id`, as far as there are two.
std::vector<std::string> AllParms(cpsip_msg& msg, std::uint32_t id) {
  std::vector<std::string> all = Parms(msg, id, 1);
  for (std::string& parm : Parms(msg, id, 2))
    all.push_back("2:" + parm);
  return all;
}

TEST_F(CopyTest, ParametersReplaceThoseOfTheDestination) {
  for (const unsigned had : {0U, 1U, 2U, 3U, 9U}) {
    SCOPED_TRACE(had);
    const cpsip_msg_ptr dst = CPSIP_MsgCreate(true);
    Put(*src_, CPSIP_FLD_VIA_PARM, "branch=1", 1, 1);
    Put(*src_, CPSIP_FLD_VIA_PARM, "rport", 1, 2);
    Put(*src_, CPSIP_FLD_VIA_PARM, "branch=2", 2, 1);
    for (unsigned at = 1; at <= had; ++at)
      Put(*dst, CPSIP_FLD_VIA_PARM, "old", 1, at);
    Put(*dst, CPSIP_FLD_VIA_PARM, "old", 2, 1);
    EXPECT_EQ(cpsip_msg_copy_header_parms(*src_, *dst, 1, CPSIP_FLD_VIA_PARM), kAccessOk);
    EXPECT_THAT(AllParms(*dst, CPSIP_FLD_VIA_PARM), ElementsAre("branch=1", "rport", "2:old"));
    EXPECT_EQ(cpsip_msg_copy_header_parms(*src_, *dst, 2, CPSIP_FLD_VIA_PARM), kAccessOk);
    EXPECT_THAT(AllParms(*dst, CPSIP_FLD_VIA_PARM), ElementsAre("branch=1", "rport", "2:branch=2"));
  }
}

TEST_F(CopyTest, ParametersOfEveryHeaderAreCopiedWithOrWithoutItsLine) {
  for (const FieldRow& row : FieldRows()) {
    if (!row.IsParameter()) continue;
    for (const bool lines : {true, false}) {
      SCOPED_TRACE(std::string(row.name) + (lines ? " with" : " without") + " line");
      const cpsip_msg_ptr src = CPSIP_MsgCreate(true);
      const cpsip_msg_ptr dst = CPSIP_MsgCreate(true);
      if (lines) Put(*src, row.record, "line");
      Put(*src, row.id, "a=1", 1, 1);
      Put(*src, row.id, "b", 1, 2);
      for (const unsigned at : {1U, 2U, 3U})
        Put(*dst, row.id, "old", 1, at);
      EXPECT_EQ(cpsip_msg_copy_header_parms(*src, *dst, 1, row.id), kAccessOk);
      EXPECT_THAT(Parms(*dst, row.id), ElementsAre("a=1", "b"));
    }
  }
}

TEST_F(CopyTest, NoParametersClearThoseOfTheDestination) {
  Put(*src_, CPSIP_FLD_TO_URI, "sip:b@h");
  for (const unsigned at : {1U, 2U, 3U})
    Put(*dst_, CPSIP_FLD_TO_PARM, "old", 1, at);
  EXPECT_EQ(cpsip_msg_copy_header_parms(*src_, *dst_, 1, CPSIP_FLD_TO_PARM), kAccessOk);
  EXPECT_THAT(Parms(*dst_, CPSIP_FLD_TO_PARM), IsEmpty());
}

TEST_F(CopyTest, ParameterOfMoreThanThreeHundredBytesIsCut) {
  Put(*src_, CPSIP_FLD_FROM_PARM, Pattern(301), 1, 1);
  Put(*src_, CPSIP_FLD_FROM_PARM, "tag=1", 1, 2);
  EXPECT_EQ(cpsip_msg_copy_header_parms(*src_, *dst_, 1, CPSIP_FLD_FROM_PARM), kAccessOk);
  EXPECT_THAT(Parms(*dst_, CPSIP_FLD_FROM_PARM), ElementsAre(Pattern(300), "tag=1"));
}

TEST_F(CopyTest, ContactsAreCopiedWithNamesUrisAndParameters) {
  Put(*src_, CPSIP_FLD_CONTACT_URI, "sip:a@h", 1);
  Put(*src_, CPSIP_FLD_CONTACT_DISPLAY, "Desk", 2);
  Put(*src_, CPSIP_FLD_CONTACT_URI, "sip:b@h", 2);
  Put(*src_, CPSIP_FLD_CONTACT_PARM, "q=1", 2, 1);
  Put(*src_, CPSIP_FLD_CONTACT_PARM, "expires=60", 2, 2);
  Put(*dst_, CPSIP_FLD_CONTACT_PARM, "old", 1, 1);
  Put(*dst_, CPSIP_FLD_CONTACT_PARM, "old", 2, 3);
  EXPECT_EQ(cpsip_msg_copy_contact(*src_, *dst_), kAccessOk);
  EXPECT_EQ(dst_->contact_count, 2);
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_CONTACT_DISPLAY, 1), "");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_CONTACT_URI, 1), "sip:a@h");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_CONTACT_DISPLAY, 2), "Desk");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_CONTACT_URI, 2), "sip:b@h");
  EXPECT_THAT(AllParms(*dst_, CPSIP_FLD_CONTACT_PARM), ElementsAre("2:q=1", "2:expires=60"));
}

TEST_F(CopyTest, ViasAreCopiedWithTransportHostPortAndParameters) {
  Put(*src_, CPSIP_FLD_VIA_TRANSPORT, "UDP", 1);
  Put(*src_, CPSIP_FLD_VIA_HOST, "10.0.0.1", 1);
  Put(*src_, CPSIP_FLD_VIA_PORT, "5062", 1);
  Put(*src_, CPSIP_FLD_VIA_PARM, "branch=1", 1, 1);
  Put(*src_, CPSIP_FLD_VIA_PARM, "received=10.9.9.9", 1, 2);
  Put(*src_, CPSIP_FLD_VIA_TRANSPORT, "TCP", 2);
  Put(*src_, CPSIP_FLD_VIA_HOST, "10.0.0.2", 2);
  Put(*dst_, CPSIP_FLD_VIA_PARM, "old", 1, 3);
  Put(*dst_, CPSIP_FLD_VIA_PARM, "old", 2, 1);
  EXPECT_EQ(cpsip_msg_copy_via(*src_, *dst_), kAccessOk);
  EXPECT_EQ(dst_->via_count, 2);
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_VIA_TRANSPORT, 1), "UDP");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_VIA_HOST, 1), "10.0.0.1");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_VIA_PORT, 1), "5062");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_VIA_TRANSPORT, 2), "TCP");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_VIA_HOST, 2), "10.0.0.2");
  EXPECT_EQ(Text(*dst_, CPSIP_FLD_VIA_PORT, 2), "");
  EXPECT_THAT(AllParms(*dst_, CPSIP_FLD_VIA_PARM), ElementsAre("branch=1", "received=10.9.9.9"));
}

TEST_F(CopyTest, NoInstancesCopyNothing) {
  EXPECT_EQ(cpsip_msg_copy_via(*src_, *dst_), kAccessOk);
  EXPECT_EQ(cpsip_msg_copy_contact(*src_, *dst_), kAccessOk);
  EXPECT_EQ(dst_->via_count, 0);
  EXPECT_EQ(dst_->contact_count, 0);
  EXPECT_EQ(ChainText(dst_->chain.get()), "");
}

}  // namespace
}  // namespace hark::test
