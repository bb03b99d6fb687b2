// Merging a stored tag list with changes: what is replaced, what is added, what is refused, and in which
// order the result stands.
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "daemon/qnrlib/tagtext.h"

namespace hark {
namespace {

constexpr std::array<const char*, 3> kValid{"NAME", "CMAP", nullptr};

struct Row {
  const char* old;
  const char* changes;
  const char* want;
};

void Check(const Row& row, const char* const* valid) {
  SCOPED_TRACE(std::string(row.old != nullptr ? row.old : "(null)") + " / " +
               (row.changes != nullptr ? row.changes : "(null)"));
  EXPECT_EQ(qnr_alter_str(row.old, row.changes, valid), row.want);
}

TEST(QnrAlterStr, ChangedTagTakesThePlaceOfTheOldOne) {
  for (const Row& row : {Row{R"(NAME:"Main" CMAP:08)", R"(NAME:"X")", R"(NAME:"X" CMAP:08)"},
                         Row{R"(NAME:"Main" CMAP:08)", "CMAP:1", R"(NAME:"Main" CMAP:1)"},
                         Row{R"(NAME:"Main" CMAP:08)", R"(CMAP:1 NAME:"X")", R"(NAME:"X" CMAP:1)"},
                         Row{"NAME:a", "name=b", "name=b"}, Row{"A:1,B:2,  C:3", "B:9", "A:1 B:9 C:3"},
                         Row{"A:1", "A:2 A:3", "A:2"}, Row{R"(A:"x y" B:1)", "B:2", R"(A:"x y" B:2)"},
                         Row{"A:1 B:2", R"(A:"p, q")", R"(A:"p, q" B:2)"}}) {
    Check(row, nullptr);
  }
}

TEST(QnrAlterStr, NewTagIsAddedBehindTheOldOnes) {
  for (const Row& row :
       {Row{"A:1", "B:2", "A:1 B:2"}, Row{"A:1", "C:3,B:2", "A:1 C:3 B:2"}, Row{nullptr, "B:2", "B:2"},
        Row{nullptr, "B:2,,C:3", "B:2 C:3"}, Row{"", "B:2", "B:2"}, Row{nullptr, "B:1 B:2", "B:1"},
        Row{"AB:1", "A:2", "AB:1 A:2"}, Row{"A:1", "AB:2", "A:1 AB:2"}}) {
    Check(row, nullptr);
  }
}

// A tag without a value was once not found again, and was added anew by each change.
TEST(QnrAlterStr, TagWithoutAValueIsOneTag) {
  Check({"FOO", "FOO", "FOO"}, nullptr);
  Check({"A:1 NAME", "NAME", "A:1 NAME"}, kValid.data());
  Check({"", "NAME", "NAME"}, kValid.data());
}

TEST(QnrAlterStr, SeparatorsInFrontAreNothing) {
  Check({" A:1", "B:2", "A:1 B:2"}, nullptr);
  Check({nullptr, " ,A:1", "A:1"}, nullptr);
}

TEST(QnrAlterStr, NewTagMustBeAValidOne) {
  for (const Row& row :
       {Row{R"(NAME:"Main" CMAP:08)", R"(NAME:"X" FOO:1)", R"(NAME:"X" CMAP:08)"},
        Row{nullptr, "FOO:1 CMAP:2", "CMAP:2"}, Row{nullptr, "cmap:2", "cmap:2"}, Row{nullptr, "NAMEX:2", ""},
        Row{nullptr, "NAM:2", ""}, Row{"NAME:1", "FOO:1", "NAME:1"}}) {
    Check(row, kValid.data());
  }
}

TEST(QnrAlterStr, OldTagsStayAndChangeWithoutBeingValid) {
  for (const Row& row : {Row{"FOO:1", "NAME:2", "FOO:1 NAME:2"}, Row{"FOO:1 NAME:2", "FOO:9", "FOO:9 NAME:2"},
                         Row{"FOO:1", nullptr, "FOO:1"}}) {
    Check(row, kValid.data());
  }
}

TEST(QnrAlterStr, NoValidNamesAtAllAllowNothingNew) {
  const std::array<const char*, 1> none{nullptr};
  Check(Row{"A:1", "A:2 B:3", "A:2"}, none.data());
}

TEST(QnrAlterStr, WithoutChangesTheOldListStaysWhole) {
  for (const Row& row : {Row{R"(NAME:"Main" CMAP:08)", nullptr, R"(NAME:"Main" CMAP:08)"},
                         Row{"A:1,B:2", nullptr, "A:1,B:2"}, Row{"A:1", "", "A:1"}, Row{"", nullptr, ""},
                         Row{nullptr, nullptr, ""}, Row{nullptr, "", ""}, Row{"", "", ""}}) {
    Check(row, nullptr);
  }
}

TEST(QnrAlterStr, OpenQuoteIsClosed) {
  for (const Row& row : {Row{R"(NAME:"Main)", "CMAP:1", R"(NAME:"Main" CMAP:1)"},
                         Row{"NAME:x", R"(NAME:"open B:1)", R"(NAME:"open B:1")"}}) {
    Check(row, nullptr);
  }
}

TEST(QnrAlterStr, WordWithoutAValueStays) {
  Check(Row{"FOO A:1", "A:2", "FOO A:2"}, nullptr);
  Check(Row{"A:1 FOO", "A:2", "A:2 FOO"}, nullptr);
}

// A random list of tags, each with a value that is plain or quoted.
std::string RandomList(std::mt19937& random) {
  static constexpr std::array<const char*, 5> kNames{"NAME", "CMAP", "FOO", "na", "X"};
  static constexpr std::array<const char*, 6> kValues{"1", "\"a b\"", "\"q\\\"q\"", "08", "\"\"", "x\\ y"};
  static constexpr std::array<const char*, 3> kGaps{" ", ",", " , "};
  std::string list;
  for (unsigned n = random() % 6; n > 0; --n) {
    list += kNames[random() % kNames.size()];
    list += random() % 2 == 0 ? ":" : "=";
    list += kValues[random() % kValues.size()];
    if (n > 1) list += kGaps[random() % kGaps.size()];
  }
  return list;
}

TEST(QnrAlterStr, MakingTheSameChangeAgainChangesNothing) {
  std::mt19937 random(20240501);  // the same cases on every run
  for (int i = 0; i < 5000; ++i) {
    const std::string old = RandomList(random);
    const std::string changes = RandomList(random);
    const char* const* valid = random() % 2 == 0 ? kValid.data() : nullptr;
    const std::string once = qnr_alter_str(old.c_str(), changes.c_str(), valid);
    ASSERT_EQ(qnr_alter_str(once.c_str(), changes.c_str(), valid), once) << old << " / " << changes;
  }
}

TEST(QnrAlterStr, ChangedValueWinsOverTheOldOneForEveryTag) {
  std::mt19937 random(7);
  for (int i = 0; i < 5000; ++i) {
    const std::string old = RandomList(random);
    const std::string changes = RandomList(random);
    const std::string merged = qnr_alter_str(old.c_str(), changes.c_str(), nullptr);
    for (const char* name : {"NAME", "CMAP", "FOO", "na", "X"}) {
      const char* wanted = qnr_findval(changes.c_str(), name);
      if (wanted == nullptr) wanted = qnr_findval(old.c_str(), name);
      std::array<char, 32> want{};
      std::array<char, 32> got{};
      const char* found = qnr_findval(merged.c_str(), name);
      ASSERT_EQ(found == nullptr, wanted == nullptr) << old << " / " << changes << " / " << name;
      qnr_copyval(want.data(), wanted, want.size());
      qnr_copyval(got.data(), found, got.size());
      ASSERT_STREQ(got.data(), want.data()) << old << " / " << changes << " / " << name;
    }
  }
}

}  // namespace
}  // namespace hark
