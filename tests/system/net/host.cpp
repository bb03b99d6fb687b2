#include "system/net/host.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>

#include "system/support/pump.h"

namespace hark::test {
namespace {

constexpr char kServices[] = "avahi/services";

std::string hardware_address(Segment segment, int number) {
  std::array<char, 18> text{};
  (void)std::snprintf(text.data(), text.size(), "02:77:00:00:%02x:%02x", static_cast<unsigned>(segment),
                      static_cast<unsigned>(number) & 0xffU);
  return text.data();
}

bool is_there(const std::string& events) { return !events.empty() && events.back() == '+'; }

}  // namespace

Host::Host(const TestNet& net, int number) : number_(number), address_(TestNet::address_of(number)) {
  if (!net.why_not().empty()) return;
  for (const char* folder : {"run/dbus", "run/avahi-daemon", kServices, "output"})
    std::filesystem::create_directories(files_.file(folder));
  files_.write("run/bus.conf", bus_config());
  spaces_ = make_name_spaces({{files_.file("run"), "/run"}, {files_.file("avahi"), "/etc/avahi"}});
  if (!spaces_.network.is_open() || !spaces_.mounts.is_open()) return;
  made_ = plug(Segment::kFirst, "eth0") && ip("link set lo up\n") && move_to(number_);
}

// The network goes when its last socket has; the cables shall not wait for that.
Host::~Host() {
  if (!made_) return;
  (void)ip_commands("link delete " + port_of(Segment::kFirst) + "\n");
  if (interfaces_ != "eth0") (void)ip_commands("link delete " + port_of(Segment::kSecond) + "\n");
}

testing::AssertionResult Host::made() const {
  if (made_) return testing::AssertionSuccess();
  return testing::AssertionFailure() << name() << " could not be made";
}

std::string Host::station_name() const {
  std::array<char, 10> text{};
  (void)std::snprintf(text.data(), text.size(), "IC %06X", static_cast<unsigned>(number_));
  return text.data();
}

std::function<void()> Host::entry() const {
  return [this] { enter_for_good(spaces_); };
}

Program Host::run(std::vector<std::string> words) { return {std::move(words), output_file(), entry()}; }

std::string Host::output_of(std::vector<std::string> words, int timeout_ms) {
  Program program = run(std::move(words));
  (void)program.wait_exit(timeout_ms);
  return program.output();
}

bool Host::ip(const std::string& commands) const {
  const NetworkScope inside = scope();
  return ip_commands(commands);
}

// The kernel forgets the route of a link that goes down.
bool Host::bring_up() const {
  return ip("link set eth0 up\nroute replace 224.0.0.0/4 dev eth0\n") &&
         wait_forwarding(port_of(Segment::kFirst));
}

bool Host::move_to(int number) {
  address_ = TestNet::address_of(number);
  return ip("address flush dev eth0\naddress add " + address_ + "/24 dev eth0\n") && bring_up();
}

bool Host::replug(int number) {
  return ip_commands("link delete " + port_of(Segment::kFirst) + "\n") && plug(Segment::kFirst, "eth0") &&
         move_to(number);
}

bool Host::add_second_interface() {
  interfaces_ = "eth0,eth1";
  return plug(Segment::kSecond, "eth1") &&
         ip("address add " + TestNet::address_of(number_, Segment::kSecond) +
            "/24 dev eth1\nlink set eth1 up\n") &&
         wait_forwarding(port_of(Segment::kSecond));
}

bool Host::turn_ipv6_on() {
  ipv6_ = true;
  const NetworkScope inside = scope();
  set_ipv6(true);
  // The address is no good before the kernel has asked whether another has it.
  const std::string command = "ip -oneline -6 address show dev eth0 -tentative";
  return ip_commands("link set eth0 down\nlink set eth0 up\nroute replace 224.0.0.0/4 dev eth0\n") &&
         wait_until([&] {
           const std::unique_ptr<std::FILE, int (*)(std::FILE*)> answer(::popen(command.c_str(), "re"),
                                                                        ::pclose);
           std::array<char, 1> byte{};
           return answer && std::fread(byte.data(), 1, byte.size(), answer.get()) > 0;
         });
}

std::string Host::port_of(Segment segment) const {
  return "p" + std::to_string(number_) + "s" + std::to_string(static_cast<int>(segment));
}

// A cable from the segment's bridge to a new interface.
bool Host::plug(Segment segment, const std::string& interface) const {
  const std::string port = port_of(segment);
  const std::string network =
      "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(spaces_.network.get());
  return ip_commands("link add name " + port + " type veth peer name " + interface + " address " +
                     hardware_address(segment, number_) + " netns " + network + "\nlink set " + port +
                     " master " + TestNet::bridge_of(segment) + " up\n");
}

std::string Host::output_file() { return files_.file("output/" + std::to_string(++outputs_)); }

testing::AssertionResult Host::start_bus() {
  bus_ = Program({"dbus-daemon", "--config-file=/run/bus.conf", "--nofork", "--nopidfile", "--print-address"},
                 output_file(), entry());
  // It tells its address when it listens.
  const auto listens = [this] { return bus_.said("unix:path="); };
  if (wait_until([&] { return listens() || !bus_.alive(); }) && listens()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "no system bus on " << name() << ":\n" << bus_.output();
}

void Host::launch_avahi() {
  files_.write("run/avahi.conf", avahi_config(name(), interfaces_, ipv6_));
  avahi_ = Program({"avahi-daemon", "--file=/run/avahi.conf", "--no-drop-root", "--no-chroot", "--no-rlimits",
                    "--no-proc-title"},
                   output_file(), entry());
}

testing::AssertionResult Host::wait_avahi() {
  const auto ready = [this] { return avahi_.said("Server startup complete"); };
  if (wait_until([&] { return ready() || !avahi_.alive(); }) && ready()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "no DNS-SD daemon on " << name() << ":\n" << avahi_.output();
}

testing::AssertionResult Host::start_avahi() {
  launch_avahi();
  return wait_avahi();
}

void Host::pause_avahi() { avahi_.send_signal(SIGSTOP); }

void Host::resume_avahi() { avahi_.send_signal(SIGCONT); }

testing::AssertionResult Host::start_discovery() {
  testing::AssertionResult bus = start_bus();
  return bus ? start_avahi() : bus;
}

void Host::announce(const std::vector<Announced>& services) {
  int count = 0;
  for (const Announced& service : services)
    files_.write(std::string(kServices) + "/" + std::to_string(++count) + ".service", service_file(service));
}

Program Host::publisher(const Announced& service) {
  std::vector<std::string> words = {"avahi-publish", "-s",         "--",
                                    service.name,    service.type, std::to_string(service.port)};
  words.insert(words.end(), service.txt.begin(), service.txt.end());
  return run(std::move(words));
}

Program Host::publish(const Announced& service) { return std::move(publish_all({service}).front()); }

// Settling a name takes a second, which passes for all together.
std::vector<Program> Host::publish_all(const std::vector<Announced>& services) {
  std::vector<Program> programs;
  programs.reserve(services.size());
  for (const Announced& service : services)
    programs.push_back(publisher(service));
  for (const Program& program : programs)
    EXPECT_TRUE(wait_until([&] { return program.said("Established under name"); })) << program.output();
  return programs;
}

std::vector<Sighting> Host::look(const std::string& type) {
  return sightings_of(output_of({"avahi-browse", "-rptk", type}));
}

Witness::Witness(Host& host, const std::string& type) : browse_(host.run({"avahi-browse", "-rpk", type})) {}

std::string Witness::events(const std::string& name) const {
  std::string text;
  for (const Sighting& sighting : seen()) {
    if (sighting.name == name && sighting.event != '=') text += sighting.event;
  }
  return text;
}

std::vector<std::string> Witness::names() const {
  std::set<std::string> there;
  for (const Sighting& sighting : seen()) {
    if (sighting.event == '+') there.insert(sighting.name);
    if (sighting.event == '-') there.erase(sighting.name);
  }
  return {there.begin(), there.end()};
}

testing::AssertionResult Witness::wait_there(const std::string& name, int timeout_ms) const {
  if (wait_until([&] { return is_there(events(name)); }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "never seen: " << name << "\n" << browse_.output();
}

testing::AssertionResult Witness::wait_gone(const std::string& name, int timeout_ms) const {
  if (wait_until([&] { return !is_there(events(name)); }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "still there: " << name << "\n" << browse_.output();
}

}  // namespace hark::test
