// Calls to sources of the routing network: by key or command, and by a far contact.
#include "callctl/modifycall_private.h"

#include <arpa/inet.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "callctl/line_events.h"
#include "callctl/modifycall.h"
#include "callctl/sipctrl.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/qncpptt.h"
#include "routing/qnrifb.h"
#include "sipua/SipStackUA.h"

namespace hark {
namespace {

constexpr std::uint32_t kChannelMask = 0x7FFF;  // channels are the low 15 bits of their addresses

// Letters to report at the end of a request, for both directions.
struct Report {
  char listen = kNoReport;
  char talk = kNoReport;
};

// What the mixer takes as the source: the address less its scheme.
std::string source_id(const harkurl_info& info) {
  constexpr std::string_view kScheme = "quillnet:";
  std::string_view url(info.url, info.url_len);
  if (url.starts_with(kScheme)) url.remove_prefix(kScheme.size());
  return std::string(url);
}

int gpio_of(const HarkLine& line) { return static_cast<int>(line.gpio); }

// Pin numbers and channels are small; anything else names no contact.
long contact_tag(const harkurl_info& info, const char* name) {
  const long value = url_tagl(info.tags, name);
  return value < -kNumberLimit || value > kNumberLimit ? 0 : value;
}

void read_contact_tags(HarkLine& line, const harkurl_info& info) {
  line.gpio = contact_tag(info, "gpio");
  if (line.gpio == 0) return;
  line.gpiol = contact_tag(info, "gpiol");
  line.gpiot = contact_tag(info, "gpiot");
  line.gpioack = url_tagl(info.tags, "gpioack") != 0;
}

void close_contact(const HarkLine& line, long pin) {
  harkqnr_ctrl(-1, "", 0, gpio_of(line), static_cast<int>(pin));
}

void request_ptt(int i, const HarkLine& line, const std::string& addr) {
  if (line.qntb == 0) return;
  const auto dst = ntohl(static_cast<in_addr_t>(qn_url2ip(addr.c_str(), nullptr))) & kChannelMask;
  (void)qncpptt_set(i, dst, ntohl(station.harkd_qnsrcch) & kChannelMask);
}

// Asks the far destination of the line's `ifb` tag to take us. True when the line has to wait for its
// confirmation. An address that cannot be used counts as none.
bool request_ifb(int i, const HarkLine& line) {
  const int result = qnrifb_set(i, line.ifb.data(), sipctrl_qnrifb_addr());
  return line.ifb[0] != '\0' && result == 0;
}

// Brings the audio of a listen line up. False when its contact's followers changed the call meanwhile: then
// it was reported already.
bool open_listen(int i, HarkLine& line, const std::string& addr) {
  line.state = kLineConnected;
  const LineWatch watch(line);
  const int gain = sipctrl_adjustifbgains(i);
  harkqnr_ctrl(i, addr.c_str(), gain, gpio_of(line), static_cast<int>(line.gpiol));
  return watch.unchanged();
}

// Allocates and seizes a line. Its index, or negative, which is logged as `what`; a full table only with
// `log_full`, so that a chattering contact does not fill the log.
int take_line(const CallSide& side, const harkurl_info& info, const char* what, bool log_full) {
  const int i = LineTableAlloc(side.table, info.full, side.direction());
  if (i < 0) {
    if (log_full) syslog(kLogError, "%s line alloc failed", what);
    return i;
  }
  SipStackUA::GetInstance()->Seize(static_cast<unsigned>(side.kind), static_cast<unsigned>(i));
  if (side.line(i).state == kLineSeized) return i;
  LineTableFree(side.table, i);
  syslog(kLogError, "%s line seize failed", what);
  return -1;
}

// The requests by which a far device is told; the line then waits for its confirmation.
void request_far_side(int i, HarkLine& line, const std::string& addr, Report& report) {
  const bool ifb = request_ifb(i, line);
  request_ptt(i, line, addr);
  if (!ifb && line.qntb == 0) return;
  line.state = kLineFarRinging;
  report.talk = kLineFarRinging;
}

void open_without_ack(const CallSide& side, int i, const std::string& addr, const char* url, Report& report) {
  HarkLine& line = side.line(i);
  if (side.kind == kListenKind) {
    if (open_listen(i, line, addr)) report.listen = kLineConnected;
    return;
  }
  if (line.gpio == 0 || line.gpiot == 0) return;
  line.state = kLineConnected;
  const LineWatch watch(line);
  close_contact(line, line.gpiot);
  if (!watch.unchanged()) {
    report = Report{};
    return;
  }
  (void)sipctrl_adjustifbgains(-1);
  report.listen = release_fardropped_listen(url);
  report.talk = kLineConnected;
}

// The audio of such a listen line comes up only with the far side's answer.
void open_with_ack(const CallSide& side, int i, const char* url, Report& report) {
  HarkLine& line = side.line(i);
  const bool listen = side.kind == kListenKind;
  const long pin = listen ? line.gpiol : line.gpiot;
  if (line.gpio == 0 || pin == 0) return;
  line.state = kLineCalling;
  const LineWatch watch(line);
  close_contact(line, pin);
  if (!watch.unchanged()) {
    report = Report{};
    return;
  }
  report.listen = listen ? kLineCalling : release_fardropped_listen(url);
  if (!listen) report.talk = kLineCalling;
}

int new_quillnet_call(const CallSide& side, const harkurl_info& info) {
  const int i = take_line(side, info, "sipctrl_modifycall_harkquillnet", true);
  if (i < 0) return i;
  HarkLine& line = side.line(i);
  set_trigger_level(line, info);
  const std::string addr = source_id(info);
  const std::string url = line.url;
  read_contact_tags(line, info);
  url_tagsz(&info, "ifb", line.ifb.data(), line.ifb.size());
  line.qntb = static_cast<std::uint32_t>(url_tagl(info.tags, "qntb"));
  Report report;
  if (side.kind == kTalkKind) request_far_side(i, line, addr, report);
  if (line.gpioack) {
    open_with_ack(side, i, url.c_str(), report);
  } else {
    open_without_ack(side, i, addr, url.c_str(), report);
  }
  if (report.listen != kNoReport || report.talk != kNoReport) {
    sipctrl_modifycall_callback(url.c_str(), report.listen, report.talk);
  }
  return 0;
}

// The answer to a far contact's request.
void answer_request(const CallSide& side, int i, const harkurl_info& info) {
  HarkLine& line = side.line(i);
  const std::string addr = source_id(info);
  const std::string url = line.url;
  if (side.kind == kListenKind) {
    if (open_listen(i, line, addr)) report_line(side.kind, url, kLineConnected);
    return;
  }
  line.state = kLineConnected;
  const LineWatch watch(line);
  (void)sipctrl_adjustifbgains(-1);
  close_contact(line, line.gpiot);
  if (!watch.unchanged()) return;
  // The capital letter, where a new call waits in "r", is meant: panels show the far request until it is
  // confirmed. Kept.
  if (request_ifb(i, line)) line.state = kLineRequest;
  request_ptt(i, line, addr);
  report_line(side.kind, url, line.state);
}

// A far contact's request, on a line of its own unless one stands already. 0, or negative.
int remote_request(const CallSide& side, int i, const harkurl_info& info) {
  if (i < 0) i = take_line(side, info, "sipctrl_remote_modifycall_harkquillnet", false);
  if (i < 0) return i;
  HarkLine& line = side.line(i);
  read_contact_tags(line, info);
  line.state = kLineRequest;
  line.drop_pending = false;
  report_line(side.kind, std::string(line.url), kLineRequest);
  return 0;
}

int sipctrl_remote_modifycall_harkquillnet(const CallSide& side, const harkurl_info& info, char wish) {
  const int i = find_for_wish(side, info.full, wish);
  const char current = i < 0 ? kLineOff : side.line(i).state;
  if (wish == kWishConnect) {
    if (current != kLineConnected) return remote_request(side, i, info);
    side.line(i).drop_pending = false;
  } else if (wish == kWishDrop && current != kLineOff) {
    NotifyFarEndDrop(static_cast<unsigned>(side.kind), static_cast<unsigned>(i));
    drop_call(side.kind, i);
  }
  return 0;
}

}  // namespace

int sipctrl_modifycall_harkquillnet(const CallSide& side, const harkurl_info& info, char wish) {
  if (wish == kNoWish) return 0;
  const int i = find_for_wish(side, info.full, wish);
  if (i < 0) return wish == kWishConnect ? new_quillnet_call(side, info) : 0;
  HarkLine& line = side.line(i);
  if (wish == kWishDrop) sipctrl_line_drop(line);
  if (wish != kWishConnect) return 0;
  line.drop_pending = false;
  if (line.state == kLineRequest) answer_request(side, i, info);
  return 0;
}

void remotecommand(int kind, const harkurl_info* info, char wish) {
  if (kind != kListenKind && kind != kTalkKind) return;
  (void)sipctrl_remote_modifycall_harkquillnet(call_side(kind), *info, wish);
}

}  // namespace hark
