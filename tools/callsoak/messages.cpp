#include "tools/callsoak/messages.h"

#include <charconv>

namespace callsoak {
namespace {

std::string with_body(std::string head, std::string_view body) {
  if (!body.empty()) head += "Content-Type: application/sdp\r\n";
  head += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
  return head.append(body);
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ')
    text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ')
    text.remove_suffix(1);
  return text;
}

}  // namespace

std::string request(std::string_view method, const Party& party, int cseq, std::string_view branch,
                    std::string_view to_tag, std::string_view body) {
  std::string text(method);
  text += " " + party.service + " SIP/2.0\r\nVia: SIP/2.0/UDP " + party.agent + ";branch=z9hG4bK";
  text.append(branch);
  text += "\r\nFrom: <" + party.from + ">;tag=soak\r\nTo: <" + party.service + ">";
  if (!to_tag.empty()) text.append(";tag=").append(to_tag);
  text += "\r\nCall-ID: " + party.call_id + "\r\nCSeq: " + std::to_string(cseq) + " ";
  text.append(method);
  text += "\r\nContact: <sip:" + party.agent + ">\r\nMax-Forwards: 70\r\n";
  return with_body(std::move(text), body);
}

std::string response(std::string_view status, std::string_view request, const Party& party,
                     std::string_view body) {
  std::string text = "SIP/2.0 ";
  text.append(status);
  for (const char* name : {"Via", "From", "To", "Call-ID", "CSeq"}) {
    const std::string_view value = header(request, name);
    text.append("\r\n").append(name).append(": ").append(value);
    if (name == std::string_view("To") && tag_of(value).empty()) text += ";tag=soak";
  }
  text += "\r\nContact: <sip:" + party.agent + ">\r\n";
  return with_body(std::move(text), body);
}

std::string description(std::string_view address, bool common_codec) {
  const std::string host(address);
  return "v=0\r\no=soak 1 1 IN IP4 " + host + "\r\ns=-\r\nc=IN IP4 " + host +
         "\r\nt=0 0\r\nm=audio 6000 RTP/AVP " +
         (common_codec ? "96\r\na=rtpmap:96 L24/48000/2\r\n" : "0\r\na=rtpmap:0 PCMU/8000\r\n");
}

std::string_view header(std::string_view message, std::string_view name) {
  std::size_t at = message.find("\r\n");
  while (at != std::string_view::npos) {
    at += 2;
    const std::size_t end = message.find("\r\n", at);
    if (end == at) break;
    const std::string_view line = message.substr(at, end == std::string_view::npos ? end : end - at);
    if (line.starts_with(name) && line.substr(name.size()).starts_with(':'))
      return trimmed(line.substr(name.size() + 1));
    at = end;
  }
  return {};
}

int status_of(std::string_view message) {
  constexpr std::string_view kVersion = "SIP/2.0 ";
  if (!message.starts_with(kVersion)) return 0;
  int status = 0;
  (void)std::from_chars(message.data() + kVersion.size(), message.data() + message.size(), status);
  return status;
}

std::string_view method_of(std::string_view message) { return message.substr(0, message.find(' ')); }

std::string_view cseq_method(std::string_view message) {
  const std::string_view value = header(message, "CSeq");
  const std::size_t blank = value.find(' ');
  return blank == std::string_view::npos ? std::string_view() : value.substr(blank + 1);
}

std::string_view tag_of(std::string_view value) {
  // Behind the brackets: a tag in the URI is another one.
  constexpr std::string_view kTag = ";tag=";
  const std::size_t bracket = value.find('>');
  const std::size_t at = value.find(kTag, bracket == std::string_view::npos ? 0 : bracket);
  if (at == std::string_view::npos) return {};
  value.remove_prefix(at + kTag.size());
  return value.substr(0, value.find(';'));
}

std::string_view uri_of(std::string_view value) {
  const std::size_t open = value.find('<');
  const std::size_t close = value.find('>');
  if (open == std::string_view::npos || close == std::string_view::npos) return value;
  return value.substr(open + 1, close - open - 1);
}

}  // namespace callsoak
