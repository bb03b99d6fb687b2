#include "tools/quillsim/far_script.h"

#include <array>
#include <optional>
#include <string>

#include "tools/quillsim/scanner.h"

namespace quillsim {

const char kFarScriptHelp[] =
    "and with a far device (--far-device)\n"
    "  far-set N \"ADDR\"\n"
    "                 somebody else sets destination N; \"1.2.3.4 <^PTT>\" plays another talker\n"
    "  far-silent on|off\n"
    "                 it takes lines without answering or doing anything\n"
    "  far-hang on|off\n"
    "                 it reads nothing more\n"
    "  far-refuse     nobody can connect any more\n"
    "  far-accept     they can again\n"
    "  far-cut        drops all its connections\n"
    "  far-send TEXT  sends the line to all who are connected\n"
    "  far-show       prints the destinations that carry something\n"
    "  wait-far N \"ADDR\"\n"
    "                 waits until destination N carries this\n";

namespace {

struct Setting {
  int dst = 0;
  std::string addr;
};

std::optional<Setting> only_setting(Scanner& in) {
  const std::optional<int> dst = take_number(in, 0, kMaxFarDestination);
  if (!dst || !in.skip(" ")) return std::nullopt;
  const std::optional<std::string> addr = in.quoted();
  if (!addr || !in.at_end()) return std::nullopt;
  return Setting{*dst, *addr};
}

Step set(Scanner& in, FarDevice& device) {
  const std::optional<Setting> setting = only_setting(in);
  if (!setting) return unknown_step();
  return done_or(device.set_address(setting->dst, setting->addr), "no destination of this number");
}

Step silent(Scanner& in, FarDevice& device) {
  const std::optional<bool> on = only_switch(in);
  if (!on) return unknown_step();
  device.set_answering(!*on);
  return {};
}

Step hang(Scanner& in, FarDevice& device) {
  const std::optional<bool> on = only_switch(in);
  if (!on) return unknown_step();
  device.set_reading(!*on);
  return {};
}

Step refuse(Scanner& in, FarDevice& device) {
  if (!in.at_end()) return unknown_step();
  device.stop_listening();
  return {};
}

Step accept(Scanner& in, FarDevice& device) {
  if (!in.at_end()) return unknown_step();
  return done_or(device.listening() || device.listen_again(), "its port cannot be had");
}

Step cut(Scanner& in, FarDevice& device) {
  if (!in.at_end()) return unknown_step();
  device.close_clients();
  return {};
}

Step send(Scanner& in, FarDevice& device) {
  return done_or(device.send(in.rest()), "no client is connected to the far device");
}

Step show(Scanner& in, FarDevice& device) {
  if (!in.at_end()) return unknown_step();
  Step step;
  step.out = device.describe();
  return step;
}

Step wait(Scanner& in, FarDevice& device) {
  const std::optional<Setting> setting = only_setting(in);
  if (!setting) return unknown_step();
  return wait_step([&device, setting = *setting] { return device.address(setting.dst) == setting.addr; });
}

constexpr std::array kDirectives = {
    Directive<FarDevice>{"far-set ", set},      Directive<FarDevice>{"far-silent ", silent},
    Directive<FarDevice>{"far-hang ", hang},    Directive<FarDevice>{"far-refuse", refuse},
    Directive<FarDevice>{"far-accept", accept}, Directive<FarDevice>{"far-cut", cut},
    Directive<FarDevice>{"far-send ", send},    Directive<FarDevice>{"far-show", show},
    Directive<FarDevice>{"wait-far ", wait},
};

}  // namespace

Step run_far_directive(std::string_view line, FarDevice* device) {
  return run_directive(line, device, kDirectives, "no far device is played (--far-device)");
}

}  // namespace quillsim
