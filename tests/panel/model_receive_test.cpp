// What a report of a call does to the model: the party's state, the levels of keys, and what is refreshed.
#include <gmock/gmock.h>

#include "addressing/harkresolvtable.h"
#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelReceive : public ModelTest {
 protected:
  void ExpectNothingHappened() {
    EXPECT_EQ(Dirty(), 0U);
    EXPECT_THAT(model->connections, IsEmpty());
    EXPECT_THAT(Stack(), IsEmpty());
    EXPECT_EQ(AALabel(), "");
    EXPECT_THAT(Sent(), IsEmpty());
  }
};

TEST_F(ModelReceive, WithoutAUrlNothingHappens) {
  for (const char* line : {"", "CALL", "CALL TALK:1", "CALL URL: TALK:1",
                           "CALL URL:\"\" TALK:R LISTEN:1 VOLUME:5", "CALL URI:\"hark:10.0.0.1\" TALK:1"}) {
    SCOPED_TRACE(line);
    Indicate(line);
    ExpectNothingHappened();
  }
}

TEST_F(ModelReceive, PartyThatCannotBeNamedHasNoPlace) {
  Sources("hark:10.0.0.7\nElevenChars <hark:10.0.0.8>\nBob <hark:10.0.0.9>;ifb=" + std::string(80, 'x') +
          "\n");
  for (const char* url : {"hark:10.0.0.7", "hark:10.0.0.8", "hark:10.0.0.9", "hark:10.99.99.99", "nonsense",
                          "quillnet:239.192.0.1", "phone:5551"}) {
    SCOPED_TRACE(url);
    Report(url, "TALK:R LISTEN:1 VOLUME:5");
    ExpectNothingHappened();
  }
}

TEST_F(ModelReceive, LettersSetThePartysState) {
  struct Row {
    const char* fields;
    int status;
  };
  for (const Row& row : {Row{"LISTEN:1", 1},
                         {"LISTEN:R", 2},
                         {"LISTEN:r", 4},
                         {"LISTEN:d", 8},
                         {"LISTEN:0", 0},
                         {"LISTEN:x", 0},
                         {"TALK:1", 16},
                         {"TALK:R", 32},
                         {"TALK:r", 64},
                         {"TALK:d", 128},
                         {"TALK:0", 0},
                         {"TALK:D", 0},
                         {"TALK:1 LISTEN:1", 17},
                         {"LISTEN:R TALK:r VOLUME:5", 66},
                         {"TALK:d LISTEN:0", 128}}) {
    SCOPED_TRACE(row.fields);
    model->connections.clear();
    Report(kBobAddress, row.fields);
    EXPECT_EQ(model->status_of("Bob"), row.status);
  }
}

TEST_F(ModelReceive, MissingFieldLeavesItsHalf) {
  Report(kBobAddress, "TALK:1 LISTEN:d");
  Report(kBobAddress, "LISTEN:r");
  EXPECT_EQ(model->status_of("Bob"), 16 | 4);
  Report(kBobAddress, "TALK:0");
  EXPECT_EQ(model->status_of("Bob"), 4);
}

TEST_F(ModelReceive, StateRefreshesIndicatorsAndAnEndLabelsToo) {
  struct Row {
    const char* fields;
    std::uint32_t dirty;
  };
  for (const Row& row : {Row{"TALK:1", 2},
                         {"TALK:r", 2},
                         {"TALK:d", 2},
                         {"TALK:0 LISTEN:1", 2},
                         {"TALK:0", 3},
                         {"LISTEN:0", 3},
                         {"TALK:0 LISTEN:0", 3}}) {
    SCOPED_TRACE(row.fields);
    Dirty();
    Report(kBobAddress, row.fields);
    EXPECT_EQ(Dirty(), row.dirty);
  }
}

TEST_F(ModelReceive, AnEndNobodyKnewOfMakesNoParty) {
  Report(kBobAddress, "TALK:0 LISTEN:0");
  EXPECT_THAT(model->connections, IsEmpty());
  EXPECT_EQ(Dirty(), kDirtyLabels | kDirtyIndicators);
}

