// The two tables of lines: taking, finding and freeing one, and what the end of a line reports.
#include "callctl/line_table.h"

#include "callctl/call_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LineTable : public CallTest {};

TEST_F(LineTable, KindsHaveTheirTables) {
  EXPECT_EQ(line_table(kListenKind).data(), listen_lines.data());
  EXPECT_EQ(line_table(kListenKind).size(), 8u);
  EXPECT_EQ(line_table(kTalkKind).data(), talk_lines.data());
  EXPECT_EQ(line_table(kTalkKind).size(), 128u);
  for (const int kind : {0, 3, -1})
    EXPECT_TRUE(line_table(kind).empty());
}

TEST_F(LineTable, LineOfAKindOrNone) {
  EXPECT_EQ(getline(1, 0), &listen_lines[0]);
  EXPECT_EQ(getline(1, 7), &listen_lines[7]);
  EXPECT_EQ(getline(2, 127), &talk_lines[127]);
  struct Row {
    int kind;
    int i;
  };
  for (const Row& row : {Row{0, 0}, {3, 0}, {-1, 0}, {1, 8}, {1, -1}, {2, 128}, {2, -1}}) {
    SCOPED_TRACE(std::to_string(row.kind) + "/" + std::to_string(row.i));
    EXPECT_EQ(getline(row.kind, row.i), nullptr);
  }
}

