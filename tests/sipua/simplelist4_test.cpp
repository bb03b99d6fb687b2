// The list: its order and its count through all that changes it, walks over it, and the nodes that it shares
// with others.
#include "sipua/SimpleList4.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace hark {
namespace {

using ListNode = SimpleList4::ListNode;

class SimpleList4Test : public ::testing::Test {
 protected:
  // A letter's own address stands for it; a dot for a null pointer.
  [[nodiscard]] void* Data(char letter) {
    return letter == '.' ? nullptr : &letters_[static_cast<unsigned char>(letter)];
  }
  void Fill(SimpleList4& list, const std::string& letters) {
    for (const char letter : letters)
      (void)list.AddTail(Data(letter));
  }
  // The entries in order. Also checks that the count and the tail are theirs.
  [[nodiscard]] std::string Text(SimpleList4& list) {
    std::string text;
    for (auto at = list.GetIterator(); !at.End(); ++at)
      text += Letter(at.GetRef());
    EXPECT_EQ(list.Count(), text.size());
    EXPECT_EQ(list.AddTail(Data('$')), text.size() + 1);
    auto last = list.GetIterator();
    for (std::size_t i = 0; i < text.size(); ++i)
      ++last;
    EXPECT_EQ(last.GetRef(), Data('$')) << "the tail isn't the last of " << text;
    EXPECT_EQ(list.RemoveNode(last.m_pNode), 1);
    return text;
  }
  [[nodiscard]] char Letter(const void* data) const {
    return data == nullptr ? '.' : static_cast<char>(static_cast<const char*>(data) - letters_.data());
  }
  // The node of the entry at `index`.
  static ListNode* NodeAt(SimpleList4& list, int index) {
    auto at = list.GetIterator();
    while (index-- > 0)
      ++at;
    return at.m_pNode;
  }

  SimpleList4::Allocator pool_;
  SimpleList4 list_{pool_};

 private:
  std::array<char, 256> letters_{};
};

TEST_F(SimpleList4Test, AddingReturnsTheNewCount) {
  EXPECT_EQ(list_.AddTail(Data('b')), 1U);
  EXPECT_EQ(list_.AddHead(Data('a')), 2U);
  EXPECT_EQ(list_.AddTail(Data('c')), 3U);
  EXPECT_EQ(Text(list_), "abc");
}

TEST_F(SimpleList4Test, FirstAddedAtTheHeadIsTheTailToo) {
  EXPECT_EQ(list_.AddHead(Data('a')), 1U);
  EXPECT_EQ(list_.AddTail(Data('b')), 2U);
  EXPECT_EQ(Text(list_), "ab");
}

TEST_F(SimpleList4Test, HeadsComeOutInOrderAndThenNull) {
  Fill(list_, "abc");
  for (const char letter : {'a', 'b', 'c'})
    EXPECT_EQ(list_.RemoveHead(), Data(letter)) << letter;
  EXPECT_EQ(list_.RemoveHead(), nullptr);
  EXPECT_EQ(Text(list_), "");
}

TEST_F(SimpleList4Test, CountStaysAtZeroWhenAnEmptyListIsEmptiedOn) {
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(list_.RemoveHead(), nullptr);
  list_.RemoveAll();
  EXPECT_EQ(list_.Count(), 0U);
  EXPECT_EQ(list_.AddTail(Data('a')), 1U);
}

TEST_F(SimpleList4Test, RemoveAllStopsAtAStoredNull) {
  const struct {
    const char* before;
    const char* after;
  } rows[] = {{"abc", ""}, {"", ""},    {"ab.cd", "cd"}, {".ab", "ab"},
              {"ab.", ""}, {"..", "."}, {"a..b", ".b"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.before);
    SimpleList4 list(pool_);
    Fill(list, row.before);
    list.RemoveAll();
    EXPECT_EQ(Text(list), row.after);
  }
}

TEST_F(SimpleList4Test, ExchHeadSwapsTheFirstTwo) {
  const struct {
    const char* before;
    const char* after;
    int result;
  } rows[] = {{"", "", 0},         {"a", "a", 0},   {"ab", "ba", 1},   {"abc", "bac", 1},
              {"abcd", "bacd", 1}, {".b", "b.", 1}, {"a.c", ".ac", 1}, {"aab", "aab", 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.before);
    SimpleList4 list(pool_);
    Fill(list, row.before);
    EXPECT_EQ(list.ExchHead(), row.result);
    EXPECT_EQ(Text(list), row.after);
  }
}

TEST_F(SimpleList4Test, ExchTailSwapsTheLastTwo) {
  const struct {
    const char* before;
    const char* after;
    int result;
  } rows[] = {{"", "", 0},         {"a", "a", 0},   {"ab", "ba", 1},   {"abc", "acb", 1},
              {"abcd", "abdc", 1}, {"a.", ".a", 1}, {"a.c", "ac.", 1}, {"abb", "abb", 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.before);
    SimpleList4 list(pool_);
    Fill(list, row.before);
    EXPECT_EQ(list.ExchTail(), row.result);
    EXPECT_EQ(Text(list), row.after);
  }
}

TEST_F(SimpleList4Test, RemoveTakesTheFirstMatch) {
  const struct {
    const char* before;
    char data;
    const char* after;
    int result;
  } rows[] = {{"abc", 'a', "bc", 1},   {"abc", 'b', "ac", 1},   {"abc", 'c', "ab", 1},  {"a", 'a', "", 1},
              {"abcb", 'b', "acb", 1}, {"a.b.", '.', "ab.", 1}, {"abc", 'x', "abc", 0}, {"", 'a', "", 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.before) + " without " + row.data);
    SimpleList4 list(pool_);
    Fill(list, row.before);
    EXPECT_EQ(list.Remove(Data(row.data)), row.result);
    EXPECT_EQ(Text(list), row.after);
  }
}

