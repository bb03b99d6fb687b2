#include "system/sip_station.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace hark::test {
namespace {

constexpr unsigned kAddressesOfAProcess = 8;

quillsim::SimOptions routing_options() { return {.supv_line = "SUPV CONSOLE_IP:none", .greeting = {}}; }

StationOptions options_at(const std::string& address, int routing_port) {
  // Others call at fixed ports, those behind the usual base.
  return {.routing_port = routing_port, .sip_ip = address, .extra_args = {"-sip_port", "5060"}};
}

// The address in a URL of a station, with or without a name, marks and tags.
std::string address_in(const std::string& line) {
  const std::size_t start = line.find("hark:");
  if (start == std::string::npos) return {};
  const std::size_t begin = start + 5;
  return line.substr(begin, line.find_first_of(";>\"", begin) - begin);
}

bool is_volume(const CallReport& report) { return report.what.starts_with("VOLUME:"); }

}  // namespace

std::string own_address(int number) {
  const unsigned mine =
      static_cast<unsigned>(::getpid()) * kAddressesOfAProcess + static_cast<unsigned>(number);
  const unsigned host = (mine ^ 0x800000U) & 0xffffffU;  // far from 127.0.0.1, which everybody uses
  return "127." + std::to_string(host >> 16U) + "." + std::to_string(host >> 8U & 0xffU) + "." +
         std::to_string(host & 0xffU);
}

std::vector<CallReport> reports_of(const std::string& line) {
  std::vector<CallReport> reports;
  const std::size_t quote = line.rfind('"');
  if (!line.starts_with("CALL URL:") || quote == std::string::npos) return reports;
  const std::string far = address_in(line);
  for (std::size_t at = quote + 1; at < line.size();) {
    const std::size_t begin = line.find_first_not_of(' ', at);
    if (begin == std::string::npos) break;
    at = std::min(line.find(' ', begin), line.size());
    reports.push_back({far, line.substr(begin, at - begin)});
  }
  return reports;
}

// It is served only when its answer has come.
bool CallWatch::connect(int port, const std::string& source, const std::string& address) {
  client_.close();
  all_.clear();
  reports_.clear();
  Client client;
  if (!client.connect(port, source, address) || !client.send_line("SUB CALL")) return false;
  if (!client.skip_to("END")) return false;
  client_ = std::move(client);
  return true;
}

void CallWatch::catch_up() {
  const int want = answers_ + 1;
  if (!client_.connected()) return;
  EXPECT_TRUE(client_.send_line("VER"));
  EXPECT_TRUE(wait_until([&] { return answers_ >= want; }, kSipWaitMs)) << "the watch is not answered";
}

Lines CallWatch::told(const std::string& far) const {
  Lines lines;
  for (const CallReport& report : reports_) {
    if (report.far == far && !is_volume(report)) lines.push_back(report.what);
  }
  return lines;
}

std::string CallWatch::letter(const std::string& far, const std::string& direction) const {
  const std::string start = direction + ":";
  const auto found = std::find_if(all_.rbegin(), all_.rend(), [&](const CallReport& report) {
    return report.far == far && report.what.starts_with(start);
  });
  return found == all_.rend() ? "0" : found->what.substr(start.size());
}

bool CallWatch::was(const std::string& far, const std::string& what) const {
  return std::find(reports_.begin(), reports_.end(), CallReport{far, what}) != reports_.end();
}

void CallWatch::fill(fd_set& read, fd_set&, int& highest) const {
  if (client_.connected()) (void)fdset_add(client_.fd(), read, highest);
}

void CallWatch::serve(const fd_set& read, const fd_set&) {
  if (!client_.connected() || !fdset_has(client_.fd(), read)) return;
  while (client_.has_line()) {
    const std::string line = client_.read_line().value_or("");
    if (line == kVersion) ++answers_;
    for (CallReport& report : reports_of(line)) {
      all_.push_back(report);
      reports_.push_back(std::move(report));
    }
  }
}

SipStation::SipStation(int number, std::string label)
    : sim(routing_options()),
      station(options_at(own_address(number), sim.port())),
      label_(std::move(label)),
      media_("239.192.0." + std::to_string(number + 1) + ":5004") {}

