// The wrapper around a message: who owns it, its setters and getters, and the names that it makes of URIs.
#include "sipua/SipMsg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>

#include "cpsip/cpsip_msg_access.h"

namespace hark::test {
namespace {

void Put(cpsip_msg& msg, std::uint32_t id, std::string_view text) {
  EXPECT_EQ(cpsip_msg_write(msg, id, 1, 1, text), 0);
}

std::string Text(cpsip_msg& msg, std::uint32_t id) {
  std::array<char, 2000> room{};
  return std::string(cpsip_msg_read(msg, id, 1, 1, room));
}

// A wrapper that owns a new message.
class SipMsgTest : public ::testing::Test {
 protected:
  SipMsg msg_{CPSIP_MsgCreate(true).release(), &dialog_};
  SipMsg none_{nullptr, nullptr};
  int dialog_ = 0;
};

TEST_F(SipMsgTest, WrapperHandsOutWhatItWasGiven) {
  cpsip_msg* const msg = CPSIP_MsgCreate(true).release();
  SipMsg wrapper(msg, &dialog_);
  EXPECT_EQ(wrapper.GetPtr(), msg);
  EXPECT_EQ(wrapper.GetDialogId(), &dialog_);
  EXPECT_EQ(none_.GetPtr(), nullptr);
  EXPECT_EQ(none_.GetDialogId(), nullptr);
}

TEST_F(SipMsgTest, DestroyedWrapperIsEmpty) {
  msg_.Destroy();
  EXPECT_EQ(msg_.GetPtr(), nullptr);
  msg_.Destroy();
  EXPECT_EQ(msg_.GetPtr(), nullptr);
}

// Under a leak checker this is also the test that nothing else is deleted.
TEST_F(SipMsgTest, ClearedWrapperLeavesTheMessageToItsNewOwner) {
  const cpsip_msg_ptr owner(msg_.GetPtr());
  Put(*owner, CPSIP_FLD_CALL_ID, "1@h");
  msg_.Clear();
  EXPECT_EQ(msg_.GetPtr(), nullptr);
  msg_.Destroy();
  EXPECT_EQ(Text(*owner, CPSIP_FLD_CALL_ID), "1@h");
}

TEST_F(SipMsgTest, AppDialogIdIsWrittenIntoTheMessage) {
  msg_.SetAppDialogId(0x1234);
  EXPECT_EQ(msg_.GetPtr()->app_dialog_id, 0x1234U);
}

TEST_F(SipMsgTest, AppDialogIdOfAnEmptyWrapperDoesNothing) {
  none_.SetAppDialogId(7);
  EXPECT_EQ(none_.GetPtr(), nullptr);
}

TEST_F(SipMsgTest, CreateMakesAMessageWithABlock) {
  none_.Create(cpsip_method::invite, &dialog_);
  ASSERT_NE(none_.GetPtr(), nullptr);
  EXPECT_EQ(none_.GetPtr()->method, cpsip_method::invite);
  EXPECT_NE(none_.GetPtr()->chain, nullptr);
  EXPECT_EQ(none_.GetDialogId(), &dialog_);
}

TEST_F(SipMsgTest, CreateKeepsAMessageThatIsThere) {
  cpsip_msg* const before = msg_.GetPtr();
  Put(*before, CPSIP_FLD_CALL_ID, "1@h");
  msg_.Create(cpsip_method::bye, nullptr);
  EXPECT_EQ(msg_.GetPtr(), before);
  EXPECT_EQ(before->method, cpsip_method::bye);
  EXPECT_EQ(Text(*before, CPSIP_FLD_CALL_ID), "1@h");
  EXPECT_EQ(msg_.GetDialogId(), nullptr);
}

TEST_F(SipMsgTest, ResponseHasItsRequestsMethodCodeAndReason) {
  none_.CreateResponse(cpsip_method::invite, 486, "Busy Here", &dialog_);
  ASSERT_NE(none_.GetPtr(), nullptr);
  EXPECT_EQ(none_.GetPtr()->method, cpsip_method::response);
  EXPECT_EQ(none_.GetPtr()->cseq_method, cpsip_method::invite);
  EXPECT_EQ(none_.GetResponseCode(), 486);
  EXPECT_EQ(Text(*none_.GetPtr(), CPSIP_FLD_REASON), "Busy Here");
  EXPECT_EQ(none_.GetDialogId(), &dialog_);
}

TEST_F(SipMsgTest, ResponseCodeOfAnEmptyWrapperIsZero) { EXPECT_EQ(none_.GetResponseCode(), 0); }

struct SetterRow {
  const char* name;
  bool (SipMsg::*set)(const char*);
  std::uint32_t field;
};

constexpr SetterRow kSetters[] = {
    {"SetURI", &SipMsg::SetURI, 10},
    {"SetContact", &SipMsg::SetContact, 5},
    {"SetFromDisplayName", &SipMsg::SetFromDisplayName, 6},
    {"SetFromURI", &SipMsg::SetFromURI, 9},
    {"SetReason", &SipMsg::SetReason, 12},
};

TEST_F(SipMsgTest, EachSetterWritesItsField) {
  for (const SetterRow& row : kSetters) {
    SCOPED_TRACE(row.name);
    EXPECT_TRUE((msg_.*row.set)(row.name));
  }
  for (const SetterRow& row : kSetters)
    EXPECT_EQ(Text(*msg_.GetPtr(), row.field), row.name);
  EXPECT_TRUE(msg_.SetURI("sip:other"));
  EXPECT_EQ(Text(*msg_.GetPtr(), 10), "sip:other");
  EXPECT_TRUE(msg_.SetURI(""));
  EXPECT_EQ(Text(*msg_.GetPtr(), 10), "");
}

TEST_F(SipMsgTest, SetterSaysWhenTheTextWasNotWritten) {
  for (const SetterRow& row : kSetters) {
    SCOPED_TRACE(row.name);
    EXPECT_FALSE((none_.*row.set)("text"));
    EXPECT_FALSE((msg_.*row.set)(std::string(65536, 'x').c_str()));
  }
}

struct GetterRow {
  const char* name;
  const char* (SipMsg::*get)();
  std::uint32_t field;
};

constexpr GetterRow kUriGetters[] = {
    {"GetFromURI", &SipMsg::GetFromURI, 9},
    {"GetToURI", &SipMsg::GetToURI, 16},
    {"GetContactURI", &SipMsg::GetContactURI, 5},
};

TEST_F(SipMsgTest, EachGetterHasItsFieldInABufferOfItsOwn) {
  const char* texts[std::size(kUriGetters)];
  for (const GetterRow& row : kUriGetters)
    Put(*msg_.GetPtr(), row.field, row.name);
  for (std::size_t at = 0; at < std::size(kUriGetters); ++at)
    texts[at] = (msg_.*kUriGetters[at].get)();
  for (std::size_t at = 0; at < std::size(kUriGetters); ++at)
    EXPECT_STREQ(texts[at], kUriGetters[at].name);
}

TEST_F(SipMsgTest, GetterOfAnAbsentHeaderIsTheEmptyText) {
  for (const GetterRow& row : kUriGetters) {
    SCOPED_TRACE(row.name);
    EXPECT_STREQ((msg_.*row.get)(), "");
    Put(*msg_.GetPtr(), row.field, "there");
    EXPECT_STREQ((msg_.*row.get)(), "there");
    Put(*msg_.GetPtr(), row.field, "");
    EXPECT_STREQ((msg_.*row.get)(), "") << "nothing is left of an earlier text";
  }
}

TEST_F(SipMsgTest, ContactOfAResponseWithoutOneIsTheEmptyText) {
  none_.CreateResponse(cpsip_method::invite, 200, "OK", nullptr);
  EXPECT_STREQ(none_.GetContactURI(), "");
}

TEST_F(SipMsgTest, GetterCutsToItsBuffer) {
  for (const GetterRow& row : kUriGetters) {
    for (const std::size_t length : {298UL, 299UL, 300UL, 301UL, 1000UL}) {
      SCOPED_TRACE(std::string(row.name) + " " + std::to_string(length));
      Put(*msg_.GetPtr(), row.field, std::string(length, 'x'));
      EXPECT_EQ(std::string((msg_.*row.get)()), std::string(std::min<std::size_t>(length, 299), 'x'));
    }
  }
}

TEST_F(SipMsgTest, GettersOfAnEmptyWrapperGiveNull) {
  for (const GetterRow& row : kUriGetters)
    EXPECT_EQ((none_.*row.get)(), nullptr) << row.name;
  EXPECT_EQ(none_.GetFromName(), nullptr);
  EXPECT_EQ(none_.GetToName(), nullptr);
}

TEST_F(SipMsgTest, NamesAreTheUserPartsOfTheirUris) {
  Put(*msg_.GetPtr(), CPSIP_FLD_FROM_URI, "sip:1234@10.0.0.1:5062;user=phone");
  Put(*msg_.GetPtr(), CPSIP_FLD_TO_URI, "sip:studio@10.0.0.2");
  const char* const from = msg_.GetFromName();
  const char* const to = msg_.GetToName();
  EXPECT_STREQ(from, "1234");
  EXPECT_STREQ(to, "studio");
  EXPECT_STREQ(msg_.GetFromURI(), "sip:1234@10.0.0.1:5062;user=phone");
}

TEST_F(SipMsgTest, NamesOfAbsentUrisAreEmpty) {
  EXPECT_STREQ(msg_.GetFromName(), "");
  EXPECT_STREQ(msg_.GetToName(), "");
}

struct NameRow {
  const char* uri;
  const char* name;
};

TEST(SipMsgNameTest, NameEndsByPriorityAndNotByPosition) {
  const NameRow rows[] = {
      {"sip:1234@10.0.0.1:5062;user=phone", "1234"},
      {"1234@10.0.0.1", "1234"},
      {"sip:10.0.0.1", "10.0.0.1"},
      {"sip:host", "host"},
      {"sip:host:5060", "host"},
      {"sip:host;lr", "host"},
      {"sip:host:5060;lr", "host"},
      {"sip:host;x=1:2", "host;x=1"},
      {"sip:a:secret@h", "a:secret"},
      {"sip:a;b@h", "a;b"},
      {"sip:host:5060;x=a@b", "host:5060;x=a"},
      {"sip:a@b@c", "a"},
      {"sip:@h", ""},
      {"sip:", ""},
      {"", ""},
      {"sip", "sip"},
      // only exactly "sip:" is skipped, and once
      {"sips:a@h", "sips:a"},
      {"sips:h", "sips"},
      {"SIP:a@h", "SIP:a"},
      {"SIP:h", "SIP"},
      {" sip:a@h", " sip:a"},
      {"sip:sip:a@h", "sip:a"},
      {"<sip:a@h>", "<sip:a"},
  };
  for (const NameRow& row : rows) {
    SCOPED_TRACE(row.uri);
    char name[100];
    SipMsg::CopyNameFromURI(name, row.uri, sizeof name);
    EXPECT_STREQ(name, row.name);
  }
}

TEST(SipMsgNameTest, NameIsCutToItsLimit) {
  const std::pair<unsigned, const char*> rows[] = {{10, "1234"}, {5, "1234"}, {4, "123"}, {2, "1"}, {1, ""}};
  for (const auto& [limit, name] : rows) {
    SCOPED_TRACE(limit);
    std::string dst(12, '?');
    SipMsg::CopyNameFromURI(dst.data(), "sip:1234@h", limit);
    EXPECT_STREQ(dst.c_str(), name);
    EXPECT_EQ(dst[std::strlen(name) + 1], '?');
  }
  char untouched = '?';
  SipMsg::CopyNameFromURI(&untouched, "sip:1234@h", 0);
  EXPECT_EQ(untouched, '?');
}

TEST_F(SipMsgTest, LongestNameIsCutTo299) {
  Put(*msg_.GetPtr(), CPSIP_FLD_FROM_URI, std::string(400, 'x'));
  EXPECT_EQ(std::string(msg_.GetFromName()), std::string(299, 'x'));
}

TEST_F(SipMsgTest, DefaultSessionIsAskedForByAMarker) {
  EXPECT_EQ(msg_.IncludeDefaultSDP(), 1);
  EXPECT_EQ(msg_.GetPtr()->content_kind, cpsip_content_kind::sdp);
  EXPECT_EQ(msg_.GetPtr()->content_length, 1U);
  EXPECT_EQ(none_.IncludeDefaultSDP(), 0);
}

struct MethodRow {
  unsigned method;
  const char* text;
};

TEST(SipMsgMethodTest, EveryMethodHasItsText) {
  const MethodRow rows[] = {
      {0, "RESPONSE"},
      {1, "INVITE"},
      {2, "ACK"},
      {3, "BYE"},
      {4, "CANCEL"},
      {5, "OPTIONS"},
      {6, "REGISTER"},
      {7, "PRACK"},
      {8, "INFO"},
      {9, "REFER"},
      {10, "NOTIFY"},
      {11, "SUBSCRIBE"},
      {12, "MESSAGE"},
      {13, "PUBLISH"},
      {14, "UPDATE"},
      {88, "RECEIVED_RTP"},
      {89, "RECEIVED_RTCP"},
      {96, "UNREGISTER"},
      {97, "SERVICE_FAILURE"},
      {98, "LOCAL_STATUS"},
      {99, "UNRECOGNIZED"},
  };
  for (unsigned method = 0; method < 300; ++method) {
    const auto row = std::ranges::find(rows, method, &MethodRow::method);
    EXPECT_STREQ(SipMsg::GetMethodText(static_cast<cpsip_method>(method)),
                 row != std::end(rows) ? row->text : "**unknown**");
  }
  EXPECT_STREQ(SipMsg::GetMethodText(static_cast<cpsip_method>(0xFFFFFFFF)), "**unknown**");
}

}  // namespace
}  // namespace hark::test
