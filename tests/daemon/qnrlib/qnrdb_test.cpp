// The table of objects itself: registering, finding rows, the text of a row, and the subscription bits.
#include "daemon/qnrlib/qnrdb.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <string>

#include "base/text.h"
#include "object_table.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Range {
  int count;
  unsigned first;
  unsigned last;
  bool operator==(const Range&) const = default;
};

Range Find(const char* name, int index) {
  Range range{0, 7777, 7777};
  range.count = qnrdb_get_obj_range(&qnrobjdb, name, index, &range.first, &range.last);
  return range;
}

constexpr Range kNone{0, 0, UINT_MAX};

TEST_F(ObjectTable, FamilyTakesAHeadRowAndOneRowForEachIndex) {
  const auto& rows = qnrobjdb.objs;
  ASSERT_EQ(rows.size(), 30U);
  EXPECT_EQ(rows[2].index, -1);
  EXPECT_EQ(rows[2].get, nullptr);
  for (std::size_t i = 0; i < 10; ++i) {
    EXPECT_STREQ(rows[2 + i].name.data(), "GPI") << i;
    EXPECT_EQ(rows[2 + i].index, static_cast<int>(i) - 1);
    EXPECT_EQ(rows[2 + i].get != nullptr, i > 0) << i;
  }
}

TEST_F(ObjectTable, SingleObjectIsOneRowWithoutAnIndex) {
  EXPECT_STREQ(qnrobjdb.objs[1].name.data(), "IP");
  EXPECT_EQ(qnrobjdb.objs[1].index, -1);
  EXPECT_NE(qnrobjdb.objs[1].get, nullptr);
  EXPECT_STREQ(qnrobjdb.objs[2].name.data(), "GPI");
}

TEST_F(ObjectTable, NewRowsAreSubscribedByNobody) {
  for (int client = 0; client < kMaxConnections; ++client)
    EXPECT_THAT(SubscriptionsOf(client), IsEmpty());
}

TEST_F(ObjectTable, RegisteringRefusesABadTableAndABadCount) {
  EXPECT_EQ(qnrdb_reg_obj(nullptr, "X", -1, nullptr), -1);
  for (const int count : {0, -2, -100})
    EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "X", count, nullptr), -2) << count;
  EXPECT_EQ(qnrobjdb.objs.size(), 30U);
}

TEST_F(ObjectTable, CleanupLeavesAnEmptyTable) {
  EXPECT_EQ(qnrdb_cleanup(&qnrobjdb), 0);
  EXPECT_TRUE(qnrobjdb.objs.empty());
  EXPECT_EQ(Find("GPI", -1), kNone);
}

TEST_F(ObjectTable, RangeFindsByNameAndIndex) {
  struct Row {
    const char* name;
    int index;
    Range want;
  };
  for (const Row& row :
       {Row{"SET", -1, {1, 0, 0}}, Row{"GPI", -1, {10, 2, 11}}, Row{"GPI", 0, {1, 3, 3}},
        Row{"GPI", 8, {1, 11, 11}}, Row{"GPO", 8, {1, 21, 21}}, Row{"CFG GPO", -1, {3, 22, 24}},
        Row{nullptr, -1, {30, 0, 29}}, Row{"GPI", 9, kNone}, Row{"gpi", -1, kNone}, Row{"GP", -1, kNone},
        Row{"GPIX", -1, kNone}, Row{"", -1, kNone}, Row{"IP", 0, kNone}, Row{"CFG", -1, kNone}}) {
    SCOPED_TRACE(std::string(row.name != nullptr ? row.name : "(null)") + " " + std::to_string(row.index));
    const Range got = Find(row.name, row.index);
    EXPECT_EQ(got.count, row.want.count);
    EXPECT_EQ(got.first, row.want.first);
    EXPECT_EQ(got.last, row.want.last);
  }
}

TEST_F(ObjectTable, RangeNeedsATableAndTwoPlacesForItsResult) {
  unsigned place = 0;
  EXPECT_EQ(qnrdb_get_obj_range(nullptr, "GPI", -1, &place, &place), -1);
  EXPECT_EQ(qnrdb_get_obj_range(&qnrobjdb, "GPI", -1, nullptr, &place), -1);
  EXPECT_EQ(qnrdb_get_obj_range(&qnrobjdb, "GPI", -1, &place, nullptr), -1);
}

TEST_F(ObjectTable, RowTextIsNameNumberAndOwnText) {
  struct Row {
    int row;
    const char* want;
  };
  for (const Row& row :
       {Row{0, "SET  "}, Row{1, "IP hostname studio"}, Row{3, "GPI 1 hhhhh"}, Row{5, "GPI 3 hhhhh"},
        Row{11, "GPI 9 hhhhh"}, Row{24, "CFG GPO 2 NAME:\"Aux 1\""}, Row{28, "QUIET 1"}}) {
    SCOPED_TRACE(row.row);
    std::array<char, 100> text{};
    EXPECT_EQ(qnrdb_get(text.data(), text.size(), &qnrobjdb, row.row, 0),
              static_cast<int>(std::strlen(row.want)));
    EXPECT_STREQ(text.data(), row.want);
    EXPECT_EQ(qnrdb_get(text.data(), text.size(), &qnrobjdb, row.row, kQnrdbLineEnd),
              static_cast<int>(std::strlen(row.want)) + 2);
    EXPECT_EQ(std::string(text.data()), std::string(row.want) + "\r\n");
  }
}