testing::AssertionResult SipStation::start() {
  if (station.settings().empty()) {
    // A short flash, so that a test need not wait for its end.
    station.write_settings("HARK LABL:\"" + label_ + "\" DROPFLASH:300\nSRC 1 PSNM:\"Main\" RTPA:\"" +
                           media_ + "\"\n");
  }
  if (testing::AssertionResult started = station.start(); !started) return started;
  if (testing::AssertionResult made = sim.wait_mixer(); !made) return made;
  return connect();
}

testing::AssertionResult SipStation::connect() {
  if (!client.connect(station.ctrl_port())) return testing::AssertionFailure() << "no client at " << label_;
  let_it_settle(client);
  if (!watch.connect(station.ctrl_port())) return testing::AssertionFailure() << "no watch at " << label_;
  return testing::AssertionSuccess();
}

void SipStation::command(const std::string& line) {
  EXPECT_EQ(answers(client, line), Lines{}) << label_ << ": " << line;
}

void SipStation::call(const std::string& far, const std::string& what) {
  command("CALL URL:\"hark:" + far + "\" " + what);
}

testing::AssertionResult SipStation::shows(const std::string& far, const std::string& what, int timeout_ms) {
  const std::size_t colon = what.find(':');
  const bool in_time = wait_until(
      [&] {
        return watch.was(far, what) || watch.letter(far, what.substr(0, colon)) == what.substr(colon + 1);
      },
      timeout_ms);
  if (in_time) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << label_ << " never showed " << far << " " << what << ", but:";
  for (const CallReport& report : watch.reports())
    failure << "\n  " << report.far << " " << report.what;
  return failure;
}

Lines SipStation::list() {
  Lines lines = answers(client, "CALL");
  // Who read the list has subscribed: what comes behind it is for the watch.
  (void)answers(client, "UNSUB CALL");
  watch.catch_up();
  const auto end = std::find(lines.begin(), lines.end(), "END");
  if (end == lines.end() || lines.front() != "BEGIN") return {"no list"};
  return {lines.begin() + 1, end};
}

testing::AssertionResult SipStation::becomes_free(int timeout_ms) {
  Lines lines;
  const bool in_time = wait_until(
      [&] {
        lines = list();
        return lines.empty();
      },
      timeout_ms);
  if (in_time) return testing::AssertionSuccess();
  return testing::AssertionFailure() << label_ << " still has " << testing::PrintToString(lines);
}

Lines SipStation::heard() const {
  Lines sources;
  for (const auto& [number, input] : sim->mixer().sub(quillsim::kSubSpeaker).inputs) {
    if (!input.src_id.empty()) sources.push_back(input.src_id);
  }
  return sources;
}

testing::AssertionResult SipStation::hears(const Lines& sources, int timeout_ms) const {
  if (wait_until([&] { return heard() == sources; }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << label_ << " hears " << testing::PrintToString(heard())
                                     << " instead of " << testing::PrintToString(sources);
}

void SipTest::SetUp() {
  ASSERT_TRUE(a.start());
  ASSERT_TRUE(b.start());
}

void SipTest::TearDown() {
  for (SipStation* each : {&a, &b}) {
    SCOPED_TRACE(each->label());
    EXPECT_TRUE(ended_well(each->station, expected_log_));
    EXPECT_TRUE(each->sim.refused_nothing());
  }
}

void SipTest::Talk(SipStation& from, SipStation& to) {
  from.watch.forget();
  to.watch.forget();
  from.call(to, "TALK:1");
  ASSERT_TRUE(to.shows(from, "LISTEN:R"));
  to.call(from, "LISTEN:1");
  ASSERT_TRUE(from.shows(to, "TALK:1"));
  ASSERT_TRUE(to.shows(from, "LISTEN:1"));
}

void SipTest::Listen(SipStation& from, SipStation& to) {
  from.watch.forget();
  to.watch.forget();
  from.call(to, "LISTEN:1");
  ASSERT_TRUE(to.shows(from, "TALK:R"));
  to.call(from, "TALK:1");
  ASSERT_TRUE(from.shows(to, "LISTEN:1"));
  ASSERT_TRUE(to.shows(from, "TALK:1"));
}

void SipTest::BothFree(int timeout_ms) {
  EXPECT_TRUE(a.becomes_free(timeout_ms));
  EXPECT_TRUE(b.becomes_free(timeout_ms));
  EXPECT_TRUE(a.hears({}));
  EXPECT_TRUE(b.hears({}));
}

}  // namespace hark::test
