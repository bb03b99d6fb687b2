// The command health: one check after the other, each with a line that says how it went.
#include <algorithm>
#include <array>

#include "tools/harkctl/commands.h"
#include "tools/harkctl/sip_probe.h"
#include "tools/harkctl/station_state.h"
#include "tools/harkctl/text.h"

namespace hark::ctl {
namespace {

struct Check {
  std::string name;
  bool ok = false;
  std::string text;  // what is there, or what is wrong
};

void check_control(const Answer& answer, std::vector<Check>& checks) {
  if (!answer.ok()) {
    checks.push_back({"control", false, answer.why});
    checks.push_back({"source", false, "not known: the control port gives no answer"});
    return;
  }
  StationState state;
  for (const std::string& line : answer.lines)
    state.receive(line);
  checks.push_back({"control", true, "answers, version " + state.version});
  const bool has_source = !state.source.address.empty();
  checks.push_back({"source", has_source,
                    has_source ? state.source.address : "the station does not know its own source (SRC 1)"});
}

void check_services(const Options& options, std::vector<Check>& checks) {
  const auto place = [&](int above) {
    return control::HostPort{options.sip.host, static_cast<std::uint16_t>(options.sip.port + above)};
  };
  // service, its port above the base
  std::array<SipProbe, 2> probes{SipProbe("hark-listen", place(1)), SipProbe("hark-talk", place(2))};
  ask_services(probes, options.timeout);
  for (const SipProbe& probe : probes) {
    const bool there = probe.status() != 0;
    const std::string text = there ? "answers with " + std::to_string(probe.status()) : probe.why();
    checks.push_back({probe.service(), there, text + " at " + probe.place()});
  }
}

void show(const Options& options, const std::vector<Check>& checks, bool healthy, Output& out) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  std::vector<std::vector<std::string>> rows;
  for (const Check& check : checks) {
    list.push_back({{"check", check.name}, {"ok", check.ok}, {"text", check.text}});
    rows.push_back({check.ok ? "ok" : "FAILED", check.name, printable(check.text)});
  }
  if (options.json) {
    out.json({{"station", control::to_text(options.station)}, {"healthy", healthy}, {"checks", list}});
    return;
  }
  for (const std::string& line : aligned(rows))
    out.line(line);
}

}  // namespace

// What is asked by UDP has a time of its own: a control port that is silent takes nothing away from it.
int run_health(const Options& options, Output& out) {
  const Answer answer = Asker(options.station, options.timeout).ask({"SRC 1"});
  if (answer.reach == Reach::kNotReached) return complain_of(options.station, answer);
  std::vector<Check> checks;
  check_control(answer, checks);
  check_services(options, checks);
  const bool healthy = std::all_of(checks.begin(), checks.end(), [](const Check& check) { return check.ok; });
  show(options, checks, healthy, out);
  return healthy ? kOk : kFailed;
}

}  // namespace hark::ctl
