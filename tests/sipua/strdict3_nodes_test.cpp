// The trie's nodes: the pool that they come from and go back to, the walk over all of them, and long rounds
// of everything against a model.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "sipua/StrDict3.h"
#include "support/trie_twins.h"

namespace hark {
namespace {

using Allocator = StrDict3::Allocator;
using Keys = std::vector<std::string>;

int g_value = 1;

TEST(StrDict3Pool, SixteenNodesAreOneBlock) {
  Allocator pool;
  StrDict3 dict(true, StrDict3::STORE_LOWER, &pool);
  EXPECT_EQ(pool.nTotal, 0U);
  EXPECT_EQ(pool.pBlocks, nullptr);
  ASSERT_TRUE(dict.Set("0123456789abcdef", &g_value));
  EXPECT_EQ(pool.nTotal, 16U);
  EXPECT_EQ(pool.nUsed, 16U);
  EXPECT_EQ(pool.pFree, nullptr);
  ASSERT_TRUE(dict.Set("1", &g_value));
  EXPECT_EQ(pool.nTotal, 32U);
  EXPECT_EQ(pool.nUsed, 17U);
  ASSERT_NE(pool.pBlocks, nullptr);
  ASSERT_NE(pool.pBlocks->pNextBlock, nullptr);
  EXPECT_EQ(pool.pBlocks->pNextBlock->pNextBlock, nullptr);
}

TEST(StrDict3Pool, FirstNodeOfABlockIsHandedOutAndTheOthersAreFree) {
  Allocator pool;
  const StrDict3::Node* first = pool.Get();
  EXPECT_EQ(first, pool.pBlocks->nodes.data());
  int free = 0;
  for (const StrDict3::Node* node = pool.pFree; node != nullptr; node = node->pNext)
    ++free;
  EXPECT_EQ(free, 15);
}

TEST(StrDict3Pool, ReleasedNodeIsTheNextToBeUsed) {
  Allocator pool;
  StrDict3::Node* first = pool.Get();
  StrDict3::Node* second = pool.Get();
  EXPECT_NE(first, second);
  pool.Release(first);
  EXPECT_EQ(pool.nUsed, 1U);
  EXPECT_EQ(pool.Get(), first);
  EXPECT_EQ(pool.nTotal, 16U);
}

TEST(StrDict3Pool, NodeUsedAgainKeepsNothingOfItsFirstUse) {
  Allocator pool;
  StrDict3 dict(true, StrDict3::STORE_LOWER, &pool);
  ASSERT_TRUE(dict.Set("12", &g_value));
  ASSERT_TRUE(dict.Set("13", &g_value));
  dict.RemoveAll();
  ASSERT_TRUE(dict.Set("789", nullptr));
  for (const char* key : {"7", "78", "1", "12"}) {
    void* value = nullptr;
    EXPECT_FALSE(dict.Find(key, value, false, false)) << key;
  }
  void* value = &g_value;
  ASSERT_TRUE(dict.Find("7", value, true, true));
  EXPECT_EQ(value, nullptr);
}

TEST(StrDict3Pool, RemoveAllGivesAllNodesBackAndKeepsTheBlocks) {
  Allocator pool;
  StrDict3 dict(true, StrDict3::STORE_LOWER, &pool);
  for (const char* key : {"1234", "1235", "19", "2", "23456789", "0123456789"})
    ASSERT_TRUE(dict.Set(key, &g_value));
  const std::uint32_t total = pool.nTotal;
  dict.RemoveAll();
  EXPECT_EQ(pool.nUsed, 0U);
  EXPECT_EQ(pool.nTotal, total);
}

TEST(StrDict3Pool, DictionariesThatShareItGiveTheirNodesBackAtTheirEnd) {
  Allocator pool;
  StrDict3 stays(true, StrDict3::STORE_LOWER, &pool);
  ASSERT_TRUE(stays.Set("12", &g_value));
  {
    StrDict3 goes(true, StrDict3::STORE_LOWER, &pool);
    ASSERT_TRUE(goes.Set("12345", &g_value));
    EXPECT_EQ(pool.nUsed, 7U);
  }
  EXPECT_EQ(pool.nUsed, 2U);
  void* value = nullptr;
  EXPECT_TRUE(stays.Find("12", value, false, false));
}

class StrDict3Walk : public ::testing::Test {
 protected:
  void Store(const Keys& keys) {
    for (const std::string& key : keys)
      ASSERT_TRUE(dict_.Set(key.c_str(), &g_value));
  }
  // The texts of a walk that ends itself at `last`.
  [[nodiscard]] Keys Walk(const char* prefix, StrDict3::Node* start, const std::string& last = "") {
    Context context{{}, last};
    whole_ = dict_.EnumDictionary0(prefix, start, Note, &context);
    return context.keys;
  }

  StrDict3 dict_{true, StrDict3::STORE_LOWER, nullptr};
  bool whole_ = false;

