#include "tools/control/line_splitter.h"

#include <utility>

#include "base/text.h"

namespace hark::control {

void LineSplitter::feed(std::string_view bytes, const std::function<void(const std::string&)>& line) {
  const unsigned cleared = cleared_;
  while (!bytes.empty()) {
    const auto end = bytes.find_first_of("\r\n");
    const std::string_view part = bytes.substr(0, end);
    if (rest_.size() + part.size() > kMaxLine) too_long_ = true;
    if (too_long_) {
      rest_.clear();
    } else {
      rest_.append(part);
    }
    if (end == std::string_view::npos) return;
    bytes.remove_prefix(end + 1);
    too_long_ = false;
    const std::string whole = std::exchange(rest_, {});
    if (!whole.empty()) line(whole);
    if (cleared_ != cleared) return;  // what is left came from the connection that is gone
  }
}

void LineSplitter::clear() {
  rest_.clear();
  too_long_ = false;
  ++cleared_;
}

}  // namespace hark::control
