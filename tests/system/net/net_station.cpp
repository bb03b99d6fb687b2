#include "system/net/net_station.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>

#include "system/support/pump.h"

namespace hark::test {
namespace {

// Names no console, and takes none away.
quillsim::SimOptions routing_options() { return {.supv_line = "SUPV CONSOLE_IP:none", .greeting = {}}; }

// A line of the file that names a station begins at its margin.
bool is_name_line(const std::string& line) { return !line.empty() && line[0] != '\t'; }
std::string name_of(const std::string& line) { return line.substr(0, line.find(" <")); }

std::vector<std::string> lines_of_text(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

}  // namespace

NetStation::NetStation(const TestNet& net, int number)
    : host(net, number),
      sim(routing_options(), net.address()),
      station({.routing_port = sim.port(), .nic = "eth0", .enter = host.entry()}) {
  // A routing daemon on another machine than the station's own can be told in the option file only.
  station.write_harkd_conf("qnr_port " + net.address() + ":" + std::to_string(sim.port()) + "\n");
}

testing::AssertionResult NetStation::start() {
  if (testing::AssertionResult made = host.made(); !made) return made;
  if (testing::AssertionResult started = station.start(); !started) return started;
  return sim.wait_mixer();
}

bool NetStation::connect(Client& client) const {
  return client.connect(station.ctrl_port(), TestNet::address_of(1), host.address());
}

std::string NetStation::entry(const std::string& name) const {
  std::string text;
  bool here = false;
  for (const std::string& line : lines_of_text(table())) {
    if (is_name_line(line)) here = name_of(line) == name;
    if (here) text += line + "\n";
  }
  return text;
}

std::vector<std::string> NetStation::found() const {
  std::vector<std::string> names;
  for (const std::string& line : lines_of_text(table())) {
    if (is_name_line(line)) names.push_back(name_of(line));
  }
  std::sort(names.begin(), names.end());
  return names;
}

testing::AssertionResult NetStation::wait_entry(const std::string& name, const std::string& want,
                                                int timeout_ms) const {
  if (wait_until([&] { return entry(name) == want; }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the file never said:\n"
                                     << (want.empty() ? "nothing of " + name : want) << "\nit says:\n"
                                     << table();
}

testing::AssertionResult NetStation::wait_found(std::size_t count, int timeout_ms) const {
  if (wait_until([&] { return found().size() == count; }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "there are not " << count << " stations, but " << found().size()
                                     << ":\n"
                                     << table();
}

std::string NetStation::own_entry(const std::string& alt, int trgl) const {
  return host.station_name() + " <hark:" + host.address() + ">;trgl=" + std::to_string(trgl) + "\n\talt " +
         alt + "\n\tharkd " + std::to_string(station.ctrl_port()) + "\n\trtpa 239.192.0.77\n";
}

testing::AssertionResult NetStation::logged(std::string_view text, int times, int timeout_ms) const {
  if (wait_until([&] { return log_count(text) >= times; }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "logged " << log_count(text) << " times instead of " << times << ": "
                                     << text << "\n"
                                     << station.stderr_text();
}

int NetStation::log_count(std::string_view text) const {
  const std::string log = station.stderr_text();
  int count = 0;
  for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
    ++count;
  return count;
}

int NetStation::threads() const {
  std::error_code error;
  const std::filesystem::directory_iterator tasks("/proc/" + std::to_string(station.pid()) + "/task", error);
  return error ? -1 : static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

}  // namespace hark::test