TEST_F(SimpleList4Test, ReplaceChangesTheFirstMatchInItsPlace) {
  const struct {
    const char* before;
    char data;
    const char* after;
    int result;
  } rows[] = {{"abc", 'a', "zbc", 1}, {"abc", 'c', "abz", 1}, {"abab", 'b', "azab", 1},
              {"a.", '.', "az", 1},   {"abc", 'x', "abc", 0}, {"", 'a', "", 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.before) + " without " + row.data);
    SimpleList4 list(pool_);
    Fill(list, row.before);
    EXPECT_EQ(list.Replace(Data(row.data), Data('z')), row.result);
    EXPECT_EQ(Text(list), row.after);
  }
}

TEST_F(SimpleList4Test, ExistsSaysWhatIsThere) {
  EXPECT_FALSE(list_.Exists(Data('a')));
  EXPECT_FALSE(list_.Exists(nullptr));
  Fill(list_, "ab.");
  for (const char letter : {'a', 'b', '.'})
    EXPECT_TRUE(list_.Exists(Data(letter))) << letter;
  EXPECT_FALSE(list_.Exists(Data('c')));
}

TEST_F(SimpleList4Test, RemoveNodeTakesThatNodeAndNotItsEqual) {
  Fill(list_, "abab");
  EXPECT_EQ(list_.RemoveNode(NodeAt(list_, 2)), 1);
  EXPECT_EQ(Text(list_), "abb");
}

TEST_F(SimpleList4Test, RemoveNodeLeavesWhatIsNoneOfItsOwn) {
  SimpleList4 other(pool_);
  Fill(list_, "ab");
  Fill(other, "ab");
  EXPECT_EQ(list_.RemoveNode(NodeAt(other, 0)), 0);
  EXPECT_EQ(list_.RemoveNode(nullptr), 0);
  EXPECT_EQ(Text(list_), "ab");
  EXPECT_EQ(Text(other), "ab");
}

TEST_F(SimpleList4Test, WalkOfAnEmptyListIsAtItsEndAndStaysThere) {
  auto at = list_.GetIterator();
  EXPECT_TRUE(at.End());
  ++at;
  EXPECT_TRUE(at.End());
}

TEST_F(SimpleList4Test, WalkGivesEntriesThatCanBeWritten) {
  Fill(list_, "abc");
  auto at = list_.GetIterator();
  ++at;
  at.GetRef() = Data('z');
  EXPECT_EQ(Text(list_), "azc");
}

TEST_F(SimpleList4Test, WalkStartsWithItsListAndWithoutStaying) {
  Fill(list_, "a");
  const auto at = list_.GetIterator();
  EXPECT_EQ(at.m_pList, &list_);
  EXPECT_FALSE(at.m_bStay);
}

TEST_F(SimpleList4Test, WalkThatStaysOnceCanRemoveWithoutSkipping) {
  Fill(list_, "abbc");
  std::string seen;
  for (auto at = list_.GetIterator(); !at.End() && seen.size() < 10; ++at) {
    seen += Letter(at.GetRef());
    if (at.GetRef() != Data('b')) continue;
    ListNode* removed = at.m_pNode;
    ++at;
    EXPECT_EQ(at.m_pList->RemoveNode(removed), 1);
    at.m_bStay = true;
  }
  EXPECT_EQ(seen, "abbc");
  EXPECT_EQ(Text(list_), "ac");
}

TEST_F(SimpleList4Test, NodeThatOneListGivesBackIsTheNextOfAnother) {
  SimpleList4 other(pool_);
  Fill(list_, "ab");
  const ListNode* node = NodeAt(list_, 1);
  EXPECT_EQ(list_.RemoveNode(NodeAt(list_, 1)), 1);
  EXPECT_EQ(pool_.pFree, node);
  Fill(other, "c");
  EXPECT_EQ(NodeAt(other, 0), node);
  EXPECT_EQ(pool_.pFree, nullptr);
}

TEST_F(SimpleList4Test, ListGivesAllNodesBackAtItsEndWithNullsAmongThem) {
  {
    SimpleList4 list(pool_);
    Fill(list, "a.b..c");
  }
  int free = 0;
  for (const ListNode* node = pool_.pFree; node != nullptr; node = node->pNext)
    ++free;
  EXPECT_EQ(free, 6);
}

TEST_F(SimpleList4Test, NodesAreAStack) {
  ListNode* first = pool_.GetNode();
  ListNode* second = pool_.GetNode();
  EXPECT_NE(first, second);
  pool_.ReleaseNode(first);
  pool_.ReleaseNode(second);
  EXPECT_EQ(pool_.GetNode(), second);
  EXPECT_EQ(pool_.GetNode(), first);
  pool_.ReleaseNode(first);
  pool_.ReleaseNode(second);
}

}  // namespace
}  // namespace hark
