#include "tools/control/call_list.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "addressing/harkurl.h"

namespace hark::control {
namespace {

constexpr char kOff = '0';

// Enters `report` in `calls`. True when they changed.
bool enter(const CallReport& report, std::vector<Call>& calls) {
  // The station knows a call by its address: each of its two directions has the tags that it was made with.
  auto at = std::find_if(calls.begin(), calls.end(), [&](const Call& known) {
    return hark_urlcompare(known.url.c_str(), report.url.c_str()) == 0;
  });
  const bool is_known = at != calls.end();
  Call call = is_known ? *at : Call{.url = report.url, .name = name_of(report.url)};
  call.talk = report.talk.value_or(call.talk);
  call.listen = report.listen.value_or(call.listen);
  call.volume = report.volume.value_or(call.volume);
  const bool is_up = call.talk != kOff || call.listen != kOff;
  if (is_known ? call == *at : !is_up || calls.size() == kMostCalls) return false;
  if (!is_up) {
    calls.erase(at);
  } else if (is_known) {
    *at = std::move(call);
  } else {
    calls.push_back(std::move(call));
  }
  return true;
}

}  // namespace

bool CallList::receive(const std::string& line) {
  if (line == "BEGIN") {
    listing_ = true;
    foreign_ = false;
    listed_.clear();
    return false;
  }
  if (line == "END") return end_list();
  const std::optional<CallReport> report = read_call(line);
  if (!listing_) return report && enter(*report, calls_);
  if (report) {
    enter(*report, listed_);
  } else {
    foreign_ = true;
  }
  return false;
}

// What stood between BEGIN and END is all that is up, unless it was a list of something else.
bool CallList::end_list() {
  const bool is_news = std::exchange(listing_, false) && !foreign_ && listed_ != calls_;
  if (is_news) calls_.swap(listed_);
  listed_.clear();
  return is_news;
}

void CallList::clear() {
  calls_.clear();
  listed_.clear();
  listing_ = false;
}

}  // namespace hark::control
