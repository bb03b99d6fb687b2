// Listen volumes: kept by the first ten characters of a label, and a volume of 0 is no record.
#include "daemon/station/listenvol.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <random>
#include <string>

namespace hark {
namespace {

class ListenVolumes : public ::testing::Test {
 protected:
  ListenVolumes() { listenvol_cleanup(); }
  ~ListenVolumes() override { listenvol_cleanup(); }
};

TEST_F(ListenVolumes, UnknownNameHasVolumeZero) {
  EXPECT_EQ(listenvol_get("Studio A"), 0);
  EXPECT_EQ(listenvol_get(""), 0);
}

TEST_F(ListenVolumes, EachNameKeepsItsOwn) {
  listenvol_set("Studio A", -240);
  listenvol_set("Studio B", 60);
  EXPECT_EQ(listenvol_get("Studio A"), -240);
  EXPECT_EQ(listenvol_get("Studio B"), 60);
  EXPECT_EQ(listenvol_get("Studio C"), 0);
}

TEST_F(ListenVolumes, LastVolumeCounts) {
  listenvol_set("Studio A", -240);
  listenvol_set("Studio A", 10);
  EXPECT_EQ(listenvol_get("Studio A"), 10);
}

TEST_F(ListenVolumes, WholeRangeIsKept) {
  for (const short volume : {short{SHRT_MIN}, short{-1}, short{1}, short{SHRT_MAX}}) {
    listenvol_set("Studio A", volume);
    EXPECT_EQ(listenvol_get("Studio A"), volume);
  }
}

TEST_F(ListenVolumes, NamesDifferWithinTheirFirstTenCharacters) {
  listenvol_set("ABC", 1);
  listenvol_set("ABCD", 2);
  listenvol_set("abc", 3);
  listenvol_set("123456789A", 4);
  listenvol_set("123456789B", 5);
  EXPECT_EQ(listenvol_get("ABC"), 1);
  EXPECT_EQ(listenvol_get("ABCD"), 2);
  EXPECT_EQ(listenvol_get("abc"), 3);
  EXPECT_EQ(listenvol_get("123456789A"), 4);
  EXPECT_EQ(listenvol_get("123456789B"), 5);
  EXPECT_EQ(listenvol_get("AB"), 0);
}

TEST_F(ListenVolumes, CharactersBeyondTheTenthDoNotCount) {
  listenvol_set("1234567890", 7);
  EXPECT_EQ(listenvol_get("1234567890x"), 7);
  listenvol_set("1234567890yz", 8);
  EXPECT_EQ(listenvol_get("1234567890"), 8);
}

TEST_F(ListenVolumes, VolumeZeroForgetsTheName) {
  listenvol_set("Studio A", -240);
  listenvol_set("Studio A", 0);
  EXPECT_EQ(listenvol_get("Studio A"), 0);
  listenvol_set("Never set", 0);
  EXPECT_EQ(listenvol_get("Never set"), 0);
}

TEST_F(ListenVolumes, FreedRecordServesAnotherNameAndLeavesTheRest) {
  listenvol_set("A", 1);
  listenvol_set("B", 2);
  listenvol_set("C", 3);
  listenvol_set("B", 0);
  listenvol_set("D", 4);
  EXPECT_EQ(listenvol_get("A"), 1);
  EXPECT_EQ(listenvol_get("B"), 0);
  EXPECT_EQ(listenvol_get("C"), 3);
  EXPECT_EQ(listenvol_get("D"), 4);
  listenvol_set("B", 5);
  EXPECT_EQ(listenvol_get("B"), 5);
  EXPECT_EQ(listenvol_get("D"), 4);
}

TEST_F(ListenVolumes, CleanupForgetsAll) {
  listenvol_set("A", 1);
  listenvol_set("B", 2);
  listenvol_cleanup();
  EXPECT_EQ(listenvol_get("A"), 0);
  EXPECT_EQ(listenvol_get("B"), 0);
  listenvol_set("A", 3);
  EXPECT_EQ(listenvol_get("A"), 3);
}

TEST_F(ListenVolumes, BehavesAsAMapOverManySettings) {
  std::map<std::string, short> want;
  std::mt19937 random(21);  // the same cases on every run
  for (int i = 0; i < 5000; ++i) {
    const std::string name = "N" + std::to_string(random() % 20);
    const auto volume = static_cast<short>(random() % 5);
    listenvol_set(name.c_str(), volume);
    want[name] = volume;
    const std::string asked = "N" + std::to_string(random() % 20);
    ASSERT_EQ(listenvol_get(asked.c_str()), want[asked]) << "step " << i << ", " << asked;
  }
}

}  // namespace
}  // namespace hark
