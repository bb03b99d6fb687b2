// The trie: what is stored is found, in any case if it folds, and a leading part finds the one key that
// continues it. Nodes go back to their pool and come out of it again.
#include "sipua/StrDict3.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace hark {
namespace {

using Allocator = StrDict3::Allocator;

int g_one = 1;
int g_two = 2;

// Gives the value's name for a row that fails.
std::string NameOf(const void* value) {
  return value == nullptr ? "none" : value == &g_one ? "one" : value == &g_two ? "two" : "other";
}

class StrDict3Test : public ::testing::Test {
 protected:
  void Store(const std::vector<const char*>& keys, void* value) {
    for (const char* key : keys)
      ASSERT_TRUE(dict_.Set(key, value)) << key;
  }
  [[nodiscard]] std::string Found(const char* key, bool descend = false, bool unique = false) const {
    void* value = nullptr;
    return dict_.Find(key, value, descend, unique) ? NameOf(value) : "nothing";
  }

  StrDict3 dict_{true, StrDict3::STORE_LOWER, nullptr};
};

TEST_F(StrDict3Test, WhatIsStoredIsFound) {
  Store({"1234"}, &g_one);
  Store({"1235", "9"}, &g_two);
  EXPECT_EQ(Found("1234"), "one");
  EXPECT_EQ(Found("1235"), "two");
  EXPECT_EQ(Found("9"), "two");
}

TEST_F(StrDict3Test, WhatIsNotStoredIsNotFoundAndLeavesTheValueAlone) {
  for (const char* key : {"1", "123", "12345", "1233", "1236", "2", "0", "\xFF", "1234\xFF"}) {
    SCOPED_TRACE(key);
    Store({"1234", "1235"}, &g_one);
    void* value = &g_two;
    EXPECT_FALSE(dict_.Find(key, value, false, false));
    EXPECT_EQ(value, &g_two);
  }
}

TEST_F(StrDict3Test, EmptyKeyAndNullAreRefused) {
  for (const char* key : {static_cast<const char*>(nullptr), ""}) {
    SCOPED_TRACE(key == nullptr ? "null" : "empty");
    EXPECT_FALSE(dict_.Set(key, &g_one));
    EXPECT_EQ(dict_.Root(), nullptr);
    for (const bool descend : {false, true})
      EXPECT_EQ(Found(key, descend, true), "nothing");
    EXPECT_FALSE(dict_.Remove(key));
  }
  Store({"1"}, &g_one);
  EXPECT_EQ(Found("", true, true), "nothing");
  EXPECT_EQ(Found(nullptr, true, true), "nothing");
}

TEST_F(StrDict3Test, EmptyDictionaryFindsAndRemovesNothing) {
  EXPECT_EQ(Found("1", true, false), "nothing");
  EXPECT_FALSE(dict_.Remove("1"));
}

TEST_F(StrDict3Test, SameKeyTwiceKeepsOneEntryWithTheLastValue) {
  Allocator pool;
  StrDict3 dict(true, StrDict3::STORE_LOWER, &pool);
  ASSERT_TRUE(dict.Set("1234", &g_one));
  ASSERT_TRUE(dict.Set("1234", &g_two));
  EXPECT_EQ(pool.nUsed, 4U);
  void* value = nullptr;
  ASSERT_TRUE(dict.Find("1234", value, false, false));
  EXPECT_EQ(value, &g_two);
  EXPECT_TRUE(dict.Remove("1234"));
  EXPECT_FALSE(dict.Remove("1234"));
}

TEST_F(StrDict3Test, NullIsAValueLikeOthers) {
  Store({"1"}, nullptr);
  EXPECT_EQ(Found("1"), "none");
}

struct PartRow {
  std::vector<const char*> first;   // stored with value one
  std::vector<const char*> second;  // stored with value two
  const char* key;
  // Found without flags, with unique, with descend, with both.
  const char *plain, *unique, *descend, *both;
};

TEST_F(StrDict3Test, LeadingPartFindsTheKeyThatContinuesIt) {
  const PartRow rows[] = {
      {{"1234"}, {}, "1234", "one", "one", "one", "one"},
      {{"1234"}, {}, "123", "nothing", "nothing", "one", "one"},
      {{"1234"}, {}, "1", "nothing", "nothing", "one", "one"},
      {{"1234"}, {"1235"}, "123", "nothing", "nothing", "one", "nothing"},
      {{"1234"}, {"1235"}, "1", "nothing", "nothing", "one", "nothing"},
      {{"1234"}, {"1235"}, "1235", "two", "two", "two", "two"},
      {{"123"}, {"1234"}, "123", "one", "one", "one", "one"},
      {{"123"}, {"1234"}, "12", "nothing", "nothing", "one", "nothing"},
      {{"123"}, {"1234"}, "1", "nothing", "nothing", "one", "nothing"},
      {{"19", "2"}, {"1234"}, "12", "nothing", "nothing", "two", "two"},
      {{"19", "2"}, {"1234"}, "1", "nothing", "nothing", "two", "nothing"},
      {{"1234"}, {}, "12345", "nothing", "nothing", "nothing", "nothing"},
      {{"1234"}, {}, "13", "nothing", "nothing", "nothing", "nothing"},
      {{"1234"}, {}, "2", "nothing", "nothing", "nothing", "nothing"},
  };
  for (const PartRow& row : rows) {
    SCOPED_TRACE(std::string(row.key) + " among " + *row.first.begin() + " and " +
                 (row.second.size() != 0 ? *row.second.begin() : "no other"));
    dict_.RemoveAll();
    Store(row.first, &g_one);
    Store(row.second, &g_two);
    EXPECT_EQ(Found(row.key, false, false), row.plain);
    EXPECT_EQ(Found(row.key, false, true), row.unique);
    EXPECT_EQ(Found(row.key, true, false), row.descend);
    EXPECT_EQ(Found(row.key, true, true), row.both);
  }
}

TEST_F(StrDict3Test, BytesFrom0x80OnComeFirst) {
  Store({"1z", "1\x7F"}, &g_one);
  Store({"1\x80"}, &g_two);
  EXPECT_EQ(Found("1", true, false), "two");
  EXPECT_EQ(Found("1\x7F"), "one");
  EXPECT_EQ(Found("1\x80"), "two");
}

TEST_F(StrDict3Test, LookupByLengthEndsThereOrAtTheNul) {
  Store({"12"}, &g_one);
  Store({"1234"}, &g_two);
  const struct {
    unsigned length;
    const char* key;
    const void* value;
  } rows[] = {{2, "1234", &g_one}, {4, "1234", &g_two},  {65535, "1234", &g_two}, {3, "12\0009", &g_one},
              {0, "12", nullptr},  {3, "1234", nullptr}, {1, "1234", nullptr},    {2, nullptr, nullptr}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.length);
    void** slot = nullptr;
    ASSERT_EQ(dict_.Find0(row.length, row.key, slot, false, false), row.value != nullptr);
    EXPECT_EQ(slot != nullptr ? *slot : nullptr, row.value);
  }
}

