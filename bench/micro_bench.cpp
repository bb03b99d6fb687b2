// The readers that run for every line and every comparison of URLs.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "addressing/harkurl.h"
#include "alloc_count.h"
#include "benches.h"
#include "daemon/qnrlib/tagtext.h"

namespace hark::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRounds = 9;  // the best one counts: what disturbs a round only adds to it
constexpr long kCalls = 500'000;

// Keeps the compiler from knowing what is at `value`, and so from doing the work once for all calls.
template <typename T>
void use(T& value) {
  asm volatile("" : "+m"(value) : : "memory");
}

// A line as the control port gets it: the tag that is looked for stands last.
constexpr const char* kLine =
    " URL:\"quillnet:239.192.4.210;trgl=4;gpio=1;gpiol=1;gpiot=2\" VOLUME:-60 LISTEN:1";
constexpr const char* kValue = "\"quillnet:239.192.4.210;trgl=4;label=Studio\\ A\" LISTEN:1";
constexpr const char* kUrl = "\"Studio A\" <quillnet:239.192.4.210>;trgl=4;gpio=1;gpiol=1;gpiot=2";
constexpr const char* kOther = "quillnet:239.192.4.211;trgl=4;gpio=1;gpiol=1;gpiot=2";

void find_value() {
  const char* line = kLine;
  use(line);
  const char* value = qnr_findval(line, "LISTEN");
  use(value);
}

void copy_value() {
  const char* value = kValue;
  std::array<char, 80> out;
  use(value);
  int length = qnr_copyval(out.data(), value, static_cast<int>(out.size()));
  use(length);
  use(out);
}

void parse_url() {
  const char* url = kUrl;
  harkurl_info info;
  use(url);
  int type = harkurl_parse(url, &info);
  use(type);
  use(info);
}

void compare_urls() {
  const char* a = kUrl;
  const char* b = kOther;
  use(a);
  use(b);
  int order = hark_urlcompare(a, b);
  use(order);
}

struct Subject {
  const char* name;
  void (*call)();
};

// the name in the table, one call
constexpr std::array<Subject, 4> kSubjects{{
    {"qnr_findval", find_value},
    {"qnr_copyval", copy_value},
    {"harkurl_parse", parse_url},
    {"hark_urlcompare", compare_urls},
}};

double best_ns(void (*call)()) {
  double best = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    const auto start = Clock::now();
    for (long i = 0; i < kCalls; ++i)
      call();
    const std::chrono::duration<double, std::nano> passed = Clock::now() - start;
    best = std::min(best, passed.count() / kCalls);
  }
  return best;
}

// A counter that counts nothing would make every row look good.
bool counter_counts() {
  const std::uint64_t before = allocations();
  char* block = new char[100];
  use(block);
  delete[] block;
  return allocations() == before + 1;
}

}  // namespace

bool micro_bench(Table& table) {
  if (!counter_counts()) {
    (void)std::fputs("hark_bench: allocations are not counted here\n", stderr);
    return false;
  }
  for (const Subject& subject : kSubjects) {
    const std::uint64_t before = allocations();
    const double ns = best_ns(subject.call);
    const auto taken = static_cast<double>(allocations() - before);
    table.add({std::string(subject.name) + ", time per call", ns, "ns"});
    table.add({std::string(subject.name) + ", allocations per call", taken / (kRounds * kCalls), "", 0, 0.0});
  }
  return true;
}

}  // namespace hark::bench
