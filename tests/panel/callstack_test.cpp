// The call stack: newest on top, one entry for each party, never more than its size.
#include "panel/callstack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> Labels(const Callstack& stack) {
  std::vector<std::string> out;
  for (const CallstackEntry& entry : stack.entries())
    out.emplace_back(entry.text());
  return out;
}

std::string Name(std::size_t i) { return "N" + std::to_string(i); }

Callstack Full() {
  Callstack stack;
  for (std::size_t i = 0; i < Callstack::kSize; ++i)
    stack.add(Name(i), static_cast<std::uint32_t>(i));
  return stack;
}

TEST(Callstack, IsEmptyAtFirst) {
  const Callstack stack;
  EXPECT_THAT(Labels(stack), IsEmpty());
  EXPECT_EQ(stack.combined_status(), 0);
  EXPECT_EQ(stack.find("Bob"), nullptr);
  EXPECT_EQ(stack.find(""), nullptr);
}

TEST(Callstack, NewestIsOnTop) {
  Callstack stack;
  stack.add("A", 1);
  stack.add("B", 2);
  stack.add("C", 4);
  EXPECT_THAT(Labels(stack), ElementsAre("C", "B", "A"));
}

TEST(Callstack, AddingAgainMovesUpAndKeepsOneEntry) {
  Callstack stack;
  stack.add("A", 1);
  stack.add("B", 2);
  stack.add("A", 16);
  EXPECT_THAT(Labels(stack), ElementsAre("A", "B"));
  EXPECT_EQ(stack.find("A")->status, 16U);
  EXPECT_EQ(stack.find("B")->status, 2U);
  stack.add("A", 0);
  EXPECT_THAT(Labels(stack), ElementsAre("A", "B"));
  EXPECT_EQ(stack.find("A")->status, 0U);
}

TEST(Callstack, EntriesBelowTheMovedOneStay) {
  Callstack stack;
  for (const char* label : {"A", "B", "C", "D"})
    stack.add(label, 0);
  stack.add("B", 0);
  EXPECT_THAT(Labels(stack), ElementsAre("B", "D", "C", "A"));
}

TEST(Callstack, FindsTheWholeLabelOnly) {
  Callstack stack;
  stack.add("Bob", 1);
  ASSERT_NE(stack.find("Bob"), nullptr);
  EXPECT_EQ(stack.find("Bob")->text(), "Bob");
  for (const char* other : {"bob", "Bo", "Bobb", ""}) {
    SCOPED_TRACE(other);
    EXPECT_EQ(stack.find(other), nullptr);
  }
}

// A longer label is looked for whole, and so never finds the entry that it was cut to.
TEST(Callstack, LabelOf11CharactersIsCutTo10AndListedTwice) {
  Callstack stack;
  stack.add("12345678901", 1);
  EXPECT_THAT(Labels(stack), ElementsAre("1234567890"));
  EXPECT_EQ(stack.find("12345678901"), nullptr);
  EXPECT_NE(stack.find("1234567890"), nullptr);
  stack.add("12345678901", 2);
  EXPECT_THAT(Labels(stack), ElementsAre("1234567890", "1234567890"));
  stack.add("1234567890", 4);
  EXPECT_THAT(Labels(stack), ElementsAre("1234567890", "1234567890"));
  EXPECT_EQ(stack.combined_status(), 5);
}

TEST(Callstack, FullStackLosesItsLowestEntry) {
  Callstack stack = Full();
  EXPECT_EQ(stack.entries().size(), Callstack::kSize);
  EXPECT_NE(stack.find("N0"), nullptr);
  stack.add("new", 1);
  EXPECT_EQ(stack.entries().size(), Callstack::kSize);
  EXPECT_EQ(stack.find("N0"), nullptr);
  EXPECT_EQ(stack.entries().front().text(), "new");
  EXPECT_EQ(stack.entries().back().text(), "N1");
}

TEST(Callstack, FullStackMovesAnEntryWithoutLosingOne) {
  for (const std::size_t moved : {std::size_t{0}, std::size_t{64}, Callstack::kSize - 1}) {
    SCOPED_TRACE(moved);
    Callstack stack = Full();
    stack.add(Name(moved), 0);
    EXPECT_EQ(stack.entries().size(), Callstack::kSize);
    EXPECT_EQ(stack.entries().front().text(), Name(moved));
    for (std::size_t i = 0; i < Callstack::kSize; ++i)
      EXPECT_NE(stack.find(Name(i)), nullptr) << i;
  }
}

TEST(Callstack, CombinedStatusIsTheLowBytesOrEd) {
  Callstack stack;
  stack.add("A", 1);
  EXPECT_EQ(stack.combined_status(), 1);
  stack.add("B", 0x1120);
  EXPECT_EQ(stack.combined_status(), 0x21);
  stack.add("A", 0);
  EXPECT_EQ(stack.combined_status(), 0x20);
  stack.add("C", 0xFFFFFF00U);
  EXPECT_EQ(stack.combined_status(), 0x20);
}

}  // namespace
}  // namespace hark
