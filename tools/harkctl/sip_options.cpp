#include "tools/harkctl/sip_options.h"

#include <algorithm>

#include "base/text.h"

namespace hark::ctl {
namespace {

constexpr std::string_view kVersion = "SIP/2.0 ";
constexpr std::string_view kBlanks = " \t";

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Cuts the first line off.
std::string_view take_line(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

bool is_named(std::string_view name, std::string_view wanted) {
  return name.size() == wanted.size() && starts_with_nocase(name, wanted);
}

// The value of the first Via; "v" is its short form (RFC 3261 section 7.3.3).
std::string_view first_via(std::string_view headers) {
  while (!headers.empty()) {
    const std::string_view line = take_line(headers);
    const std::size_t colon = line.find(':');
    if (line.empty()) return {};
    if (colon == std::string_view::npos) continue;
    const std::string_view name = trimmed(line.substr(0, colon));
    if (!is_named(name, "Via") && !is_named(name, "v")) continue;
    const std::string_view value = line.substr(colon + 1);
    return value.substr(0, value.find(','));
  }
  return {};
}

std::string_view branch_of(std::string_view via) {
  for (std::size_t at = via.find(';'); at != std::string_view::npos;) {
    via.remove_prefix(at + 1);
    at = via.find(';');
    const std::string_view parameter = via.substr(0, at);
    const std::size_t equals = parameter.find('=');
    if (equals != std::string_view::npos && is_named(trimmed(parameter.substr(0, equals)), "branch"))
      return trimmed(parameter.substr(equals + 1));
  }
  return {};
}

}  // namespace

std::string options_request(const SipQuestion& question) {
  const std::string uri = "sip:" + question.service + "@" + question.to;
  return "OPTIONS " + uri + " SIP/2.0\r\n" +                                                  //
         "Via: SIP/2.0/UDP " + question.from + ";branch=" + question.branch + ";rport\r\n" +  //
         "Max-Forwards: 70\r\n" +                                                             //
         "From: <sip:harkctl@" + question.from + ">;tag=" + question.tag + "\r\n" +           //
         "To: <" + uri + ">\r\n" +                                                            //
         "Call-ID: " + question.call_id + "\r\n" +                                            //
         "CSeq: 1 OPTIONS\r\n" +                                                              //
         "Contact: <sip:harkctl@" + question.from + ">\r\n" +                                 //
         "Accept: application/sdp\r\n" +                                                      //
         "Content-Length: 0\r\n\r\n";
}

int response_status(std::string_view datagram, std::string_view branch) {
  std::string_view first = take_line(datagram);
  if (!first.starts_with(kVersion)) return 0;
  first.remove_prefix(kVersion.size());
  const std::string_view digits = first.substr(0, first.find(' '));
  const bool is_code = digits.size() == 3 &&
                       std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!is_code || branch.empty() || branch_of(first_via(datagram)) != branch) return 0;
  return (digits[0] - '0') * 100 + (digits[1] - '0') * 10 + (digits[2] - '0');
}

}  // namespace hark::ctl
