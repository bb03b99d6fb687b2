#include "scenarios/runner/sip_text.h"

#include <algorithm>

#include "scenarios/runner/words.h"

namespace hark::test {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

std::string take_line(std::string_view& text) {
  const std::size_t end = text.find(kLineEnd);
  std::string line(text.substr(0, end));
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + kLineEnd.size());
  return line;
}

auto same_name(std::string_view name) {
  return [name](const auto& header) { return SameNoCase(header.first, name); };
}

std::vector<std::string> lines_of(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty())
    lines.push_back(take_line(text));
  return lines;
}

}  // namespace

SipText SipText::ParseAny(std::string_view datagram) {
  SipText message;
  message.start = take_line(datagram);
  for (std::string line = take_line(datagram); !line.empty(); line = take_line(datagram)) {
    const std::size_t colon = line.find(':');
    const std::string value = colon == std::string::npos ? "" : Trim(line.substr(colon + 1));
    message.headers.emplace_back(Trim(line.substr(0, colon)), value);
  }
  message.body = datagram;
  return message;
}

std::optional<SipText> SipText::Parse(std::string_view datagram) {
  SipText message = ParseAny(datagram);
  if (message.get("Content-Length") != std::to_string(message.body.size())) return std::nullopt;
  return message;
}

std::string SipText::Wire() const {
  std::string out = start + "\r\n";
  for (const auto& [name, value] : headers)
    out.append(name).append(": ").append(value).append(kLineEnd);
  if (all("Content-Length").empty()) out += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  return out + "\r\n" + body;
}

unsigned SipText::status() const {
  return is_response() ? static_cast<unsigned>(std::stoul(start.substr(8, 3))) : 0;
}

std::string SipText::method() const {
  if (!is_response()) return start.substr(0, start.find(' '));
  std::string cseq = get("CSeq");
  (void)TakeWord(cseq);
  return cseq;
}

unsigned long SipText::cseq() const { return std::strtoul(get("CSeq").c_str(), nullptr, 10); }

std::string SipText::get(std::string_view name) const {
  const auto at = std::find_if(headers.begin(), headers.end(), same_name(name));
  return at != headers.end() ? at->second : "";
}

std::vector<std::string> SipText::all(std::string_view name) const {
  std::vector<std::string> values;
  for (const auto& header : headers)
    if (SameNoCase(header.first, name)) values.push_back(header.second);
  return values;
}

void SipText::set(std::string_view name, std::string value) {
  const auto at = std::find_if(headers.begin(), headers.end(), same_name(name));
  if (at != headers.end()) {
    at->second = std::move(value);
  } else {
    headers.emplace_back(name, std::move(value));
  }
}

void SipText::remove(std::string_view name) { std::erase_if(headers, same_name(name)); }

std::string ParameterOf(const std::string& value, std::string_view name) {
  for (const std::string& part : Split(value, ';'))
    if (SameNoCase(part.substr(0, name.size() + 1), std::string(name) + "="))
      return part.substr(name.size() + 1);
  return "";
}

std::string WithoutParameter(std::string value, std::string_view name) {
  std::string out;
  for (const std::string& part : Split(value, ';'))
    if (!SameNoCase(part.substr(0, part.find('=')), name)) out += (out.empty() ? "" : ";") + part;
  return out;
}

std::string DescriptionOf(const std::string& entries, const std::string& address, int port) {
  std::string numbers;
  std::string maps;
  for (const std::string& entry : Split(entries, '|')) {
    std::string coding = entry.substr(entry.find('=') + 1);
    const std::string number = entry.substr(0, entry.find('='));
    const std::string name = TakeWord(coding);
    numbers += " " + number;
    maps += "a=rtpmap:" + number + " " + name + "\r\n";
    if (!coding.empty()) maps += "a=fmtp:" + number + " " + coding + "\r\n";
  }
  const std::string net = "IN IP4 " + address + "\r\n";
  return "v=0\r\no=- 7 7 " + net + "s=-\r\nc=" + net + "t=0 0\r\nm=audio " + std::to_string(port) +
         " RTP/AVP" + numbers + "\r\n" + maps;
}

std::string EntriesOf(const std::string& description) {
  constexpr std::string_view kMap = "a=rtpmap:";
  std::string entries;
  const std::vector<std::string> lines = lines_of(description);
  for (const std::string& line : lines) {
    if (!line.starts_with(kMap)) continue;
    std::string coding = line.substr(kMap.size());
    const std::string number = TakeWord(coding);
    entries += (entries.empty() ? "" : "|") + number + "=" + coding;
    for (const std::string& other : lines)
      if (other.starts_with("a=fmtp:" + number + " ")) entries += other.substr(7 + number.size());
  }
  return entries;
}

}  // namespace hark::test
