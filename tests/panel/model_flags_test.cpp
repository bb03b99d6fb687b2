// What a key's flags and the kind of its station bar: talk, listen, or the latching of either.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

enum class Latch { kYes, kNo };

class ModelFlags : public ModelTest {
 protected:
  // A key 1 with `flags`.
  void StartWithFlags(unsigned flags) { StartWithKey("LABL:\"Bob\" FLAGS:" + std::to_string(flags), kBob); }
  // A press of `key` asks for `fields` (empty: for nothing), and a tap of it latches or not.
  void ExpectKey(const std::string& key, const std::string& url, const std::string& fields, Latch latch) {
    SCOPED_TRACE(key);
    Sent();
    KeyDown(key);
    std::vector<std::string> pressed;
    if (fields.find("TALK") != std::string::npos) pressed.emplace_back(kUnmute);
    if (!fields.empty()) pressed.push_back(Call(url, fields));
    EXPECT_EQ(Sent(), pressed);
    AdvanceMs(50);
    KeyUp(key);
    EXPECT_EQ(Sent().empty(), fields.empty() || latch == Latch::kYes);
  }
};

constexpr const char kTalk[] = "TALK:1";
constexpr const char kListen[] = "LISTEN:1 VOLUME:0";
constexpr const char kBoth[] = "TALK:1 LISTEN:1 VOLUME:0";
constexpr const char kNothing[] = "";

TEST_F(ModelFlags, FlagsBarTalkListenAndTheirLatching) {
  struct Row {
    unsigned flags;
    const char* talk;
    Latch talk_latch;
    const char* listen;
    Latch listen_latch;
    const char* both;
    Latch both_latch;
  };
  constexpr Latch kYes = Latch::kYes;
  constexpr Latch kNo = Latch::kNo;
  for (const Row& row : {Row{0, kTalk, kYes, kListen, kYes, kBoth, kYes},
                         {1, kNothing, kYes, kListen, kYes, kListen, kYes},
                         {2, kTalk, kYes, kNothing, kYes, kTalk, kYes},
                         {3, kNothing, kYes, kNothing, kYes, kNothing, kYes},
                         {4, kTalk, kNo, kListen, kYes, kBoth, kNo},
                         {8, kTalk, kYes, kListen, kNo, kBoth, kNo},
                         {12, kTalk, kNo, kListen, kNo, kBoth, kNo},
                         // The latching is judged by what the key is, before a half of it is barred.
                         {1 | 4, kNothing, kYes, kListen, kYes, kListen, kNo},
                         {1 | 8, kNothing, kYes, kListen, kNo, kListen, kNo},
                         {2 | 4, kTalk, kNo, kNothing, kYes, kTalk, kNo},
                         {2 | 8, kTalk, kYes, kNothing, kYes, kTalk, kNo},
                         {15, kNothing, kYes, kNothing, kYes, kNothing, kYes},
                         {16, kTalk, kYes, kListen, kYes, kBoth, kYes}}) {
    SCOPED_TRACE(row.flags);
    StartWithFlags(row.flags);
    ExpectKey("KT01", kBob, row.talk, row.talk_latch);
    ExpectKey("KL01", kBob, row.listen, row.listen_latch);
    ExpectKey("KX01", kBob, row.both, row.both_latch);
  }
}

TEST_F(ModelFlags, ReleaseOfABarredKeyDoesNothing) {
  StartWithFlags(1);
  Hold("KT01", 500);
  EXPECT_THAT(Sent(), IsEmpty());
  StartWithFlags(2);
  Hold("KL01", 500);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelFlags, BarredListenIsNoHeldKey) {
  StartWithFlags(2);
  KeyDown("KX01");
  EXPECT_EQ(model->held_key, 0U);
}

TEST_F(ModelFlags, FlagsAreThoseOfTheKeyNotOfTheParty) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\" FLAGS:3\nHARKCH 2 LABL:\"Bob\"\n");
  Start();
  ExpectKey("KX01", kBob, kNothing, Latch::kYes);
  ExpectKey("KX02", kBob, kBoth, Latch::kYes);
}

TEST_F(ModelFlags, AutoAnswerKeyHasNone) {
  StartWithFlags(15);
  model->SetAALabel("Bob");
  ExpectKey("KXAA", kBob, kBoth, Latch::kYes);
}

TEST_F(ModelFlags, TalkNeedsAStationThatCanBeTold) {
  struct Row {
    const char* url;
    bool talk;
  };
  for (const Row& row : {Row{"Src <hark:10.0.0.1>", true},
                         {"Src <sip:hark-talk@10.0.0.1>", true},
                         {"Src <sip:bob@10.0.0.1>", true},
                         {"Src <phone:5551>", true},
                         {"Src <other:5551>", true},
                         {"Src <quillnet:239.192.0.7>;gpio=3;gpiot=2", true},
                         {"Src <quillnet:239.192.0.7>;qntb=1", true},
                         {"Src <quillnet:239.192.0.7>;ifb=10.0.0.1", true},
                         {"Src <quillnet:239.192.0.7>", false},
                         {"Src <quillnet:239.192.0.7>;gpio=3", false},
                         {"Src <quillnet:239.192.0.7>;gpiot=2", false},
                         {"Src <quillnet:239.192.0.7>;gpio=3;gpiol=1", false},
                         {"Src <quillnet:239.192.0.7>;qntb=0", false},
                         {"Src <quillnet:239.192.0.7>;ifb=", false},
                         {"Src <quillnet:239.192.0.7>;trgl=4;label=Src", false}}) {
    SCOPED_TRACE(row.url);
    StartWithKey("LABL:\"Src\"", row.url);
    ExpectKey("KT01", row.url, row.talk ? kTalk : kNothing, Latch::kYes);
    ExpectKey("KL01", row.url, kListen, Latch::kYes);
    ExpectKey("KX01", row.url, row.talk ? kBoth : kListen, Latch::kYes);
  }
}

TEST_F(ModelFlags, AutoAnswerKeyCannotTalkToASourceEither) {
  const std::string source = "Src <quillnet:239.192.0.7>";
  StartWithKey("LABL:\"Bob\"", source);
  model->SetAALabel("Src");
  ExpectKey("KTAA", source, kNothing, Latch::kYes);
  ExpectKey("KXAA", source, kListen, Latch::kYes);
}

}  // namespace
}  // namespace hark
