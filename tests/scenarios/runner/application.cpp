#include "scenarios/runner/application.h"

#include <algorithm>

#include "scenarios/runner/pattern.h"

namespace hark::test {

void Application::Tell(Told told) {
  const std::string text = told.text;
  told_.push_back(std::move(told));
  const auto at =
      std::find_if(inside_.begin(), inside_.end(), [&](const auto& one) { return one.first == text; });
  if (at == inside_.end()) return;
  const Step command = at->second;
  inside_.erase(at);
  Command(command, call_);
}

Variables Options(const std::string& text, const Variables& addresses, int line) {
  Variables options;
  std::string rest = Expand(text, addresses, line);
  while (!rest.empty()) {
    const std::string word = TakeWord(rest);
    const std::size_t equals = word.find('=');
    options[word.substr(0, equals)] = equals == std::string::npos ? "yes" : word.substr(equals + 1);
  }
  return options;
}

}  // namespace hark::test
