// The blocks of text that messages lie in: what a new one looks like, and that a chain goes as a whole.
#include "cpsip/cpsip_osa.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

TEST(OsaBuf, NewBlockIsEmptyAndEndsItsChain) {
  for (const std::uint16_t size :
       {std::uint16_t{0}, std::uint16_t{1}, kBuildBlockSize, kSocketBlockSize, kMaxOsaCapacity}) {
    SCOPED_TRACE(size);
    const cpsip_osa_chain block{cpsip_osa_buf_alloc(size)};
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->capacity, size);
    EXPECT_EQ(block->used, 0);
    EXPECT_EQ(block->next, nullptr);
    EXPECT_EQ(block->room(), size);
    EXPECT_TRUE(block->text().empty());
  }
}

TEST(OsaBuf, BlockSizesAreThoseOfBuildingAndOfSockets) {
  EXPECT_EQ(kBuildBlockSize, 256);
  EXPECT_EQ(kSocketBlockSize, 1500);
}

TEST(OsaBuf, HeaderAndDataAreOneAllocation) {
  const std::int64_t before = Allocations();
  const cpsip_osa_chain block{cpsip_osa_buf_alloc(kSocketBlockSize)};
  EXPECT_EQ(Allocations() - before, 1);
  EXPECT_EQ(static_cast<void*>(block->data()), static_cast<void*>(block.get() + 1));
}

TEST(OsaBuf, EveryByteOfTheCapacityCanBeFilled) {
  const cpsip_osa_chain block{cpsip_osa_buf_alloc(kSocketBlockSize)};
  std::memset(block->data(), 'x', kSocketBlockSize);
  block->used = kSocketBlockSize - 1;
  EXPECT_EQ(block->room(), 1);
  EXPECT_EQ(block->text(), std::string(kSocketBlockSize - 1, 'x'));
}

TEST(OsaBuf, LargestOffsetFits16Bits) {
  const cpsip_osa_chain block{cpsip_osa_buf_alloc(0xFFFF)};
  EXPECT_EQ(block->capacity, kMaxOsaCapacity);
  EXPECT_EQ(kOsaHeaderSize + block->capacity, 0xFFFF);
}

TEST(OsaBuf, FreeTakesTheBlockAndEverythingBehindIt) {
  const std::int64_t before = LiveAllocations();
  cpsip_osa_buf* const head = cpsip_osa_buf_alloc(kBuildBlockSize);
  head->next = cpsip_osa_buf_alloc(kBuildBlockSize);
  head->next->next = cpsip_osa_buf_alloc(kSocketBlockSize);
  EXPECT_EQ(LiveAllocations() - before, 3);
  cpsip_osa_buf_free(head);
  EXPECT_EQ(LiveAllocations(), before);
}

TEST(OsaBuf, FreeLeavesTheBlocksInFrontAlone) {
  const cpsip_osa_chain head{cpsip_osa_buf_alloc(kBuildBlockSize)};
  head->next = cpsip_osa_buf_alloc(kBuildBlockSize);
  const std::int64_t before = LiveAllocations();
  cpsip_osa_buf_free(head->next);
  head->next = nullptr;
  EXPECT_EQ(LiveAllocations(), before - 1);
  EXPECT_EQ(head->capacity, kBuildBlockSize);
}

TEST(OsaBuf, FreeOfNothingIsFine) {
  const std::int64_t before = LiveAllocations();
  cpsip_osa_buf_free(nullptr);
  EXPECT_EQ(LiveAllocations(), before);
}

TEST(OsaBuf, LongChainIsFreedWithoutGrowingTheStack) {
  const std::int64_t before = LiveAllocations();
  cpsip_osa_buf* head = nullptr;
  for (int i = 0; i < 100'000; ++i) {
    cpsip_osa_buf* const block = cpsip_osa_buf_alloc(0);
    block->next = head;
    head = block;
  }
  cpsip_osa_buf_free(head);
  EXPECT_EQ(LiveAllocations(), before);
}

}  // namespace
}  // namespace hark::test