TEST_F(StrDict3Test, WhatIsWrittenToTheSlotIsFound) {
  Store({"12"}, &g_one);
  void** slot = nullptr;
  ASSERT_TRUE(dict_.Find0(2, "12", slot, false, false));
  *slot = &g_two;
  EXPECT_EQ(Found("12"), "two");
}

struct CaseRow {
  bool keep;
  int store;
  const char* stored;  // what "aZ@[`{09\xC4" is kept as
  bool same_key;       // whether the other case is the same key
};

TEST_F(StrDict3Test, LettersFoldAsTold) {
  const CaseRow rows[] = {
      {true, 0, "aZ@[`{09\xC4", false}, {true, 1, "aZ@[`{09\xC4", false}, {false, 0, "az@[`{09\xC4", true},
      {false, 1, "AZ@[`{09\xC4", true}, {false, 2, "AZ@[`{09\xC4", true}, {false, -1, "AZ@[`{09\xC4", true},
  };
  for (const CaseRow& row : rows) {
    SCOPED_TRACE((row.keep ? "kept " : "folded ") + std::to_string(row.store));
    StrDict3 dict(row.keep, static_cast<StrDict3::EStoreCase>(row.store), nullptr);
    ASSERT_TRUE(dict.Set("aZ@[`{09\xC4", &g_one));
    std::string stored;
    EXPECT_TRUE(dict.EnumDictionary0(
        nullptr, dict.Root(),
        [](const char* key, void*&, void* ctx) {
          *static_cast<std::string*>(ctx) = key;
          return true;
        },
        &stored));
    EXPECT_EQ(stored, row.stored);
    void* value = nullptr;
    EXPECT_EQ(dict.Find("Az@[`{09\xC4", value, false, false), row.same_key);
    EXPECT_EQ(dict.Find("AZ@", value, true, true), row.same_key);
    EXPECT_FALSE(dict.Find("aZ`", value, true, true)) << "a sign next to the letters isn't one";
    EXPECT_EQ(dict.Remove("AZ@[`{09\xC4"), row.same_key);
    EXPECT_EQ(dict.Find("aZ@[`{09\xC4", value, false, false), !row.same_key);
  }
}

