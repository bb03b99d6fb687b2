// The commands call and drop.
#include <arpa/inet.h>

#include <algorithm>

#include "addressing/harkurl.h"
#include "tools/control/control_lines.h"
#include "tools/harkctl/commands.h"
#include "tools/harkctl/known_urls.h"
#include "tools/harkctl/station_state.h"
#include "tools/harkctl/text.h"

namespace hark::ctl {
namespace {

constexpr std::ptrdiff_t kListenLines = 8;
constexpr std::ptrdiff_t kTalkLines = 128;

struct Task {
  const Options& options;
  Asker asker;
  StationState state;
};

// Asks, and takes what came into the state.
Answer ask(Task& task, const std::vector<std::string>& lines) {
  Answer answer = task.asker.ask(lines);
  for (const std::string& line : answer.lines)
    task.state.receive(line);
  return answer;
}

std::string command_line(const Task& task, const std::string& url, char what) {
  std::string line = "CALL URL:" + control::quoted(url);
  if (task.options.listen) line += std::string(" LISTEN:") + what;
  if (task.options.talk) line += std::string(" TALK:") + what;
  return line;
}

const control::Call* find_call(const Task& task, const std::string& url) {
  const std::vector<control::Call>& calls = task.state.calls.calls();
  const auto found = std::find_if(calls.begin(), calls.end(), [&](const control::Call& call) {
    return hark_urlcompare(call.url.c_str(), url.c_str()) == 0;
  });
  return found == calls.end() ? nullptr : &*found;
}

bool is_number(const std::string& host) {
  in_addr address{};
  return ::inet_pton(AF_INET, host.substr(0, host.find(':')).c_str(), &address) == 1;
}

bool lines_are_full(const Task& task) {
  const std::vector<control::Call>& calls = task.state.calls.calls();
  const auto used = [&](char control::Call::*direction) {
    return std::count_if(calls.begin(), calls.end(),
                         [&](const control::Call& call) { return call.*direction != '0'; });
  };
  return (task.options.listen && used(&control::Call::listen) >= kListenLines) ||
         (task.options.talk && used(&control::Call::talk) >= kTalkLines);
}

// The station says no more than that it failed: what can be seen from here of the reasons that there are.
std::string why_failed(Task& task, const std::string& url) {
  const int type = harkurl_parse(url.c_str(), nullptr);
  if (type != HARKURL_STATION && type != HARKURL_QUILLNET) return "this is no address that it can call";
  const std::string address = address_of(url);
  if (type == HARKURL_STATION && !is_number(harkurl_address(address.c_str())))
    return "the address of a station must be a number";
  if (ask(task, {"SRC 1", "CALL"}).ok() && task.state.source.address.empty())
    return "it does not know its own source yet";
  return lines_are_full(task) ? "all its lines are in use" : "call failed";
}

int refused(Task& task, const std::string& url, const std::string& error) {
  complain("the station cannot call " + url + ": " +
           (error == "call failed" ? why_failed(task, url) : error));
  return kFailed;
}

void show(const Task& task, const control::Call& call, Output& out) {
  task.options.json ? out.json(call_json(call)) : out.line(printable(call.name) + ": " + call_states(call));
}

int call(Task& task, const std::string& url, Output& out) {
  const Answer answer = ask(task, {command_line(task, url, '1'), "CALL"});
  if (!answer.ok()) return complain_of(task.options.station, answer);
  if (const std::optional<std::string> error = answer.error()) return refused(task, url, *error);
  // It may be over already.
  control::Call over;
  over.url = url;
  over.name = control::name_of(url);
  const control::Call* now = find_call(task, url);
  show(task, now != nullptr ? *now : over, out);
  return kOk;
}

// A line ends 400 ms after it was told to: what is shown is what ends.
int drop(Task& task, const std::string& url, Output& out) {
  const control::Call* now = find_call(task, url);
  control::Call dropped = now != nullptr ? *now : control::Call{};
  const std::string name = now != nullptr ? now->name : control::name_of(url);
  const bool listen = task.options.listen && dropped.listen != '0';
  const bool talk = task.options.talk && dropped.talk != '0';
  const Answer answer = ask(task, {command_line(task, url, '0')});
  if (!answer.ok()) return complain_of(task.options.station, answer);
  if (const std::optional<std::string> error = answer.error()) {
    complain("the station cannot drop " + url + ": " + *error);
    return kFailed;
  }
  if (task.options.json) {
    out.json(
        {{"name", name}, {"url", now != nullptr ? dropped.url : url}, {"talk", talk}, {"listen", listen}});
  } else if (!listen && !talk) {
    out.line(printable(name) + ": was not up");
  } else {
    out.line(printable(name) + ": drops " + (talk ? "talk" : "") + (talk && listen ? " and " : "") +
             (listen ? "listen" : ""));
  }
  return kOk;
}

using FindParty = Party (*)(const std::string&, const std::vector<KnownUrl>&,
                            const std::vector<control::Call>&);

// Finds out who is meant, then does it.
int run(const Options& options, const std::string& root, FindParty find,
        int (*act)(Task&, const std::string&, Output&), Output& out) {
  Task task{options, Asker(options.station, options.timeout), {}};
  const Answer answer = ask(task, {"CALL"});
  if (!answer.ok()) return complain_of(options.station, answer);
  const Party party = find(options.party, known_urls(options.station.host, root), task.state.calls.calls());
  if (!party.fault.empty()) {
    complain(party.fault);
    return kFailed;
  }
  return act(task, party.url, out);
}

}  // namespace

int run_call(const Options& options, const std::string& root, Output& out) {
  return run(options, root, party_to_call, call, out);
}

int run_drop(const Options& options, const std::string& root, Output& out) {
  return run(options, root, party_to_drop, drop, out);
}

}  // namespace hark::ctl
