#include "latency.h"

#include <algorithm>
#include <chrono>

#include "peers.h"

namespace hark::bench {
namespace {

constexpr int kWarmUp = 50;

Clock::duration one_echo(Arrival& arrival, LineConnection& to, LineConnection& from,
                         const std::string& request, std::size_t reply) {
  return arrival.time([&] { to.send(request); }, from, [&](LineConnection& echo) { echo.read(reply); });
}

}  // namespace

void Times::add(Clock::duration time) {
  us_.push_back(std::chrono::duration<double, std::micro>(time).count());
}

double Times::at(double part) {
  std::sort(us_.begin(), us_.end());
  return us_[static_cast<std::size_t>(part * static_cast<double>(us_.size() - 1))];
}

bool compare_with_echo(const Comparison& comparison,
                       const std::function<std::optional<Clock::duration>(Arrival&)>& act, Table& table) {
  const EchoProcess echo_process(comparison.request, comparison.reply);
  LineConnection to = echo_process.connect();
  LineConnection from = echo_process.connect();
  const std::string request(comparison.request, 'x');
  Arrival arrival;
  Times times;
  Times echo_times;
  for (int i = -kWarmUp; i < comparison.calls; ++i) {
    const auto time = act(arrival);
    const auto echo_time = one_echo(arrival, to, from, request, comparison.reply);
    if (!time || to.is_lost() || from.is_lost()) return false;
    if (i < 0) continue;
    times.add(*time);
    echo_times.add(echo_time);
  }
  const std::string what = comparison.what + comparison.where;
  const std::string echoed = "TCP echo of the same sizes" + comparison.where;
  table.add({what + ", median", times.at(0.5), "us"});
  table.add({what + ", p99", times.at(0.99), "us"});
  table.add({echoed + ", median", echo_times.at(0.5), "us"});
  table.add({echoed + ", p99", echo_times.at(0.99), "us"});
  table.add(
      {"ratio of the medians" + comparison.where, times.at(0.5) / echo_times.at(0.5), "", 2, comparison.aim});
  table.add({"ratio of the p99" + comparison.where, times.at(0.99) / echo_times.at(0.99), "", 2});
  return true;
}

}  // namespace hark::bench
