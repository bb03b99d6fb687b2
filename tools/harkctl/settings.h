// The settings of a station (its HARK object) by name: what may be set, and what a line tells of them.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hark::ctl {

enum class SettingKind { kLabel, kNumber, kGain };

struct SettingName {
  const char* name;
  SettingKind kind;
};
// name, what its value is; in the order in which a station tells them
inline constexpr std::array<SettingName, 8> kSettings{{{"LABL", SettingKind::kLabel},
                                                       {"TRGL", SettingKind::kNumber},
                                                       {"TRGLA", SettingKind::kNumber},
                                                       {"DROPFLASH", SettingKind::kNumber},
                                                       {"DIML", SettingKind::kGain},
                                                       {"LATCH", SettingKind::kNumber},
                                                       {"EXTC", SettingKind::kNumber},
                                                       {"AANS", SettingKind::kNumber}}};

// Names and values, unescaped.
using Settings = std::vector<std::pair<std::string, std::string>>;

// The setting of this name, in any case; null when there is none.
[[nodiscard]] const SettingName* find_setting(std::string_view name);

// What is wrong with a value for that setting; empty: nothing.
[[nodiscard]] std::string fault_of(const SettingName& setting, std::string_view value);

// A value without fault as it goes to the station: without zeros in front, which make a number octal there.
[[nodiscard]] std::string plain_value(const SettingName& setting, std::string_view value);

// The line that sets them.
[[nodiscard]] std::string settings_line(const Settings& settings);

// Reads a line of the HARK object; empty when it is none, or tells nothing. AANS is always among them.
[[nodiscard]] Settings read_settings(const std::string& line);

// A value for people, as it may be written on harkctl's own command line.
[[nodiscard]] std::string setting_text(const std::string& name, const std::string& value);

// An object with a member for each; numbers are numbers.
[[nodiscard]] nlohmann::ordered_json settings_json(const Settings& settings);

}  // namespace hark::ctl
