// The worst that a datagram can hold: its scan takes memory and time in proportion to its size, and a stack
// that does not grow with it.
#include <gtest/gtest.h>

#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

using namespace std::string_view_literals;

struct WorstRow {
  const char* name;
  std::string_view before;  // what begins the headers
  std::string_view again;   // repeated up to the size that is asked for
  std::string_view after;   // what ends them, with the last line's CR LF
};

constexpr WorstRow kWorst[] = {
    {"commas of a list", "Allow: ", ",", "\r\n"},
    {"items of a list", "Allow: ", "a,", "\r\n"},
    {"blank items of a list", "Allow: ", "  ,", "\r\n"},
    {"list headers", "", "Allow:a\r\n", ""},
    {"semicolons", "To:<>", ";", "\r\n"},
    {"parameters", "To:<>;", "a;", "\r\n"},
    {"parameters of a Via", "v:a/b/c d", ";a", "\r\n"},
    {"quotes", "Allow: ", "\"\",", "\r\n"},
    {"open quotes", "To:<>", ";\"", "\r\n"},
    {"escapes", "To:<>;", "\"\\\\;", "\r\n"},
    {"one-byte headers", "", "a:\r\n", ""},
    {"headers without a name", "", ":\r\n", ""},
    {"folded lines", "Allow: a", ",\r\n a", "\r\n"},
    {"folded lines of nothing", "Allow: a,", "\r\n ", "\r\n"},
    {"folds by tabs", "x:", "\r\n\t", "\r\n"},
    {"blanks", "x:", " ", "\r\n"},
    {"blanks in front of a comma", "Allow: a", " , ", "\r\n"},
    {"tabs that are dropped", "Allow: a", "\t\t\ta\t\t\t,", "\r\n"},
    {"only bytes that are dropped", "Allow: a", "\t\x01\t\x02", "\r\n"},
    {"NUL bytes", "Allow: a", "\0"sv, "\r\n"},
    {"lone CR", "Allow: a", "\r,", "\r\n"},
    {"lone LF", "Allow: a", "\n", "\r\n"},
    {"list of contacts", "m:<>", ",<>", "\r\n"},
    {"contacts", "", "m:\r\n", ""},
    {"contacts with parameters", "m:<>;a", ",<>;a", "\r\n"},
    {"contacts of nothing", "m:", ";,", "a\r\n"},
    {"list of Vias", "Via:a/b/c d", ",a/b/c d", "\r\n"},
    {"list of Vias with ports", "Via:a/b/c d:1", ",a/b/c d:1", "\r\n"},
    {"Vias", "", "v:a/b/c d\r\n", ""},
    {"routes", "", "Route:\r\n", ""},
    {"second headers", "t:a\r\n", "t:a\r\n", ""},
    {"list of a single header", "t:<>", ",<>", "\r\n"},
    {"list of Replaces", "Replaces:a", ",a", "\r\n"},
    {"second Replaces", "Replaces:a\r\n", "Replaces:a\r\n", ""},
    {"commas of Max-Forwards", "Max-Forwards:1 ", ",1 ", "\r\n"},
    {"words of an Event", "o:refer", ";a=b", "\r\n"},
    {"Events", "", "o:a\r\n", ""},
    {"lines without an end", "x:", "\r\r", "\r\n"},
    {"blank lines in front", "", "", ""},  // see DatagramOf
};

// A request of about `size` bytes.
std::string DatagramOf(const WorstRow& row, std::size_t size) {
  if (row.again.empty()) return Times((size - 40) / 2, "\r\n") + Request("x:\r\n");
  const std::size_t fixed = Request("").size() + row.before.size() + row.after.size();
  std::string headers{row.before};
  headers += Times((size - fixed) / row.again.size(), row.again);
  headers += row.after;
  return Request(headers);
}

struct Cost {
  int result = -1;
  bool complete = false;
  std::int64_t records = 0;
  std::int64_t allocations = 0;
  std::int64_t cpu_ns = 0;
};

