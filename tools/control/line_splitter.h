// Cuts bytes that come in any pieces into lines, at any run of CR and LF. A line beyond the station's limit
// is dropped whole: nothing that a station says is so long.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace hark::control {

class LineSplitter {
 public:
  // Calls `line` for each whole line in what has come so far; empty ones are left out. `line` may call
  // clear(), which drops what is left of `bytes` too.
  void feed(std::string_view bytes, const std::function<void(const std::string&)>& line);
  // Forgets the part of a line that waits for its end.
  void clear();

 private:
  std::string rest_;
  bool too_long_ = false;
  unsigned cleared_ = 0;  // tells feed() that its callback has called clear()
};

}  // namespace hark::control