TEST_F(LineTable, FirstFreeLineIsTakenAndBeginsAtRest) {
  Put(kListenKind, 0, kStation, kLineConnected);
  Put(kListenKind, 2, kSource, kLineConnected);
  HarkLine& stale = Line(kListenKind, 1);
  stale.gpio = stale.gpiol = stale.gpiot = 3;
  stale.gpioack = stale.drop_pending = true;
  stale.state = kLineConnected;
  stale.volume = stale.ifb_gain = -10;
  stale.qntb = 1;
  stale.ifb[0] = 'x';
  ASSERT_EQ(LineTableAlloc(listen_lines, kOtherStation, 2), 1);
  const HarkLine& line = Line(kListenKind, 1);
  EXPECT_EQ(line.url, kOtherStation);
  EXPECT_EQ(line.state, kLineFree);
  EXPECT_EQ(line.direction, 2);
  EXPECT_EQ(line.trgl, 3);
  EXPECT_EQ(line.trgl_compare, 3);
  EXPECT_EQ(line.gpio + line.gpiol + line.gpiot, 0);
  EXPECT_FALSE(line.gpioack || line.drop_pending);
  EXPECT_EQ(line.volume, 0);
  EXPECT_EQ(line.ifb_gain, 0);
  EXPECT_EQ(line.qntb, 0u);
  EXPECT_EQ(line.ifb[0], '\0');
  EXPECT_EQ(LineTableAlloc(listen_lines, "hark:10.0.0.9", 2), 3);
  EXPECT_EQ(LineTableAlloc(talk_lines, "hark:10.0.0.9", 1), 0);
  EXPECT_EQ(Line(kTalkKind, 0).direction, 1);
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(LineTable, FullTableGivesNoLine) {
  for (int i = 0; i < kListenLines; ++i) {
    EXPECT_EQ(LineTableAlloc(listen_lines, ("hark:10.0.1." + std::to_string(i)).c_str(), 2), i);
  }
  EXPECT_EQ(LineTableAlloc(listen_lines, kStation, 2), -1);
  for (int i = 0; i < kTalkLines; ++i) {
    EXPECT_EQ(LineTableAlloc(talk_lines, ("hark:10.0.2." + std::to_string(i)).c_str(), 1), i);
  }
  EXPECT_EQ(LineTableAlloc(talk_lines, kStation, 1), -1);
  LineTableFree(talk_lines, 77);
  EXPECT_EQ(LineTableAlloc(talk_lines, kStation, 1), 77);
}

TEST_F(LineTable, LineIsFoundByAddressAlone) {
  Put(kTalkKind, 4, "\"Studio\" <hark:10.0.0.5>;trgl=2", kLineConnected);
  Put(kTalkKind, 9, "hark:10.0.0.5", kLineConnected);
  Put(kTalkKind, 2, "hark:10.0.0.50", kLineFree);
  struct Row {
    const char* url;
    int found;
  };
  for (const Row& row : {Row{"hark:10.0.0.5", 4},
                         {"*hark:10.0.0.5", 4},
                         {"sip:hark-talk@10.0.0.5", 4},
                         {"hark:10.0.0.5;label=x", 4},
                         {"hark:10.0.0.50", 2},
                         {"hark:10.0.0", -1},
                         {"quillnet:10.0.0.5", -1},
                         {"hark:10.0.0.5:5062", -1}}) {
    SCOPED_TRACE(row.url);
    EXPECT_EQ(LineTableSearchURL(talk_lines, row.url), row.found);
    EXPECT_EQ(LineTableSearchURL(listen_lines, row.url), -1);
  }
}

TEST_F(LineTable, EndOfALineIsReportedOnItsOwnSide) {
  for (const char state :
       {kLineRequest, kLineSeized, kLineCalling, kLineFarRinging, kLineConnected, kLineFarDropped}) {
    SCOPED_TRACE(state);
    Put(kListenKind, 5, kStation, state);
    LineTableFree(listen_lines, 5);
    EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
    Put(kTalkKind, 5, kStation, state);
    LineTableFree(talk_lines, 5);
    EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 T:0"));
  }
}

TEST_F(LineTable, EndOfALineThatIsOffOrNeverBeganIsNotReported) {
  for (const char state : {kLineFree, kLineOff}) {
    Put(kListenKind, 0, kStation, state);
    Put(kTalkKind, 0, kStation, state);
    LineTableFree(listen_lines, 0);
    LineTableFree(talk_lines, 0);
    EXPECT_TRUE(listen_lines[0].url.empty() && talk_lines[0].url.empty());
  }
  LineTableFree(listen_lines, 0);
  Line(kListenKind, 0).state = kLineConnected;  // in use by nobody
  LineTableFree(listen_lines, 0);
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(LineTable, FreedLineIsAsNew) {
  HarkLine& line = Put(kListenKind, 0, kStation, kLineConnected);
  line.gpio = 2;
  line.volume = 7;
  line.drop_pending = true;
  LineTableFree(listen_lines, 0);
  EXPECT_TRUE(line.url.empty());
  EXPECT_EQ(line.state, kLineFree);
  EXPECT_EQ(line.gpio, 0);
  EXPECT_EQ(line.volume, 0);
  EXPECT_EQ(line.direction, 0);
  EXPECT_EQ(line.trgl, 0);
  EXPECT_FALSE(line.drop_pending);
}

TEST_F(LineTable, ReportCarriesTheWholeKey) {
  Put(kTalkKind, 0, "\"Studio\" <hark:10.0.0.5>;trgl=2", kLineConnected);
  LineTableFree(talk_lines, 0);
  EXPECT_THAT(Reports(), ElementsAre("\"Studio\" <hark:10.0.0.5>;trgl=2 T:0"));
}

TEST_F(LineTable, FreeingAllReportsEachLine) {
  Put(kListenKind, 0, kStation, kLineConnected);
  Put(kListenKind, 3, kOtherStation, kLineOff);
  Put(kListenKind, 7, kSource, kLineFarDropped);
  LineTableFreeAll(listen_lines);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0", "quillnet:239.192.0.7 L:0"));
  for (const HarkLine& line : listen_lines)
    EXPECT_TRUE(line.url.empty());
}

TEST_F(LineTable, InitialisingFreesWithoutReports) {
  Put(kListenKind, 7, kStation, kLineConnected);
  Put(kTalkKind, 127, kStation, kLineConnected);
  InitializeLineTable(listen_lines);
  InitializeLineTable(talk_lines);
  EXPECT_TRUE(listen_lines[7].url.empty() && talk_lines[127].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(LineTable, OnlyAFarDroppedListenLineIsReleased) {
  EXPECT_EQ(release_fardropped_listen(kStation), kNoReport);
  for (const char state :
       {kLineFree, kLineRequest, kLineSeized, kLineCalling, kLineFarRinging, kLineConnected, kLineOff}) {
    SCOPED_TRACE(state);
    Put(kListenKind, 1, kStation, state);
    EXPECT_EQ(release_fardropped_listen(kStation), kNoReport);
    EXPECT_EQ(listen_lines[1].url, kStation);
  }
  Put(kListenKind, 1, kStation, kLineFarDropped);
  EXPECT_EQ(release_fardropped_listen(kOtherStation), kNoReport);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_EQ(release_fardropped_listen(kStation), '0');
  EXPECT_TRUE(listen_lines[1].url.empty());
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
}

TEST_F(LineTable, ActiveLinesAreThoseInUseAndNotOff) {
  for (const char state :
       {kLineRequest, kLineSeized, kLineCalling, kLineFarRinging, kLineConnected, kLineFarDropped}) {
    EXPECT_TRUE(is_active(Put(kTalkKind, 0, kStation, state))) << state;
  }
  EXPECT_FALSE(is_active(Put(kTalkKind, 0, kStation, kLineFree)));
  EXPECT_FALSE(is_active(Put(kTalkKind, 0, kStation, kLineOff)));
  EXPECT_FALSE(is_active(Put(kTalkKind, 0, "", kLineConnected)));
}

// The letters are what panels and clients read.
TEST_F(LineTable, StateLettersAreFixed) {
  EXPECT_EQ(std::string({kLineRequest, kLineSeized, kLineCalling, kLineFarRinging, kLineConnected,
                         kLineFarDropped, kLineOff}),
            "RSCr1d0");
  EXPECT_EQ(kLineFree, '\0');
}

}  // namespace
}  // namespace hark
