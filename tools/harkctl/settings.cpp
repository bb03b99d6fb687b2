#include "tools/harkctl/settings.h"

#include <algorithm>
#include <charconv>

#include "base/text.h"
#include "tools/control/control_lines.h"
#include "tools/harkctl/options.h"

namespace hark::ctl {
namespace {

constexpr const char* kUntold = kSettings.back().name;

bool is_number(std::string_view text) {
  int value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  return read.ec == std::errc{} && read.ptr == text.data() + text.size();
}

bool is_control(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }

}  // namespace

const SettingName* find_setting(std::string_view name) {
  const auto* found = std::find_if(kSettings.begin(), kSettings.end(), [name](const SettingName& setting) {
    const std::string_view known = setting.name;
    return known.size() == name.size() && starts_with_nocase(known, name);
  });
  return found == kSettings.end() ? nullptr : found;
}

std::string fault_of(const SettingName& setting, std::string_view value) {
  const std::string name = setting.name;
  if (setting.kind == SettingKind::kLabel) {
    if (value.size() > kLongestLabel) return name + " has 10 bytes at most";
    if (std::any_of(value.begin(), value.end(), is_control)) return name + " must have no control characters";
    return {};
  }
  if (is_number(value) || (setting.kind == SettingKind::kGain && value == "*")) return {};
  return name + " must be a number" + (setting.kind == SettingKind::kGain ? ", or *" : "");
}

std::string plain_value(const SettingName& setting, std::string_view value) {
  std::string plain(value);
  const bool is_text = setting.kind == SettingKind::kLabel || !is_number(value);
  return is_text ? plain : std::to_string(parse_int(plain.c_str()));
}

std::string settings_line(const Settings& settings) {
  std::string line = "HARK";
  for (const auto& [name, value] : settings)
    line += " " + name + ":" + control::quoted(value);
  return line;
}

Settings read_settings(const std::string& line) {
  Settings settings;
  if (!line.starts_with("HARK ")) return settings;
  for (const SettingName& setting : kSettings) {
    if (const std::optional<std::string> value = control::tag_of(line, setting.name))
      settings.emplace_back(setting.name, *value);
  }
  // A station does not tell of an AANS of -1.
  const bool is_untold = !settings.empty() && settings.back().first != kUntold;
  if (is_untold) settings.emplace_back(kUntold, "-1");
  return settings;
}

std::string setting_text(const std::string& name, const std::string& value) {
  const SettingName* setting = find_setting(name);
  const bool is_label = setting != nullptr && setting->kind == SettingKind::kLabel;
  return name + "=" + (is_label ? control::quoted(value) : value);
}

nlohmann::ordered_json settings_json(const Settings& settings) {
  nlohmann::ordered_json object = nlohmann::ordered_json::object();
  for (const auto& [name, value] : settings) {
    if (is_number(value) && find_setting(name)->kind != SettingKind::kLabel) {
      object[name] = parse_int(value.c_str());
    } else {
      object[name] = value;
    }
  }
  return object;
}

}  // namespace hark::ctl