TEST_F(StrDict3Test, RemovedKeyIsFoundNoMoreAndItsNeighboursAre) {
  const struct {
    const char* removed;
    std::vector<const char*> others;
  } rows[] = {
      {"123", {"1234", "12", "9"}},  // others continue it
      {"1234", {"123", "9"}},        // it continues another
      {"5", {"4", "6"}},             // between siblings at the top
      {"4", {"5", "6"}},             // the first of them
      {"6", {"4", "5"}},             // the last
      {"15", {"14", "16"}},          // the same one level down
      {"14", {"15", "16"}},
      {"16", {"14", "15"}},
      {"1", {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.removed);
    dict_.RemoveAll();
    Store({row.removed}, &g_one);
    for (const char* other : row.others)
      Store({other}, &g_two);
    EXPECT_TRUE(dict_.Remove(row.removed));
    EXPECT_EQ(Found(row.removed), "nothing");
    EXPECT_FALSE(dict_.Remove(row.removed)) << "it is gone";
    for (const char* other : row.others)
      EXPECT_EQ(Found(other), "two") << other;
  }
}

TEST_F(StrDict3Test, OnlyStoredKeysCanBeRemoved) {
  Store({"1234"}, &g_one);
  for (const char* key : {"1", "123", "12345", "1233", "1235", "0", "2"})
    EXPECT_FALSE(dict_.Remove(key)) << key;
  EXPECT_EQ(Found("1234"), "one");
}

TEST_F(StrDict3Test, NodesAboveARemovedKeyStay) {
  Allocator pool;
  StrDict3 dict(true, StrDict3::STORE_LOWER, &pool);
  ASSERT_TRUE(dict.Set("1234", &g_one));
  ASSERT_TRUE(dict.Remove("1234"));
  EXPECT_EQ(pool.nUsed, 3U);
  void* value = nullptr;
  EXPECT_FALSE(dict.Find("1", value, true, false));
  ASSERT_TRUE(dict.Set("1235", &g_two));
  EXPECT_EQ(pool.nUsed, 4U);
}

// What stays of 129 is in the way from a part to 1250, and in no other's.
TEST_F(StrDict3Test, LeftoverOfARemovedKeyHidesAKeyFromItsPartsOnly) {
  Store({"1250", "1291"}, &g_one);
  ASSERT_TRUE(dict_.Remove("1291"));
  EXPECT_EQ(Found("12", true, true), "nothing");
  EXPECT_EQ(Found("12", true, false), "one");
  EXPECT_EQ(Found("125", true, true), "one");
  EXPECT_EQ(Found("1250", true, true), "one");
}

TEST_F(StrDict3Test, AfterRemoveAllItIsEmptyAndCanBeFilledAgain) {
  Store({"1", "12", "2", "3456"}, &g_one);
  dict_.RemoveAll();
  EXPECT_EQ(dict_.Root(), nullptr);
  EXPECT_EQ(Found("1", true, false), "nothing");
  dict_.RemoveAll();
  Store({"12"}, &g_two);
  EXPECT_EQ(Found("1", true, true), "two");
}

// A call per character would run out of stack.
TEST_F(StrDict3Test, KeyOfAMillionCharactersComesAndGoes) {
  const std::string key(1'000'000, '7');
  Store({key.c_str()}, &g_one);
  EXPECT_TRUE(dict_.Remove(key.c_str()));
  Store({key.c_str()}, &g_two);
  dict_.RemoveAll();
  EXPECT_EQ(dict_.Root(), nullptr);
}

TEST_F(StrDict3Test, LookupSeesTheFirst65535Characters) {
  const std::string longest(StrDict3::kLongestLookup, '7');
  const std::string longer = longest + "8";
  Store({longer.c_str()}, &g_one);
  EXPECT_EQ(Found(longer.c_str()), "nothing");
  EXPECT_EQ(Found(longer.c_str(), true, true), "one");
  Store({longest.c_str()}, &g_two);
  EXPECT_EQ(Found(longer.c_str()), "two");
  EXPECT_EQ(Found(longest.c_str()), "two");
}

}  // namespace
}  // namespace hark
