#include "system/net/avahi_files.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace hark::test {
namespace {

std::string xml(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '&':
        out += "&amp;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string hex(std::string_view bytes) {
  std::string out;
  for (const char c : bytes) {
    std::array<char, 3> two{};
    (void)std::snprintf(two.data(), two.size(), "%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    out += two.data();
  }
  return out;
}

bool is_digit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

// The character at `at`, which moves behind it. avahi-browse writes what is not plain as a backslash with
// three decimal digits, and a backslash in front of a few others.
char unescape(std::string_view text, std::size_t& at) {
  const char c = text[at++];
  if (c != '\\' || at >= text.size()) return c;
  if (at + 2 < text.size() && is_digit(text[at]) && is_digit(text[at + 1]) && is_digit(text[at + 2])) {
    const int code = std::atoi(std::string(text.substr(at, 3)).c_str());
    at += 3;
    return static_cast<char>(code);
  }
  return text[at++];
}

std::string unescaped(std::string_view text) {
  std::string out;
  for (std::size_t at = 0; at < text.size();)
    out += unescape(text, at);
  return out;
}

// "a" "b c": each item in quotes.
std::vector<std::string> items_of(std::string_view text) {
  std::vector<std::string> items;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '"') continue;
    std::string& item = items.emplace_back();
    for (++at; at < text.size() && text[at] != '"';)
      item += unescape(text, at);
  }
  return items;
}

// The fields of a line; what is behind the last of `limit` stays in it.
std::vector<std::string> fields_of(const std::string& line, std::size_t limit) {
  std::vector<std::string> fields;
  std::size_t from = 0;
  while (fields.size() + 1 < limit) {
    const std::size_t end = line.find(';', from);
    if (end == std::string::npos) break;
    fields.push_back(line.substr(from, end - from));
    from = end + 1;
  }
  fields.push_back(line.substr(from));
  return fields;
}

// Event, interface, protocol, name, type, domain; with details host, address, port, TXT.
constexpr std::size_t kPlainFields = 6;
constexpr std::size_t kAllFields = 10;

}  // namespace

std::string service_file(const Announced& service) {
  std::string text =
      "<?xml version=\"1.0\" standalone=\"no\"?>\n"
      "<!DOCTYPE service-group SYSTEM \"avahi-service.dtd\">\n"
      "<service-group><name>" +
      xml(service.name) + "</name><service><type>" + service.type + "</type><port>" +
      std::to_string(service.port) + "</port>";
  for (const std::string& item : service.txt) {
    const std::size_t equals = item.find('=');
    text += "<txt-record value-format=\"binary-hex\">" + item.substr(0, equals + 1) +
            hex(std::string_view(item).substr(equals + 1)) + "</txt-record>";
  }
  return text + "</service></service-group>\n";
}

std::string avahi_config(const std::string& host_name, const std::string& interfaces, bool ipv6) {
  return "[server]\nhost-name=" + host_name + "\nuse-ipv4=yes\nuse-ipv6=" + (ipv6 ? "yes" : "no") +
         "\nallow-interfaces=" + interfaces +
         "\nobjects-per-client-max=100000\ncache-entries-max=100000\n"
         "[wide-area]\nenable-wide-area=no\n"
         "[publish]\npublish-hinfo=no\npublish-workstation=no\n";
}

std::string bus_config() {
  return "<busconfig><type>system</type><listen>unix:path=/run/dbus/system_bus_socket</listen>"
         "<auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\"/>"
         "<allow receive_sender=\"*\"/><allow own=\"*\"/><allow user=\"*\"/></policy></busconfig>\n";
}

std::vector<Sighting> sightings_of(std::string_view output) {
  std::vector<Sighting> all;
  std::istringstream in{std::string(output)};
  for (std::string line; std::getline(in, line);) {
    if (line.size() < 2 || line[1] != ';') continue;
    const std::vector<std::string> fields = fields_of(line, kAllFields);
    if (fields.size() < kPlainFields) continue;
    Sighting& seen = all.emplace_back();
    seen.event = line[0];
    seen.interface = fields[1];
    seen.name = unescaped(fields[3]);
    if (fields.size() < kAllFields) continue;
    seen.host = fields[6];
    seen.address = fields[7];
    seen.port = std::atoi(fields[8].c_str());
    seen.txt = items_of(fields[9]);
  }
  return all;
}

}  // namespace hark::test
