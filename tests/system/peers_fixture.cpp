#include "system/peers_fixture.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

namespace hark::test {
namespace {

constexpr int kScenarioSeconds = 28;

// 127.x.y.z with 22 bits of the process id, as many as there are, and two bits for who it is. The first
// network is left to all others.
std::string own_address(unsigned who) {
  const auto pid = static_cast<unsigned>(::getpid());
  return "127." + std::to_string(1 + (pid >> 14) % 254) + "." + std::to_string(pid >> 6 & 255) + "." +
         std::to_string((pid & 63) * 4 + who);
}

StationOptions options() {
  StationOptions made;
  made.sip_ip = station_address();
  made.extra_args = {"-sip_port", std::to_string(kListenService - 1)};
  return made;
}

// As /proc/net/udp writes it: the address as the machine keeps it, the port.
std::string proc_text(const std::string& address, int port) {
  in_addr at{};
  EXPECT_EQ(::inet_pton(AF_INET, address.c_str(), &at), 1);
  std::array<char, 16> text{};
  (void)std::snprintf(text.data(), text.size(), "%08X:%04X", at.s_addr, static_cast<unsigned>(port));
  return text.data();
}

}  // namespace

std::string station_address() { return own_address(1); }
std::string peer_address() { return own_address(2); }

std::string installed(const std::string& program) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path != nullptr ? path : "");
  for (std::string folder; std::getline(folders, folder, ':');) {
    std::string file = folder + "/" + program;
    if (::access(file.c_str(), X_OK) == 0) return file;
  }
  return {};
}

testing::AssertionResult wait_bound(const std::string& address, int port) {
  const std::string wanted = " " + proc_text(address, port) + " ";
  const bool bound = wait_until([&] {
    std::ifstream table("/proc/net/udp");
    for (std::string line; std::getline(table, line);) {
      if (line.find(wanted) != std::string::npos) return true;
    }
    return false;
  });
  if (bound) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "nobody is bound to " << address << ":" << port;
}

testing::AssertionResult ends_with(Program& program, int status, int timeout_ms) {
  const int ended = program.wait_exit(timeout_ms);
  if (ended == status) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "ended with " << ended << " instead of " << status << ":\n"
                                     << program.output();
}

PeersTest::PeersTest(std::vector<std::string> programs)
    : StationTest(options()), programs_(std::move(programs)) {}

void PeersTest::SetUp() {
  for (const std::string& program : programs_) {
    if (!installed(program).empty()) continue;
    EndsItself();
    GTEST_SKIP() << program << " is not installed";
  }
  ASSERT_NO_FATAL_FAILURE(StartReadyForCalls());
  client = Connect();
  ASSERT_TRUE(wait_until([&] { return answers(client, "CALL") == Lines{"BEGIN", "END"}; }));
  sim->forget_records();
}

void PeersTest::TearDown() {
  if (!IsSkipped()) {
    EXPECT_TRUE(NoCallIsUp());
  }
  if (HasFailure()) {
    for (const std::string& name : station.root().files()) {
      if (name.starts_with("peer") && !name.ends_with(".pcap"))
        std::cerr << "== " << name << "\n" << station.root().read(name) << "\n";
    }
  }
  StationTest::TearDown();
}

Program PeersTest::Caller(const std::string& scenario, const SippOptions& options) {
  const std::string name = "peer" + std::to_string(runs_);
  std::vector<std::string> words = {"sipp",
                                    "-sf",
                                    std::string(PEERS_DIR) + "/" + scenario,
                                    "-i",
                                    peer,
                                    "-p",
                                    "5060",
                                    "-m",
                                    "1",
                                    "-nostdin",
                                    "-timeout",
                                    std::to_string(kScenarioSeconds),
                                    "-timeout_error",
                                    "-trace_err",
                                    "-error_file",
                                    station.root().file(name + ".err"),
                                    "-trace_msg",
                                    "-message_file",
                                    station.root().file(name + ".msg"),
                                    "-s",
                                    options.service,
                                    "-key",
                                    "caller",
                                    options.caller,
                                    "-key",
                                    "codec",
                                    options.codec,
                                    "-key",
                                    "number",
                                    options.number};
  words.insert(words.end(), options.extra.begin(), options.extra.end());
  words.push_back(station.sip_ip() + ":" + std::to_string(options.port));
  return Run(std::move(words));
}

Program PeersTest::Callee(const std::string& scenario, int port, const std::vector<std::string>& extra) {
  const std::string name = "peer" + std::to_string(runs_);
  std::vector<std::string> words = {"sipp",
                                    "-sf",
                                    std::string(PEERS_DIR) + "/" + scenario,
                                    "-i",
                                    peer,
                                    "-p",
                                    std::to_string(port),
                                    "-m",
                                    "1",
                                    "-nostdin",
                                    "-timeout",
                                    std::to_string(kScenarioSeconds),
                                    "-timeout_error",
                                    "-trace_err",
                                    "-error_file",
                                    station.root().file(name + ".err"),
                                    "-trace_msg",
                                    "-message_file",
                                    station.root().file(name + ".msg"),
                                    "-key",
                                    "codec",
                                    "L24/48000/2",
                                    "-key",
                                    "number",
                                    "96"};
  words.insert(words.end(), extra.begin(), extra.end());
  Program callee = Run(std::move(words));
  EXPECT_TRUE(wait_bound(peer, port)) << callee.output();
  return callee;
}

Program PeersTest::Run(std::vector<std::string> words) {
  return {std::move(words), station.root().file("peer" + std::to_string(runs_++) + ".out")};
}

void PeersTest::Call(const std::string& url, const std::string& what) {
  ASSERT_TRUE(client.send_line("CALL URL:\"" + url + "\" " + what));
}

testing::AssertionResult PeersTest::Reported(const std::string& url, const std::string& what) {
  return client.skip_to("CALL URL:\"" + url + "\" " + what);
}

testing::AssertionResult PeersTest::NoCallIsUp() {
  Client other = Connect("127.0.0.2");
  Lines calls;
  if (wait_until([&] { return (calls = answers(other, "CALL")) == Lines{"BEGIN", "END"}; })) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "still there: " << testing::PrintToString(calls);
}

testing::AssertionResult PeersTest::MixerGets(const std::string& source) const {
  return sim.wait_received("set hark#1.sub#1.in#1 src_id=\"" + source + "\", gain=0");
}

}  // namespace hark::test
