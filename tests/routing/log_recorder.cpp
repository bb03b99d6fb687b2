#include "routing/log_recorder.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

#include "daemon/log/log.h"

namespace hark {

std::string log_cfgfile;
std::vector<std::string> logged;

int LoggedCount(const std::string& start) {
  return static_cast<int>(
      std::ranges::count_if(logged, [&](const std::string& line) { return line.starts_with(start); }));
}

int openlog(const char* /*ident*/, unsigned /*option*/, unsigned /*facility*/) { return 0; }
void closelog() {}

void syslog(int priority, const char* fmt, ...) {
  std::array<char, 4096> text{};
  va_list args;
  va_start(args, fmt);
  (void)std::vsnprintf(text.data(), text.size(), fmt, args);
  va_end(args);
  logged.push_back(std::to_string(priority) + " " + text.data());
}

}  // namespace hark