std::int64_t ThreadCpuNs() {
  timespec now{};
  (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

Cost CostOf(cpsip_osa_chain block) {
  Cost cost;
  cpsip_scan scan;
  std::uint32_t left_over = 0;
  const std::int64_t allocations = Allocations();
  const std::int64_t start = ThreadCpuNs();
  cost.result = cpsip_msg_scan(scan, std::move(block), cost.complete, left_over);
  cost.cpu_ns = ThreadCpuNs() - start;
  cost.allocations = Allocations() - allocations;
  if (scan.scan_msg != nullptr) cost.records = scan.scan_msg->fields.count();
  return cost;
}

// The scan on a stack of 64 KiB; sanitizers put more on it than the scanner does.
#if defined(__SANITIZE_ADDRESS__)
#define HARK_LARGE_FRAMES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HARK_LARGE_FRAMES 1
#endif
#endif
#ifdef HARK_LARGE_FRAMES
constexpr std::size_t kSmallStack = 256 * 1024;
#else
constexpr std::size_t kSmallStack = 64 * 1024;
#endif

Cost CostOnASmallStack(const std::string& datagram) {
  struct Job {
    cpsip_osa_chain block;
    Cost cost;
  } job{BlockOf(datagram), {}};
  pthread_attr_t attributes;
  EXPECT_EQ(pthread_attr_init(&attributes), 0);
  EXPECT_EQ(pthread_attr_setstacksize(&attributes, kSmallStack), 0);
  const auto run = [](void* argument) -> void* {
    Job& mine = *static_cast<Job*>(argument);
    mine.cost = CostOf(std::move(mine.block));
    return nullptr;
  };
  pthread_t thread{};
  EXPECT_EQ(pthread_create(&thread, &attributes, run, &job), 0);
  EXPECT_EQ(pthread_join(thread, nullptr), 0);
  (void)pthread_attr_destroy(&attributes);
  return job.cost;
}

TEST(ScanWorst, RecordsAndAllocationsGrowWithTheSizeOnly) {
  for (const WorstRow& row : kWorst) {
    std::int64_t before = 0;
    for (const std::size_t size : {375U, 750U, 1500U, 15'000U}) {
      SCOPED_TRACE(std::string{row.name} + ", " + std::to_string(size) + " bytes");
      const std::string datagram = DatagramOf(row, size);
      ASSERT_LE(datagram.size(), size);
      Cost cost;
      (void)Reports([&] { cost = CostOnASmallStack(datagram); });
      // At most three records for the two bytes of ";,": the pool's eight to a chunk.
      const std::int64_t records = static_cast<std::int64_t>(size) * 3 / 2;
      EXPECT_LE(cost.records, records + 8);
      EXPECT_LE(cost.allocations, records / 8 + 16);
      if (before != 0 && size <= kSocketBlockSize) {
        EXPECT_LE(cost.records, before * 5 / 2 + 8) << "twice the size";
      }
      before = cost.records;
    }
  }
}

// None of them ends early, as a token over 300 bytes would, so the other tests see all of their bytes.
TEST(ScanWorst, AllAreTakenToTheirEnd) {
  for (const WorstRow& row : kWorst) {
    for (const std::size_t size : {1500U, 15'000U}) {
      SCOPED_TRACE(std::string{row.name} + ", " + std::to_string(size) + " bytes");
      Cost cost;
      (void)Reports([&] { cost = CostOf(BlockOf(DatagramOf(row, size))); });
      EXPECT_EQ(cost.result, kScanOk);
      EXPECT_TRUE(cost.complete);
    }
  }
}

// The least of several, which leaves out what other programs did to the caches meanwhile.
std::int64_t LeastCpuNs(const std::string& datagram) {
  std::int64_t least = std::numeric_limits<std::int64_t>::max();
  (void)Reports([&] {
    for (int i = 0; i < 10; ++i)
      least = std::min(least, CostOf(BlockOf(datagram)).cpu_ns);
  });
  return least;
}

TEST(ScanWorst, TenTimesTheSizeTakesFarLessThanAHundredTimesTheWork) {
  for (const WorstRow& row : kWorst) {
    SCOPED_TRACE(row.name);
    const std::int64_t small = LeastCpuNs(DatagramOf(row, 1500));
    const std::int64_t large = LeastCpuNs(DatagramOf(row, 15'000));
    EXPECT_LT(large, small * 40) << small << " ns, " << large << " ns";
  }
}

}  // namespace
}  // namespace hark::test
