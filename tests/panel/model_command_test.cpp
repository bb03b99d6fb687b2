// The text of the model's commands to the daemon.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

class ModelCommand : public ModelTest {};

TEST_F(ModelCommand, HasTheFieldsThatAreMeant) {
  struct Row {
    unsigned which, value;
    int volume;
    const char* fields;
  };
  for (const Row& row : {Row{16, 16, 5, " TALK:1"},
                         {16, 0, 5, " TALK:0"},
                         {16, 1 | 2, 5, " TALK:0"},
                         {1, 1, 5, " LISTEN:1"},
                         {1, 0, 5, " LISTEN:0"},
                         {1, 16, 5, " LISTEN:0"},
                         {2, 0, -120, " VOLUME:-120"},
                         {2, 0, 0, " VOLUME:0"},
                         {3, 1, 30, " LISTEN:1 VOLUME:30"},
                         {17, 0, 5, " TALK:0 LISTEN:0"},
                         {17, 17, 5, " TALK:1 LISTEN:1"},
                         {17, 16, 5, " TALK:1 LISTEN:0"},
                         {18, 16, -1000, " TALK:1 VOLUME:-1000"},
                         {19, 17, -5, " TALK:1 LISTEN:1 VOLUME:-5"},
                         {19, 1, 5, " TALK:0 LISTEN:1 VOLUME:5"},
                         {0, 17, 5, ""},
                         {4 | 8 | 32, 17, 5, ""}}) {
    SCOPED_TRACE(row.fields);
    SCOPED_TRACE(row.which);
    EXPECT_NE(model->harkd_call("hark:10.0.0.1", row.which, row.value, row.volume), 0);
    EXPECT_THAT(Sent(), ElementsAre(std::string("CALL URL:\"hark:10.0.0.1\"") + row.fields + "\n"));
  }
}

TEST_F(ModelCommand, EscapesTheUrl) {
  EXPECT_NE(model->harkd_call("\"B\\b\" <hark:10.0.0.1>", kCallTalk, kCallTalk, 0), 0);
  EXPECT_THAT(Sent(), ElementsAre("CALL URL:\"\\\"B\\\\b\\\" <hark:10.0.0.1>\" TALK:1\n"));
}

TEST_F(ModelCommand, CutsAnEndlessUrl) {
  EXPECT_NE(model->harkd_call(std::string(5000, 'a').c_str(), 19, 17, -1000), 0);
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_LE(sent[0].size(), 2000U);
  EXPECT_THAT(sent[0], StartsWith("CALL URL:\"" + std::string(1900, 'a')));
  EXPECT_THAT(sent[0], EndsWith("a\" TALK:1 LISTEN:1 VOLUME:-1000\n"));
}

TEST_F(ModelCommand, GivesBackWhatTheReceiverSaid) {
  for (const int result : {1, 0, -1, 42}) {
    SCOPED_TRACE(result);
    send_result = result;
    EXPECT_EQ(model->harkd_call("hark:10.0.0.1", kCallTalk, 0, 0), result);
    EXPECT_EQ(model->harkd_sendf("IO %s:%d\n", "HDPV", 5), result);
  }
}

TEST_F(ModelCommand, FormatsALine) {
  model->harkd_sendf("IO %s:%d\n", "HDPV", -12);
  model->harkd_sendf("100%%\n");
  EXPECT_THAT(Sent(), ElementsAre("IO HDPV:-12\n", "100%\n"));
}

TEST_F(ModelCommand, CutsALongLineAt2000Characters) {
  model->harkd_sendf("%s", std::string(1999, 'x').c_str());
  model->harkd_sendf("%s", std::string(2000, 'x').c_str());
  model->harkd_sendf("%s", std::string(5000, 'x').c_str());
  EXPECT_THAT(Sent(), ElementsAre(std::string(1999, 'x'), std::string(2000, 'x'), std::string(2000, 'x')));
}

TEST_F(ModelCommand, NobodyMindsThatTheReceiverRefuses) {
  send_result = 0;
  KeyDown("KX01");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kBob, "TALK:1 LISTEN:1 VOLUME:0")));
  EXPECT_EQ(model->held_key, sig("KL01"));
}

}  // namespace
}  // namespace hark
