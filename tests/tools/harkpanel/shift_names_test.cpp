// The shifts that a page offers: from the channel file, from the station, from what was asked for.
#include "tools/harkpanel/shift_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::panel_gateway {
namespace {

using test::TempFolder;
using test::write_file;
using testing::ElementsAre;
using testing::IsEmpty;

class ShiftNamesTest : public testing::Test {
 protected:
  // As careful programs do it: the new file takes the place of the old one.
  void Replace(const std::string& text) const {
    write_file(path + ".new", text);
    std::filesystem::rename(path + ".new", path);
  }

  TempFolder folder;
  const std::string path = folder.file("harkch.conf");
};

TEST_F(ShiftNamesTest, WithoutAFileThereAreNone) {
  ShiftNames shifts;
  EXPECT_FALSE(shifts.look());
  EXPECT_THAT(shifts.names(), IsEmpty());
  EXPECT_EQ(shifts.chosen(), "");
  ShiftNames absent(path);
  EXPECT_FALSE(absent.look());
  EXPECT_THAT(absent.names(), IsEmpty());
}

TEST_F(ShiftNamesTest, FileGivesItsSectionsInItsOrder) {
  write_file(path,
             "HARKCH 1 LABL:\"No shift\"\n"
             "SHIFT LABL:\"Morning\"\nHARKCH 1 LABL:\"Ext 1\"\nHARKGR 1 LABL:\"Ext 1\"\n\n"
             "# SHIFT LABL:\"Remark\"\n"
             "SHIFT LABL:\"Evening\"\nHARKCH 1 LABL:\"News\"\nSHIFT\n");
  ShiftNames shifts(path);
  EXPECT_TRUE(shifts.look());
  EXPECT_THAT(shifts.names(), ElementsAre("Morning", "Evening"));
  EXPECT_FALSE(shifts.look()) << "it has not changed";
}

TEST_F(ShiftNamesTest, ChangeOfTheFileIsSeenAtTheNextLook) {
  write_file(path, "SHIFT LABL:\"Morning\"\n");
  ShiftNames shifts(path);
  EXPECT_TRUE(shifts.look());
  // The same size, and perhaps the same second.
  Replace("SHIFT LABL:\"Evening\"\n");
  EXPECT_TRUE(shifts.look());
  EXPECT_THAT(shifts.names(), ElementsAre("Evening"));
  Replace("SHIFT LABL:\"Evening\"\nHARKCH 1 LABL:\"News\"\n");
  EXPECT_FALSE(shifts.look()) << "another file with the same names";
  Replace("");
  EXPECT_TRUE(shifts.look());
  EXPECT_THAT(shifts.names(), IsEmpty());
}

TEST_F(ShiftNamesTest, FileThatAppearsLaterIsRead) {
  ShiftNames shifts(path);
  EXPECT_FALSE(shifts.look());
  Replace("SHIFT LABL:\"Night\"\n");
  EXPECT_TRUE(shifts.look());
  EXPECT_THAT(shifts.names(), ElementsAre("Night"));
}

TEST_F(ShiftNamesTest, FileFullOfGarbageHarmsNobody) {
  std::string many;
  for (int number = 0; number < 5000; ++number)
    many += "SHIFT LABL:\"S" + std::to_string(number) + "\"\n";
  for (const std::string& text :
       {std::string(100'000, '\xFF'), std::string(100'000, '\0'), "SHIFT LABL:\"" + std::string(100'000, 'x'),
        std::string("SHIFT LABL:\"<b>&\"\nSHIFT LABL:\"\xFF\xFE\"\n"), many}) {
    SCOPED_TRACE(text.substr(0, 20));
    Replace(text);
    ShiftNames shifts(path);
    (void)shifts.look();
    EXPECT_LE(shifts.names().size(), kMostShifts);
    for (const std::string& name : shifts.names())
      EXPECT_LE(name.size(), 10U);
  }
}

TEST_F(ShiftNamesTest, NamesOfTheFileGoAheadOfThoseToldAndOfThoseAskedFor) {
  write_file(path, "SHIFT LABL:\"Morning\"\nSHIFT LABL:\"Evening\"\n");
  ShiftNames shifts(path);
  EXPECT_TRUE(shifts.look());
  EXPECT_TRUE(shifts.choose("Asked"));
  EXPECT_TRUE(shifts.add_told("Told"));
  EXPECT_THAT(shifts.names(), ElementsAre("Morning", "Evening", "Told", "Asked"));
}

TEST_F(ShiftNamesTest, NoNameIsThereTwice) {
  write_file(path, "SHIFT LABL:\"Morning\"\nSHIFT LABL:\"Morning\"\nSHIFT LABL:\"Evening\"\n");
  ShiftNames shifts(path);
  EXPECT_TRUE(shifts.look());
  EXPECT_FALSE(shifts.add_told("Evening"));
  EXPECT_THAT(shifts.names(), ElementsAre("Morning", "Evening"));
  EXPECT_TRUE(shifts.add_told("Night"));
  EXPECT_FALSE(shifts.add_told("Night"));
  (void)shifts.choose("Night");
  (void)shifts.choose("Morning");
  EXPECT_THAT(shifts.names(), ElementsAre("Morning", "Evening", "Night"));
  EXPECT_TRUE(shifts.add_told("night")) << "case counts";
}

TEST_F(ShiftNamesTest, ListOfTheStationBeginsAnew) {
  ShiftNames shifts;
  EXPECT_FALSE(shifts.clear_told()) << "there is nothing to clear";
  EXPECT_TRUE(shifts.add_told("One"));
  EXPECT_TRUE(shifts.add_told("Two"));
  EXPECT_TRUE(shifts.clear_told());
  EXPECT_THAT(shifts.names(), IsEmpty());
  EXPECT_TRUE(shifts.add_told("Two"));
  EXPECT_THAT(shifts.names(), ElementsAre("Two"));
}

TEST_F(ShiftNamesTest, ChoiceIsKnownUntilTheStationBeginsAnew) {
  ShiftNames shifts;
  EXPECT_TRUE(shifts.choose("Evening"));
  EXPECT_EQ(shifts.chosen(), "Evening");
  EXPECT_FALSE(shifts.choose("Evening")) << "nothing is new";
  EXPECT_TRUE(shifts.choose("Night"));
  EXPECT_EQ(shifts.chosen(), "Night");
  EXPECT_TRUE(shifts.forget_choice());
  EXPECT_EQ(shifts.chosen(), "");
  EXPECT_FALSE(shifts.forget_choice());
  EXPECT_THAT(shifts.names(), ElementsAre("Evening", "Night")) << "they can be chosen again";
}

TEST_F(ShiftNamesTest, NumberOfNamesIsLimited) {
  ShiftNames shifts;
  for (int number = 0; number < 1000; ++number) {
    (void)shifts.add_told("T" + std::to_string(number));
    (void)shifts.choose("A" + std::to_string(number));
  }
  EXPECT_LE(shifts.names().size(), kMostShifts);
  EXPECT_EQ(shifts.chosen(), "A999") << "whatever can be listed";
}

}  // namespace
}  // namespace hark::panel_gateway
