#include "support/sip_description.h"

#include <array>
#include <vector>

namespace hark::fuzz {
namespace {

struct Format {
  const char* number;
  const char* map;  // the attribute that tells what it is; empty: a number that everybody knows
};
// By digit.
constexpr std::array<Format, 10> kFormats{{{"96", "96 L24/48000/2"},
                                           {"97", "97 L16/48000/2"},
                                           {"9", "9 G722/8000"},
                                           {"0", ""},
                                           {"8", "8 PCMA/8000"},
                                           {"101", "101 telephone-event/8000"},
                                           {"98", "98 opus/48000/2"},
                                           {"96", "96 L16/44100"},
                                           {"127", "127 L24/48000/8"},
                                           {"9999", "9999 none/0"}}};

struct Medium {
  std::string line;
  std::string formats;
  std::string attributes;
};

void add_format(Medium& medium, const Format& format) {
  medium.formats.append(" ").append(format.number);
  if (*format.map != '\0') medium.attributes.append("a=rtpmap:").append(format.map).append("\r\n");
}

// A piece that belongs to a medium.
void add_to_medium(Medium& medium, char piece) {
  switch (piece) {
    case 's':
      medium.attributes += "a=sendonly\r\n";
      return;
    case 'r':
      medium.attributes += "a=recvonly\r\n";
      return;
    case 'i':
      medium.attributes += "a=inactive\r\n";
      return;
    case 'b':
      medium.attributes += "a=sendrecv\r\n";
      return;
    case 'p':
      medium.attributes += "a=ptime:1\r\n";
      return;
    case 'f':
      medium.attributes += "a=fmtp:96 channel-order=SMPTE2110.(ST)\r\n";
      return;
    case 'e':
      medium.attributes += "a=fmtp:101 0-15,32\r\n";
      return;
    case 'c':
      medium.attributes.insert(0, "c=IN IP4 10.0.0.8\r\n");
      return;
    case '!':
      medium.attributes += "a\r\n";
      return;
    case 'q':
      medium.attributes += "a=x:" + std::string(200, 'q') + "\r\n";
      return;
    case 'm':
      for (const Format& format : kFormats)
        add_format(medium, format);
      return;
    default:
      if (piece >= '0' && piece <= '9') add_format(medium, kFormats[static_cast<std::size_t>(piece - '0')]);
  }
}

}  // namespace

std::string description_of(std::string_view word) {
  std::string connection = "c=IN IP4 10.0.0.9\r\n";
  unsigned version = 1;
  std::vector<Medium> media;
  for (const char piece : word) {
    if (piece == 'a') media.push_back({"m=audio 5004 RTP/AVP", "", ""});
    if (piece == 'v') media.push_back({"m=video 5006 RTP/AVP", "", ""});
    if (piece == 'z') media.push_back({"m=audio 0 RTP/AVP", "", ""});
    if (piece == 'n') connection.clear();
    if (piece == 'h') connection = "c=IN IP4 0.0.0.0\r\n";
    if (piece == 'u') ++version;
    if (!media.empty()) add_to_medium(media.back(), piece);
  }
  std::string text =
      "v=0\r\no=far 1 " + std::to_string(version) + " IN IP4 10.0.0.9\r\ns=-\r\n" + connection + "t=0 0\r\n";
  for (const Medium& medium : media)
    text += medium.line + medium.formats + "\r\n" + medium.attributes;
  return text;
}

}  // namespace hark::fuzz