TEST_F(ModelReceive, VolumeAloneMovesAFaderAndNoKey) {
  Report(kBobAddress, "VOLUME:-120");
  EXPECT_EQ(model->volumes[0], -120);
  EXPECT_EQ(Dirty(), kDirtyFaders);
  EXPECT_THAT(model->connections, IsEmpty());
  EXPECT_THAT(Stack(), IsEmpty());
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelReceive, VolumeIsThatOfEveryKeyOfTheParty) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\nHARKCH 2 LABL:\"Ann\"\nHARKCH 90 LABL:\"Bob\"\n");
  Start();
  Report(kBobAddress, "VOLUME:\"-60\"");
  EXPECT_EQ(model->volumes[0], -60);
  EXPECT_EQ(model->volumes[1], 0);
  EXPECT_EQ(model->volumes[89], -60);
  Report(kBobAddress, "VOLUME:0");
  EXPECT_EQ(model->volumes[0], 0);
  EXPECT_EQ(model->volumes[89], 0);
}

TEST_F(ModelReceive, VolumeOfAPartyWithoutAKeyGoesNowhere) {
  Report(kZedAddress, "VOLUME:-60");
  ExpectNothingHappened();
}

TEST_F(ModelReceive, VolumeAndStateComeTogether) {
  Report(kBobAddress, "LISTEN:1 VOLUME:-60");
  EXPECT_EQ(model->volumes[0], -60);
  EXPECT_EQ(model->status_of("Bob"), 1);
  EXPECT_EQ(Dirty(), kDirtyFaders | kDirtyIndicators);
}

TEST_F(ModelReceive, VolumeReportIsNotTheVolumeThatAKeyAsksFor) {
  Report(kBobAddress, "VOLUME:-60");
  EXPECT_EQ(listenvol_get("Bob"), 0);
}

TEST_F(ModelReceive, PartyIsNamedByItsAddress) {
  Sources("Bob <hark:10.0.0.1>;trgl=4\nAnn <sip:ann@10.0.0.2>\nSrc <quillnet:239.192.0.7>;gpio=1\n");
  struct Row {
    const char* url;
    const char* label;
  };
  for (const Row& row : {Row{"hark:10.0.0.1;trgl=2;x=y", "Bob"},
                         {"<hark:10.0.0.1>", "Bob"},
                         {"quillnet:239.192.0.7", "Src"},
                         {"*Src <quillnet:239.192.0.7>", "Src"}}) {
    SCOPED_TRACE(row.url);
    model->connections.clear();
    Report(row.url, "LISTEN:1");
    EXPECT_EQ(model->status_of(row.label), 1);
  }
}

TEST_F(ModelReceive, UnknownStationIsLearned) {
  Indicate(R"(CALL URL:"\"New\" <hark:10.7.7.7>;trgl=3" TALK:1)");
  EXPECT_EQ(model->status_of("New"), 16);
  const harkresolvtable_entry* learned = harkresolvtable_lookup(harkd_dynamicsources, "New", kLocalDomain);
  ASSERT_NE(learned, nullptr);
  EXPECT_EQ(learned->url, "hark:10.7.7.7");
  EXPECT_EQ(learned->trgl, 3U);
  Report("hark:10.7.7.7", "TALK:0");
  EXPECT_EQ(model->status_of("New"), 0);
  model->SetAALabel("New");
  KeyDown("KLAA");
  EXPECT_THAT(Sent(), ElementsAre(Call("New <hark:10.7.7.7>;trgl=3", "LISTEN:1 VOLUME:0")));
}

TEST_F(ModelReceive, ReportMayEndInAnyWay) {
  for (const char* end : {"", "\n", "\r\n", "\r\n\r\n"}) {
    SCOPED_TRACE(end);
    model->connections.clear();
    model->harkd_receive((std::string("CALL URL:\"hark:10.0.0.1\" TALK:1 LISTEN:1 VOLUME:7") + end).c_str());
    EXPECT_EQ(model->status_of("Bob"), 17);
    EXPECT_EQ(model->volumes[0], 7);
  }
}

TEST_F(ModelReceive, VeryLongReportDoesNoHarm) {
  Report("hark:" + std::string(10'000, '1'), "TALK:1");
  ExpectNothingHappened();
  Report(std::string(10'000, '"') + "<hark:10.0.0.99>;label=" + std::string(10'000, 'x'), "TALK:1");
  Report(std::string(kBobAddress) + ";x=" + std::string(3000, 'y'), "LISTEN:1");
  EXPECT_EQ(model->status_of("Bob"), 1);
}

}  // namespace
}  // namespace hark
