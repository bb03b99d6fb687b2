#include "callctl/modifycall.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "callctl/modifycall_private.h"
#include "callctl/sipctrl.h"
#include "daemon/log/log.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "sipua/SipStackUA.h"

namespace hark {
namespace {

// A listen line calls the far talk service, a talk line the far listen service. The ports are those of a
// station with default settings: a far station's own port base is not known here.
struct FarService {
  const char* user;
  int port;
};
constexpr FarService kFarTalk{"hark-talk", 5062};
constexpr FarService kFarListen{"hark-listen", 5061};

std::string dial_string(int kind, const harkurl_info& info) {
  constexpr std::string_view kPrefix = "hark:";
  const std::string_view url(info.url, info.url_len);
  if (url.size() <= kPrefix.size() || !url.starts_with(kPrefix)) return {info.full, info.full_len};
  const FarService& far = kind == kListenKind ? kFarTalk : kFarListen;
  return "sip:" + std::string(far.user) + "@" + std::string(url.substr(kPrefix.size())) + ":" +
         std::to_string(far.port);
}

int new_sip_call(const CallSide& side, const harkurl_info& info) {
  const int i = LineTableAlloc(side.table, info.full, side.direction());
  if (i < 0) return i;
  set_trigger_level(side.line(i), info);
  syslog(kLogInfo, "Calling %s on %d/%d", info.full, side.kind, i);
  const LineWatch watch(side.line(i));
  SipStackUA::GetInstance()->Call(static_cast<unsigned>(side.kind), static_cast<unsigned>(i),
                                  dial_string(side.kind, info).c_str());
  // The stack may have failed the call, and freed the line, before it returned; the line may be another's by
  // now.
  if (watch.same_call() && side.line(i).state == kLineCalling) return 0;
  if (watch.same_call()) LineTableFree(side.table, i);
  return -1;
}

int sipctrl_modifycall_harksip(const CallSide& side, const harkurl_info& info, char wish) {
  const int i = find_for_wish(side, info.full, wish);
  syslog(kLogDebug, "harksip %d/%d %c %s", side.kind, i, wish, info.full);
  if (i < 0) return wish == kWishConnect ? new_sip_call(side, info) : 0;
  HarkLine& line = side.line(i);
  if (wish == kWishDrop) sipctrl_line_drop(line);
  if (wish != kWishConnect) return 0;
  set_trigger_level(line, info);
  if (line.state == kLineRequest) {
    SipStackUA::GetInstance()->Answer(static_cast<unsigned>(side.kind), static_cast<unsigned>(i));
  } else {
    line.drop_pending = false;
  }
  return 0;
}

}  // namespace

CallSide call_side(int kind) { return {kind, line_table(kind)}; }

int find_for_wish(const CallSide& side, const char* url, char wish) {
  const int i = LineTableSearchURL(side.table, url);
  if (i < 0 || wish != kWishConnect || side.line(i).state != kLineFarDropped) return i;
  LineTableFree(side.table, i);
  return LineTableSearchURL(side.table, url);  // none, unless who heard of its end has begun the call anew
}

void sipctrl_line_drop(HarkLine& line) {
  line.drop_time = clock_now();
  line.drop_pending = true;
}

void set_trigger_level(HarkLine& line, const harkurl_info& info) {
  const int level = url_level(info.tags);
  line.trgl = line.trgl_compare = level < 0 ? kDefaultTriggerLevel : level;
}

int sipctrl_modifycall(const char* url, char listen, char talk) {
  using Modify = int (*)(const CallSide&, const harkurl_info&, char);
  harkurl_info info;
  Modify modify = nullptr;
  switch (harkurl_parse(url, &info)) {
    case HARKURL_QUILLNET:
      modify = sipctrl_modifycall_harkquillnet;
      break;
    case HARKURL_STATION:
      modify = sipctrl_modifycall_harksip;
      break;
    default:
      // A telephone party too: it is reached only by its own call to this station.
      (void)std::fprintf(stderr, "protocol unknown\n");
      return -1;
  }
  const int result = modify(call_side(kListenKind), info, listen);
  return result != 0 ? result : modify(call_side(kTalkKind), info, talk);
}

void sipctrl_setcallvolume(const char* url, long volume) {
  const int i = LineTableSearchURL(listen_lines, url);
  if (i < 0) return;
  HarkLine& line = *getline(kListenKind, i);
  line.volume = static_cast<int>(std::clamp<long>(volume, -kGainLimit, kGainLimit));
  harkqnr_dstgain(i, line.ifb_gain + line.volume);
}

void sipctrl_qndstvolumechanged(int dst, long volume) {
  const HarkLine* line = getline(kListenKind, dst);
  if (line == nullptr || line->url.empty()) return;
  sipctrl_modifycallvolume_callback(std::string(line->url).c_str(), volume);
}

void ifb_update_status(int port, bool active) {
  HarkLine* line = getline(kTalkKind, port);
  if (line == nullptr || line->url.empty()) return;
  const char letter = active ? kLineConnected : kLineOff;
  line->state = letter;
  const LineWatch watch(*line);
  const std::string url = line->url;
  const char listen = release_fardropped_listen(url.c_str());
  (void)sipctrl_adjustifbgains(-1);
  if (watch.unchanged()) sipctrl_modifycall_callback(url.c_str(), listen, letter);
}

const char* sipctrl_qnrifb_addr() {
  static std::array<char, INET_ADDRSTRLEN> text{};
  text.fill('\0');
  if (const in_addr_t address = local_source_address(); address != 0) text = dotted(htonl(address));
  return text.data();
}

}  // namespace hark
