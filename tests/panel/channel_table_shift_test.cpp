// The labels of the file's sections: which one is taken at start, how a section is renamed or added, and how
// a label that is there already is made another.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "channel_file.h"

namespace hark {
namespace {

class ChannelShift : public ChannelFile {
 protected:
  // A file of these sections, key 1 of each naming its place.
  void Sections(const Texts& labels) {
    std::string text;
    for (std::size_t i = 0; i < labels.size(); ++i)
      text += "SHIFT LABL:\"" + labels[i] + "\"\nHARKCH 1 LABL:\"s" + std::to_string(i) + "\"\n\n";
    File(text);
  }
};

TEST_F(ChannelShift, DefaultIsTheFirstLabelOfTheFile) {
  struct Row {
    const char* text;
    const char* want;
  };
  for (const Row& row :
       {Row{"SHIFT LABL:\"A\"\nSHIFT LABL:\"B\"\n", "A"}, Row{"# x\nHARKCH 1 LABL:x\nSHIFT LABL:B\r\n", "B"},
        Row{"SHIFT FROM:6 LABL:\"Late shift\"", "Late shift"},
        Row{"SHIFT LABL:\"Overnights, long\"\n", "Overnights"}, Row{"SHIFT FROM:6\nSHIFT LABL:A\n", "A"},
        Row{"SHIFT\nSHIFT LABL:A\n", "A"}, Row{"SHIFT LABL:\"a\\\"b\"\n", "a\"b"},
        Row{" SHIFT LABL:A\nshift LABL:B\nSHIFT LABL:C\n", "C"},
        // And files whose default is the empty label.
        Row{"SHIFT LABL:\"\"\nSHIFT LABL:A\n", ""}, Row{"SHIFT LABL:\nSHIFT LABL:A\n", ""},
        Row{"SHIFT FROM:6\n", ""}, Row{"HARKCH 1 LABL:A\n", ""}, Row{"", ""}}) {
    SCOPED_TRACE(row.text);
    File(row.text);
    EXPECT_STREQ(GetDefaultShift(path()).data(), row.want);
  }
}

TEST_F(ChannelShift, WithoutAFileTheDefaultIsTheEmptyLabelAndNoneIsListed) {
  EXPECT_STREQ(GetDefaultShift(path()).data(), "");
  EXPECT_EQ(Shifts(), Texts{});
}

TEST_F(ChannelShift, LabelsAreListedInTheOrderOfTheFile) {
  File(
      "HARKCH 1 LABL:x\nSHIFT LABL:\"B\"\nSHIFT FROM:6\nSHIFT LABL:A\r\nSHIFT\nshift LABL:C\n SHIFT LABL:D\n"
      "SHIFT LABL:\"Overnights, long\"\nSHIFT LABL:\"B\"\nSHIFT LABL:\"a\\\\b\"");
  EXPECT_EQ(Shifts(), (Texts{"B", "A", "Overnights", "B", "a\\b"}));
}

TEST_F(ChannelShift, NewSectionWhoseLabelIsThereGetsANumber) {
  struct Row {
    Texts before;
    const char* newshift;
    const char* want;
  };
  for (const Row& row :
       {Row{{}, "A", "A"}, Row{{"B"}, "A", "A"}, Row{{"A"}, "A", "A (1)"}, Row{{"A", "A (1)"}, "A", "A (2)"},
        Row{{"A", "A (2)"}, "A", "A (1)"}, Row{{"A (1)"}, "A", "A"}, Row{{"a"}, "A", "A"},
        Row{{"AB"}, "A", "A"}, Row{{"Sunday"}, "Sunday", "Sunday (1)"},
        Row{{"Morning"}, "Morning", "Mornin (1)"}, Row{{"Overnights"}, "Overnights", "Overni (1)"},
        Row{{"Overnights", "Overni (1)"}, "Overnights", "Overni (2)"},
        Row{{"Overnights"}, "Overnights, long", "Overni (1)"}, Row{{}, "Overnights, long", "Overnights"},
        Row{{"Overnights, other"}, "Overnights", "Overni (1)"}}) {
    SCOPED_TRACE(::testing::PrintToString(row.before) + " " + row.newshift);
    Sections(row.before);
    const std::string before = File();
    EXPECT_EQ(Save(nullptr, row.newshift, Table("new")), 0);
    EXPECT_EQ(File(), before + "SHIFT LABL:\"" + row.want + "\"\nHARKCH 1 LABL:\"new\"\n\n");
  }
}

TEST_F(ChannelShift, NullShiftOfALabelThatIsThereBecomesAOne) {
  Sections({"A"});
  EXPECT_EQ(Save(nullptr, "A", Table("new")), 0);
  EXPECT_EQ(Shifts(), (Texts{"A", "A (1)"}));
  EXPECT_EQ(Load("A"), "1 's0' - 0\n");
  EXPECT_EQ(Load("A (1)"), "1 'new' - 0\n");
}

TEST_F(ChannelShift, WiderNumberTakesMoreOfTheLabel) {
  Texts labels{"Overnights"};
  for (int k = 1; k < 10; ++k)
    labels.push_back("Overni (" + std::to_string(k) + ")");
  Sections(labels);
  EXPECT_EQ(Save(nullptr, "Overnights", Table("new")), 0);
  EXPECT_EQ(Shifts().back(), "Overn (10)");
  for (int k = 10; k < 100; ++k)
    labels.push_back("Overn (" + std::to_string(k) + ")");
  Sections(labels);
  EXPECT_EQ(Save(nullptr, "Overnights", Table("new")), 0);
  EXPECT_EQ(Shifts().back(), "Over (100)");
}

TEST_F(ChannelShift, SearchForANumberEndsBelowAThousand) {
  Texts labels{"A"};
  for (int k = 1; k < 999; ++k)
    labels.push_back("A (" + std::to_string(k) + ")");
  Sections(labels);
  EXPECT_EQ(Save(nullptr, "A", Table("last")), 0);
  labels.emplace_back("A (999)");
  EXPECT_EQ(Shifts(), labels);
  EXPECT_EQ(Save(nullptr, "A", Table("beyond")), 0);
  labels.emplace_back("A (999)");
  EXPECT_EQ(Shifts(), labels);
  EXPECT_EQ(Load("A"), "1 's0' - 0\n");
}

TEST_F(ChannelShift, NewSectionWithoutALabelIsTheEmptyOne) {
  File("SHIFT LABL:A\nHARKCH 1 LABL:a1\n");
  EXPECT_EQ(Save(nullptr, nullptr, Table("new")), 0);
  EXPECT_EQ(File(), "SHIFT LABL:A\nHARKCH 1 LABL:a1\nSHIFT LABL:\"\"\nHARKCH 1 LABL:\"new\"\n\n");
  EXPECT_EQ(Save(nullptr, "", Table("next")), 0);
  EXPECT_EQ(Shifts().size(), 3u);
  EXPECT_EQ(Shifts().back(), " (1)");
}

TEST_F(ChannelShift, SectionIsRenamedInItsPlace) {
  struct Row {
    const char* shift;
    const char* newshift;
    Texts want;
  };
  for (const Row& row :
       {Row{"B", "X", {"A", "X", "C"}}, Row{"B", "B", {"A", "B", "C"}}, Row{"B", nullptr, {"A", "B", "C"}},
        Row{"B", "", {"A", "B", "C"}}, Row{"B", "A", {"A", "A (1)", "C"}}, Row{"B", "C", {"A", "C (1)", "C"}},
        Row{"B", "Overnights, long", {"A", "Overnights", "C"}},
        // A section that is not there is added.
        Row{"D", nullptr, {"A", "B", "C", "D"}}, Row{"D", "X", {"A", "B", "C", "X"}},
        Row{"D", "A", {"A", "B", "C", "A (1)"}}, Row{"", "X", {"A", "B", "C", "X"}}}) {
    SCOPED_TRACE(std::string(row.shift) + " > " + (row.newshift ? row.newshift : "null"));
    Sections({"A", "B", "C"});
    EXPECT_EQ(Save(row.shift, row.newshift, Table("new")), 0);
    EXPECT_EQ(Shifts(), row.want);
    EXPECT_EQ(Load("A"), "1 's0' - 0\n");
    const auto changed = std::find_if(row.want.begin(), row.want.end(), [this](const std::string& shift) {
      return Load(shift.c_str()) == "1 'new' - 0\n";
    });
    EXPECT_NE(changed, row.want.end());
  }
}

TEST_F(ChannelShift, RenamingInAFileThatIsNotThereIsTheFirstSave) {
  EXPECT_EQ(Save("A", "X", Table("new")), 0);
  EXPECT_EQ(Shifts(), Texts{"X"});
}

}  // namespace
}  // namespace hark
