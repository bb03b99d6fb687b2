// A key whose station has no known address asks the network for it.
#include <gmock/gmock.h>

#include "panel/fake_lookup.h"
#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelLookup : public ModelTest {
 protected:
  ModelLookup() { StartWithKey("LABL:\"New\"", "Zed <hark:10.0.0.26>"); }
  ~ModelLookup() override {
    lookups_asked.clear();
    lookup_answer = nullptr;
  }
  // The look-up gives `result`, and the station is `line` then.
  void Find(int result, const std::string& line) {
    lookup_answer = [this, result, line](const std::string& /*label*/) {
      Sources(line + "\n");
      return result;
    };
  }
  static std::vector<std::string> Asked() { return std::exchange(lookups_asked, {}); }
};

TEST_F(ModelLookup, KnownStationIsNotAskedFor) {
  Sources("New <hark:10.7.7.7>\n");
  Hold("KX01", 500);
  EXPECT_THAT(Asked(), IsEmpty());
}

TEST_F(ModelLookup, StationThatIsKnownAtOnceIsCalled) {
  Find(1, "New <hark:10.7.7.7>");
  KeyDown("KX01");
  EXPECT_THAT(Asked(), ElementsAre("New"));
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call("New <hark:10.7.7.7>", "TALK:1 LISTEN:1 VOLUME:0")));
}

TEST_F(ModelLookup, StationThatIsStillOnItsWayIsNotCalled) {
  for (const int result : {0, -1, 2}) {
    SCOPED_TRACE(result);
    StartWithKey("LABL:\"New\"", "Zed <hark:10.0.0.26>");
    Find(result, "New <hark:10.7.7.7>");
    KeyDown("KX01");
    EXPECT_THAT(Asked(), ElementsAre("New"));
    EXPECT_THAT(Sent(), IsEmpty());
  }
}

TEST_F(ModelLookup, AnswerWithoutAStationIsNotCalled) {
  Find(1, "Other <hark:10.7.7.7>");
  KeyDown("KX01");
  EXPECT_THAT(Asked(), ElementsAre("New"));
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelLookup, StationWithoutAnAddressIsAskedFor) {
  StartWithKey("LABL:\"New\"", "New <>;trgl=4");
  Find(1, "New <hark:10.7.7.7>");
  KeyDown("KL01");
  EXPECT_THAT(Asked(), ElementsAre("New"));
  EXPECT_THAT(Sent(), ElementsAre(Call("New <hark:10.7.7.7>", "LISTEN:1 VOLUME:0")));
}

TEST_F(ModelLookup, StationWithoutAnAddressIsCalledAsItStandsWhenNothingIsFound) {
  StartWithKey("LABL:\"New\"", "New <>;trgl=4");
  for (const int result : {0, 1, -1}) {
    SCOPED_TRACE(result);
    lookup_answer = [result](const std::string& /*label*/) { return result; };
    KeyDown("KL01");
    EXPECT_THAT(Asked(), ElementsAre("New"));
    EXPECT_THAT(Sent(), ElementsAre(Call("New <>;trgl=4", "LISTEN:1 VOLUME:0")));
  }
}

TEST_F(ModelLookup, ReleaseAsksTooAndAutoAnswerAsksForItsLabel) {
  Hold("KX01", 500);
  EXPECT_THAT(Asked(), ElementsAre("New", "New"));
  model->SetAALabel("Far");
  KeyDown("KTAA");
  EXPECT_THAT(Asked(), ElementsAre("Far"));
}

TEST_F(ModelLookup, StarOfAFoundStationIsNotSent) {
  StartWithKey("LABL:\"*New\"", "Zed <hark:10.0.0.26>");
  Find(1, "*New <hark:10.7.7.7>");
  KeyDown("KL01");
  EXPECT_THAT(Sent(), ElementsAre(Call("New <hark:10.7.7.7>", "LISTEN:1 VOLUME:0")));
}

// What was decided before the network was asked stays decided.
TEST_F(ModelLookup, BarredKeysAskForNothing) {
  StartWithKey("LABL:\"New\" FLAGS:3", "Zed <hark:10.0.0.26>");
  Hold("KX01", 500);
  Tap("KL02");
  model->callstack_add("Zed", kTalkOn);
  model->SetAALabel("Far");
  KeyDown("KLAA");
  EXPECT_THAT(Asked(), IsEmpty());
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelLookup, LatchedReleaseAsksForNothing) {
  KeyDown("KT01");
  EXPECT_THAT(Asked(), ElementsAre("New"));
  AdvanceMs(50);
  KeyUp("KT01");
  EXPECT_THAT(Asked(), IsEmpty());
}

}  // namespace
}  // namespace hark