TEST_F(ObjectTable, HeadRowsAndRowsWithoutGetterHaveNoText) {
  std::array<char, 100> text{};
  for (const int row : {2, 12, 22, 25, 26, 27}) {
    EXPECT_EQ(qnrdb_get(text.data(), text.size(), &qnrobjdb, row, kQnrdbLineEnd), 0) << row;
  }
}

TEST_F(ObjectTable, BadRowHasNoText) {
  std::array<char, 100> text{};
  for (const int row : {-1, -2, 30, 31, INT_MAX}) {
    EXPECT_EQ(qnrdb_get(text.data(), text.size(), &qnrobjdb, row, 0), -1) << row;
  }
}

TEST_F(ObjectTable, TextStaysInsideItsBufferOfAnySize) {
  for (const int flags : {0, kQnrdbLineEnd}) {
    for (std::size_t size = 0; size < 24; ++size) {
      SCOPED_TRACE(std::to_string(size) + " flags " + std::to_string(flags));
      const auto text = std::make_unique<char[]>(size);  // exact, so that a sanitizer sees a byte too many
      const int length = qnrdb_get(text.get(), size, &qnrobjdb, 24, flags);
      if (length < 0) continue;
      ASSERT_LT(static_cast<std::size_t>(length), size);
      EXPECT_EQ(std::strlen(text.get()), static_cast<std::size_t>(length));
      EXPECT_TRUE(std::string("CFG GPO 2 NAME:\"Aux 1\"\r\n").starts_with(std::string(text.get(), 9)));
    }
  }
}

TEST_F(ObjectTable, NameThatFitsIsNotRefused) {
  std::array<char, 16> text{};
  EXPECT_GT(qnrdb_get(text.data(), text.size(), &qnrobjdb, 24, kQnrdbLineEnd), 0);
  EXPECT_TRUE(std::string(text.data()).starts_with("CFG GPO 2")) << text.data();
}

TEST_F(ObjectTable, NameThatDoesNotFitIsReported) {
  std::array<char, 5> text{};
  EXPECT_EQ(qnrdb_get(text.data(), text.size(), &qnrobjdb, 24, 0), -2);
}

TEST_F(ObjectTable, SubscribingTouchesTheMatchingRowsOfOneConnection) {
  EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, "GPI", 2, 5, true), 1);
  EXPECT_THAT(SubscriptionsOf(5), ElementsAre("GPI 2"));
  EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, "CFG GPO", -1, 5, true), 1);
  EXPECT_THAT(SubscriptionsOf(5), ElementsAre("GPI 2", "CFG GPO -1", "CFG GPO 0", "CFG GPO 1"));
  EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, "CFG GPO", 0, 5, false), 1);
  EXPECT_THAT(SubscriptionsOf(5), ElementsAre("GPI 2", "CFG GPO -1", "CFG GPO 1"));
  for (int client = 0; client < kMaxConnections; ++client) {
    if (client == 5) continue;
    EXPECT_THAT(SubscriptionsOf(client), IsEmpty()) << client;
  }
}

TEST_F(ObjectTable, EveryConnectionHasABitOfItsOwn) {
  for (int client = 0; client < kMaxConnections; ++client) {
    EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, "GPI", client % 9, client, true), 1) << client;
  }
  for (int client = 0; client < kMaxConnections; ++client) {
    EXPECT_THAT(SubscriptionsOf(client), ElementsAre("GPI " + std::to_string(client % 9)));
  }
}

TEST_F(ObjectTable, NoNameClearsAllSubscriptionsOfOneConnection) {
  ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, nullptr, -1, 3, true), 1);
  ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, nullptr, -1, 4, true), 1);
  EXPECT_EQ(SubscriptionsOf(3).size(), 30U);
  EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, nullptr, -1, 3, false), 1);
  EXPECT_THAT(SubscriptionsOf(3), IsEmpty());
  EXPECT_EQ(SubscriptionsOf(4).size(), 30U);
}

TEST_F(ObjectTable, SubscribingRefusesWhatIsNotThere) {
  EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, "NONE", -1, 0, true), -1);
  EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, "GPI", 9, 0, true), -1);
  EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, "gpi", -1, 0, true), -1);
  EXPECT_EQ(qnrdb_sub_set(nullptr, "GPI", -1, 0, true), -1);
  for (const int client : {-1, -2, kMaxConnections, 64, 1000}) {
    EXPECT_EQ(qnrdb_sub_set(&qnrobjdb, "GPI", -1, client, true), -1) << client;
  }
  EXPECT_THAT(SubscriptionsOf(0), IsEmpty());
}

}  // namespace
}  // namespace hark
