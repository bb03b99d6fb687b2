// What the daemon learns of stations from the URLs of their calls, so that a party that nobody announced can
// be named on a panel.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "addressing/HarkResolv.h"
#include "addressing/harkurl.h"

namespace hark {

// The user part of a SIP URL, as a label: what stands between "sip:" (if it is there) and "@", unescaped, cut
// to fit `out`, terminated. Returns the length; 0 without an "@", and then `out` is left alone.
int uri2label(std::string_view url, std::span<char> out);

// Unescapes a user part: a backslash takes the next byte literally, and with three decimal digits below 256
// it stands for that byte. Cut to fit `out`, terminated. Returns the length.
int urluserinfo2label(std::string_view user, std::span<char> out);

// Makes `dst` equal to `src`. True when it was not.
bool strupd(std::string& dst, std::string_view src);

// Learns what the URL of a call tells of its station (label, address, display name, trigger level), cuts it
// into `urlinfo`, and resolves it by its address into `info`. The result is that of HarkResolv2.
int HarkResolvURL_DynamicLearn(const char* text, HarkResolvInfo& info, harkurl_info& urlinfo);

}  // namespace hark
