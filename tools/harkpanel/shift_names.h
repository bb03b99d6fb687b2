// Which shifts a page offers: those of the station's channel file where the gateway can read it, those that
// the station tells, and those that an operator has asked for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hark::panel_gateway {

inline constexpr std::size_t kMostShifts = 200;

class ShiftNames {
 public:
  // `channel_file`: path of the station's harkch.conf, empty: none.
  explicit ShiftNames(std::string channel_file = {}) : path_(std::move(channel_file)) {}

  // Looks whether the file has changed. True when names() has.
  bool look();
  // The station's own list; true when names() has changed.
  bool clear_told();
  bool add_told(std::string_view name);
  // Somebody has chosen it.
  bool choose(std::string_view name);
  // The station begins anew: what was chosen is not known any more.
  bool forget_choice();

  [[nodiscard]] std::vector<std::string> names() const;  // without doubles, in the order told above
  [[nodiscard]] const std::string& chosen() const { return chosen_; }

 private:
  std::string path_;
  std::string stamp_;  // of the file as last read: time, size and number
  std::vector<std::string> of_file_;
  std::vector<std::string> told_;
  std::vector<std::string> asked_;
  std::string chosen_;
};

}  // namespace hark::panel_gateway