 private:
  struct Context {
    Keys keys;
    std::string last;
  };
  static bool Note(const char* key, void*& /*value*/, void* ctx) {
    auto& context = *static_cast<Context*>(ctx);
    context.keys.emplace_back(key);
    return key != context.last;
  }
};

TEST_F(StrDict3Walk, TellsKeysInOrderEachBeforeThoseThatContinueIt) {
  Store({"2", "123", "1", "12", "15", "\x80", "1\xFF", "a"});
  EXPECT_EQ(Walk(nullptr, dict_.Root()), (Keys{"\x80", "1", "1\xFF", "12", "123", "15", "2", "a"}));
  EXPECT_TRUE(whole_);
}

TEST_F(StrDict3Walk, StartsAtANodeUnderThePrefixThatLeadsThere) {
  Store({"0", "1", "123", "15", "17", "2"});
  StrDict3::Node* one = dict_.Root()->pNext;
  EXPECT_EQ(Walk("1", one->pChild), (Keys{"123", "15", "17"}));
  EXPECT_EQ(Walk("1", one->pChild->pNext), (Keys{"15", "17"}));
  EXPECT_EQ(Walk("any ", one), (Keys{"any 1", "any 123", "any 15", "any 17", "any 2"}));
}

TEST_F(StrDict3Walk, EndsWhenTheCallbackSaysSo) {
  Store({"1", "12", "2"});
  EXPECT_EQ(Walk("", dict_.Root(), "12"), (Keys{"1", "12"}));
  EXPECT_FALSE(whole_);
  EXPECT_EQ(Walk("", dict_.Root(), "2"), (Keys{"1", "12", "2"}));
  EXPECT_FALSE(whole_);
}

TEST_F(StrDict3Walk, OfNothingTellsNothing) {
  EXPECT_EQ(Walk("1", nullptr), Keys{});
  EXPECT_TRUE(whole_);
}

TEST_F(StrDict3Walk, LeavesRemovedKeysOut) {
  Store({"1", "12", "123"});
  ASSERT_TRUE(dict_.Remove("12"));
  ASSERT_TRUE(dict_.Remove("123"));
  EXPECT_EQ(Walk("", dict_.Root()), Keys{"1"});
}

TEST_F(StrDict3Walk, Enters128LevelsAndNoMore) {
  const std::string deepest(128, '7');
  Store({deepest, deepest + "8", deepest + "78", std::string(127, '7') + "9", "8"});
  const Keys all = {deepest, std::string(127, '7') + "9", "8"};
  EXPECT_EQ(Walk("", dict_.Root()), all);
  EXPECT_TRUE(whole_);
  // Counted from where it starts.
  const std::string below(127, '7');
  EXPECT_EQ(Walk("", dict_.Root()->pChild), (Keys{below, below + "8", std::string(126, '7') + "9"}));
}

TEST_F(StrDict3Walk, CallbackMayReplaceTheValue) {
  Store({"1", "12"});
  EXPECT_TRUE(dict_.EnumDictionary0(
      "", dict_.Root(),
      [](const char*, void*& value, void* ctx) {
        value = ctx;
        return true;
      },
      this));
  for (const char* key : {"1", "12"}) {
    void* value = nullptr;
    ASSERT_TRUE(dict_.Find(key, value, false, false));
    EXPECT_EQ(value, this) << key;
  }
}

// Short keys of few characters, so that beginnings and continuations of what is stored are often hit.
std::string random_key(std::mt19937& random) {
  constexpr std::string_view kCharacters = "12aAzZ\x80";
  std::string key(random() % 6, '1');
  for (char& c : key)
    c = kCharacters[random() % kCharacters.size()];
  return key;
}

class StrDict3Random : public ::testing::TestWithParam<std::pair<char, unsigned>> {};

TEST_P(StrDict3Random, TwoOnOnePoolDoAsTheirModelsDo) {
  const auto [fold, seed] = GetParam();
  std::mt19937 random(seed);
  Allocator pool;
  std::vector<std::unique_ptr<TrieTwins>> both;
  both.push_back(std::make_unique<TrieTwins>(fold, pool));
  both.push_back(std::make_unique<TrieTwins>('k', pool));
  std::size_t peak = 0;
  for (int step = 0; step < 6000; ++step) {
    TrieTwins& twins = *both[random() % 2];
    const std::string key = random_key(random);
    SCOPED_TRACE("step " + std::to_string(step) + " key " + key);
    switch (random() % 8) {
      case 0:
      case 1:
        ASSERT_EQ(twins.Set(key), "");
        break;
      case 2:
      case 3:
        ASSERT_EQ(twins.Remove(key), "");
        break;
      case 4:
        ASSERT_EQ(random() % 64 == 0 ? twins.RemoveAll() : "", "");
        ASSERT_EQ(twins.Enumerate(), "");
        break;
      default:
        ASSERT_EQ(twins.Find(key), "");
    }
    ASSERT_EQ(pool.nUsed, both[0]->Nodes() + both[1]->Nodes());
    peak = std::max(peak, std::size_t{pool.nUsed});
    ASSERT_EQ(pool.nTotal, (peak + 15) / 16 * 16);
  }
  both.clear();
  EXPECT_EQ(pool.nUsed, 0U);
}

INSTANTIATE_TEST_SUITE_P(Seeds, StrDict3Random,
                         ::testing::Values(std::pair{'k', 1U}, std::pair{'l', 2U}, std::pair{'u', 3U},
                                           std::pair{'l', 4U}));

}  // namespace
}  // namespace hark
