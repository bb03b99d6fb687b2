#include "scenarios/runner/expect.h"

#include <algorithm>
#include <map>
#include <vector>

#include "scenarios/runner/pattern.h"

namespace hark::test {
namespace {

// Takes "(METHOD)" off the end of a start line.
std::string take_method(std::string& start) {
  const std::size_t open = start.rfind('(');
  if (open == std::string::npos || !start.ends_with(")")) return "";
  const std::string method = start.substr(open + 1, start.size() - open - 2);
  start = Trim(start.substr(0, open));
  return method;
}

// What a start line may leave out, a reason or a URI, may be anything.
std::string whole_start(const std::string& start, bool is_response) {
  const bool is_short = start.find(' ') == std::string::npos;
  if (start.ends_with(" \"\"")) return "SIP/2.0 " + start.substr(0, start.size() - 2);
  if (is_response) return "SIP/2.0 " + start + (is_short ? " *" : "");
  return start + (is_short ? " * SIP/2.0" : " SIP/2.0");
}

class Comparison {
 public:
  Comparison(const SipText& message, const Variables& known, Variables& captured)
      : message_(message), known_(known), captured_(captured) {}

  void Start(const Step& step) {
    std::string start = step.text;
    const std::string method = take_method(start);
    const bool is_response = !start.empty() && start.front() >= '0' && start.front() <= '9';
    ExpectText(whole_start(start, is_response), message_.start, known_, captured_, step.line);
    if (!method.empty()) ExpectText(method, message_.method(), known_, captured_, step.line);
  }

  void Detail(const Line& detail) {
    const std::string& text = detail.text;
    if (text == "-body") {
      ExpectText("", message_.body, known_, captured_, detail.number);
    } else if (text.front() == '-') {
      ExpectText("", message_.get(text.substr(1)), known_, captured_, detail.number);
    } else if (text.starts_with("| ")) {
      BodyLine(detail.number, text.substr(2));
    } else if (text.starts_with("sdp:")) {
      ExpectText(Trim(text.substr(4)), EntriesOf(message_.body), known_, captured_, detail.number);
    } else {
      Header(detail.number, text);
    }
  }

 private:
  void Header(int line, const std::string& text) {
    const std::string name = text.substr(0, text.find(':'));
    const std::vector<std::string> values = message_.all(name);
    const std::size_t at = seen_[name]++;
    if (at >= values.size()) throw Failure{line, "there is no such " + name + " in\n" + message_.Wire()};
    ExpectText(Trim(text.substr(std::min(text.size(), name.size() + 1))), values[at], known_, captured_,
               line);
  }

  void BodyLine(int line, const std::string& pattern) {
    Variables all = known_;
    for (const auto& [name, value] : captured_)
      all[name] = value;
    for (const std::string& one : Split(message_.body, '\n'))
      if (Matches(pattern, one, all, line)) return Capture(pattern, all);
    throw Failure{line, "there is no such line in the body:\n" + message_.body};
  }

  void Capture(const std::string& pattern, const Variables& all) {
    for (const std::string& name : CapturedNames(pattern))
      captured_[name] = all.at(name);
  }

  const SipText& message_;
  const Variables& known_;
  Variables& captured_;
  std::map<std::string, std::size_t> seen_;
};

}  // namespace

void ExpectText(const std::string& pattern, const std::string& text, const Variables& known,
                Variables& captured, int line) {
  Variables all = known;
  for (const auto& [name, value] : captured)
    all[name] = value;
  if (!Matches(pattern, text, all, line))
    throw Failure{line, "expected: " + pattern + "\ncame:     " + (text.empty() ? "nothing" : text)};
  for (const std::string& name : CapturedNames(pattern))
    captured[name] = all[name];
}

void ExpectFact(const Line& detail, const Variables& facts, const Variables& known, Variables& captured) {
  const std::size_t colon = detail.text.find(':');
  const auto fact = facts.find(detail.text.substr(0, colon));
  if (colon == std::string::npos || fact == facts.end())
    throw Failure{detail.number, "no such fact: " + detail.text};
  try {
    ExpectText(Trim(detail.text.substr(colon + 1)), fact->second, known, captured, detail.number);
  } catch (Failure& failure) {
    failure.text = fact->first + ": " + failure.text;
    throw;
  }
}

void ExpectMessage(const Step& step, const SipText& message, const Variables& known, Variables& captured) {
  Comparison comparison(message, known, captured);
  comparison.Start(step);
  for (const Line& detail : step.details)
    comparison.Detail(detail);
}

}  // namespace hark::test
