#include "scenarios/runner/far_end.h"

#include "scenarios/runner/expect.h"
#include "scenarios/runner/pattern.h"

namespace hark::test {
namespace {

// Of a message that cannot keep to what holds of all others, because it answers one that did not.
constexpr std::string_view kUnlike = "unlike others";

// The socket in "<@alt".
std::string socket_of(const std::string& verb) {
  const std::size_t at = verb.find('@');
  return at == std::string::npos ? "far" : verb.substr(at + 1);
}

// The number behind the last ":" of a text, up to what ends it.
int port_in(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  const int port = colon == std::string::npos || text.find("tel:") != std::string::npos
                       ? 0
                       : std::atoi(text.c_str() + colon + 1);
  return port != 0 ? port : Wire::StackPort();
}

// A response goes where its Via says, a request where its URI says.
int port_for(const SipText& message) {
  if (!message.is_response()) return port_in(message.start.substr(0, message.start.rfind(' ')));
  const std::string via = message.get("Via");
  return port_in(via.substr(0, via.find(';')));
}

}  // namespace

Variables FarEnd::known() const {
  Variables all = wire_.addresses();
  if (const auto call = calls_.find(call_); call != calls_.end()) all.merge(call->second.variables());
  return all;
}

std::string FarEnd::Expanded(const Line& line) const {
  Variables all = known();
  for (const auto& [name, value] : captured_)
    all[name] = value;
  return Expand(line.text, all, line.number);
}

// "Header: value" replaces, "+Header: value" adds, "-Header" takes away; "sdp: entries" describes a session,
// "sdp 9000: entries" one at another port; "| line" is a line of the body.
void FarEnd::Detail(SipText& message, const Line& detail) const {
  const std::string text = Expanded(detail);
  const std::size_t colon = text.find(':');
  if (text.starts_with("-")) return message.remove(text.substr(1));
  if (text.starts_with("|")) {
    message.body += (text.size() > 2 ? text.substr(2) : "") + "\r\n";
    return;
  }
  if (colon == std::string::npos) throw Failure{detail.number, "not \"Header: value\": " + text};
  const std::string name = text.substr(0, colon);
  const std::string value = Trim(text.substr(colon + 1));
  if (name.starts_with("sdp")) {
    const int port = name.size() > 4 ? std::stoi(name.substr(4)) : 9000;
    message.set("Content-Type", "application/sdp");
    message.body = DescriptionOf(value, wire_.addresses().at("farhost"), port);
  } else if (name.starts_with("+")) {
    message.headers.emplace_back(name.substr(1), value);
  } else {
    message.set(name, value);
  }
}

SipText FarEnd::Message(const std::string& text, const Step& step) {
  std::string start = Expanded({step.line, text});
  std::string method;
  if (const std::size_t open = start.rfind(" ("); open != std::string::npos && start.ends_with(")")) {
    method = start.substr(open + 2, start.size() - open - 3);
    start = start.substr(0, open);
  }
  const bool is_response = start.front() >= '0' && start.front() <= '9';
  SipText message = is_response ? current().Response(start, method, wire_.addresses(), step.line)
                                : current().Request(start, wire_.addresses(), step.line);
  for (const Line& detail : step.details)
    Detail(message, detail);
  current().Sent(message);
  return message;
}

FarEnd::Ready FarEnd::Make(const std::string& verb, const std::string& text, const Step& step) {
  const SipText message = Message(text, step);
  Ready ready{socket_of(verb), message.Wire(), port_for(message)};
  sent_[call_ + " " + (message.is_response() ? std::to_string(message.status()) + " " : "") +
        message.method()] = ready;
  return ready;
}

unsigned FarEnd::Prepare(const Step& step) {
  std::string text = step.text;
  if (step.verb.starts_with("<")) {
    ready_ = Make(step.verb, text, step);
  } else if (step.verb == "double") {
    const std::string verb = TakeWord(text);
    ready_ = Make(verb, text, step);
    return 2;
  } else if (step.verb == "keep") {
    const std::string name = TakeWord(text);
    const std::string verb = TakeWord(text);
    kept_[name] = Make(verb, text, step);
    return 0;
  } else if (step.verb == "late" && kept_.contains(text)) {
    ready_ = kept_.at(text);
  } else if (step.verb == "again" && sent_.contains(call_ + " " + text)) {
    ready_ = sent_.at(call_ + " " + text);
  } else if (step.verb.starts_with("raw")) {
    ready_ = {socket_of(step.verb), "", Wire::StackPort()};
    for (const Line& detail : step.details)
      ready_.bytes += Expanded({detail.number, Trim(detail.text.substr(1))}) + "\r\n";
    current().Sent(SipText::ParseAny(ready_.bytes));
  } else {
    throw Failure{step.line, "no such step: " + step.verb + " " + step.text};
  }
  return 1;
}

void FarEnd::SendPrepared() { wire_.Send(ready_.from, ready_.bytes, ready_.port); }

void FarEnd::Expect(const Step& step) {
  const bool lost = step.verb == "lost";
  std::string text = step.text;
  const std::string verb = lost ? TakeWord(text) : step.verb;
  if (arrived().empty()) throw Failure{step.line, "nothing came out"};
  const Datagram datagram = arrived().front();
  arrived().pop_front();
  const auto message = SipText::Parse(datagram.bytes);
  if (!message) throw Failure{step.line, "not a message:\n" + datagram.bytes};
  const std::string where = socket_of(verb);
  if (datagram.at != where) throw Failure{step.line, "went to " + datagram.at + ", not " + where};
  const std::string wrong = current().Received(*message, lost);
  Step expected{step.line, step.verb, text, step.details};
  const auto unlike = std::erase_if(expected.details, [](const Line& line) { return line.text == kUnlike; });
  ExpectMessage(expected, *message, known(), captured_);
  if (!wrong.empty() && unlike == 0) throw Failure{step.line, wrong + "\n" + datagram.bytes};
}

}  // namespace hark::test
