// The calls that are up at a station, kept from what its CALL object says: the list that a subscription is
// answered by, and each report behind it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/control/control_lines.h"

namespace hark::control {

// Calls beyond these are left out: no station has as many lines.
inline constexpr std::size_t kMostCalls = 256;

struct Call {
  std::string url;
  std::string name;
  char talk = '0';
  char listen = '0';
  int volume = 0;  // of the listen line, tenths of a dB

  // The far end asks for it, and waits for an answer.
  [[nodiscard]] bool rings() const { return talk == 'R' || listen == 'R'; }
  bool operator==(const Call&) const = default;
};

class CallList {
 public:
  // A line from the station. True when it changed what calls() gives. BEGIN and END around a list replace all
  // that was known; a batch with any other line in it is another object's, and changes nothing. Nor does a
  // line that has nothing to do with calls.
  bool receive(const std::string& line);
  // Nothing is known any more: the station was lost.
  void clear();

  // In the order in which they came, one for each address. A call goes when both of its directions are off.
  [[nodiscard]] const std::vector<Call>& calls() const { return calls_; }

 private:
  bool end_list();

  std::vector<Call> calls_;
  std::vector<Call> listed_;  // between BEGIN and END
  bool listing_ = false;
  bool foreign_ = false;  // a line between them was none of a call
};

}  // namespace hark::control
