#include "callctl/line_events.h"

#include <array>
#include <string>
#include <string_view>

#include "addressing/harkurl.h"
#include "base/text.h"
#include "callctl/line_table.h"
#include "callctl/sipctrl.h"
#include "cpsip/cpsip_msg_access.h"
#include "daemon/log/log.h"
#include "routing/harkqnr.h"
#include "routing/qncpptt.h"
#include "routing/qnrifb.h"
#include "sipua/SipStackUA.h"

namespace hark {
namespace {

using State = ISipStackUAEvents::ESipLineState;

struct StateName {
  std::array<char, 16> text{};
};

StateName estate2c(unsigned state) {
  static constexpr std::array<const char*, 7> kNames{"idle",      "ringing",   "seized",       "calling",
                                                     "connected", "canceling", "disconnecting"};
  StateName name;
  if (state < kNames.size()) {
    copy_text(name.text, kNames[state]);
  } else {
    format_text(std::span(name.text).first(4), "%u", state);  // at most three digits
  }
  return name;
}

// The line of an event; null for indices that no line has, which no sane stack sends.
HarkLine* find_line(unsigned kind, unsigned i) {
  return i < kTalkLines ? getline(static_cast<int>(kind), static_cast<int>(i)) : nullptr;
}

// The same, of a line that carries a call. A ring without a usable URL leaves its line free, and what the
// stack goes on to report of it concerns nobody.
HarkLine* find_used_line(unsigned kind, unsigned i) {
  HarkLine* line = find_line(kind, i);
  return line != nullptr && !line->url.empty() ? line : nullptr;
}

const char* url_or_mark(const HarkLine& line) { return line.url.empty() ? "?" : line.url.c_str(); }

void NotifyServiceError(unsigned kind, unsigned error, const char* text) {
  syslog(kLogError, "Service %u error %u %s", kind, error, text);
}

void NotifyLineError(unsigned kind, unsigned i, unsigned error, const char* text) {
  syslog(kLogError, "Line %u/%u error %u %s", kind, i, error, text);
}

// Gives back what a talk line took over, before its end is told: who hears of that may take the line over at
// once, and sets links of its own.
void end_links(int kind, int i) {
  if (kind != kTalkKind) return;
  (void)qnrifb_set(i, nullptr, nullptr);
  (void)qncpptt_clr(i);
}

// Frees what was up on a service that is gone. A talk line that its far end does not confirm stays until it
// is dropped, but what it asked for was asked in the name of the service, and of a source that may be another
// now.
void NotifyServiceDestroy(unsigned kind) {
  const std::span<HarkLine> table = line_table(static_cast<int>(kind));
  bool any = false;
  for (std::size_t i = 0; i < table.size(); ++i) {
    table[i].outlived = !table[i].url.empty();
    if (table[i].outlived && !is_active(table[i])) end_links(static_cast<int>(kind), static_cast<int>(i));
    if (!is_active(table[i])) continue;
    const LineWatch watch(table[i]);
    if (kind == kListenKind) {
      harkqnr_ctrl(static_cast<int>(i), nullptr, 0, static_cast<int>(table[i].gpio),
                   static_cast<int>(table[i].gpiol));
    }
    if (!watch.same_call()) continue;
    syslog(kLogInfo, "DestroyDrop %s on %u/%zu", table[i].url.c_str(), kind, i);
    end_links(static_cast<int>(kind), static_cast<int>(i));
    LineTableFree(table, static_cast<int>(i));
    any = true;
  }
  if (any) (void)sipctrl_adjustifbgains(-1);
}

// What a far station says of itself goes into a URL, into the log and into lines of text. These bytes would
// end one of them early; they are shown as "_".
void mask(std::string& text, std::string_view more) {
  for (char& c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || more.find(c) != std::string_view::npos) c = '_';
  }
}

std::string read_field(const cpsip_msg& msg, cpsip_fld field) {
  cpsip_field_text text;
  return std::string(cpsip_msg_read(msg, field, 1, 0, text));
}

// What a quoted-string says, without its quotes and escapes, RFC 3261 25.1.
std::string unquoted(std::string_view text) {
  std::string out;
  for (std::size_t i = 1; i < text.size() && text[i] != '"'; ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) ++i;
    out.append(1, text[i]);
  }
  return out;
}

std::string display_name(const cpsip_msg& msg) {
  std::string name = read_field(msg, CPSIP_FLD_FROM_DISPLAY);
  name.erase(0, name.find_first_not_of(" \t"));
  if (name.starts_with('"')) name = unquoted(name);
  name.erase(name.find_last_not_of(" \t") + 1);
  mask(name, "\"<>;");
  return name;
}

// The tags behind the address stay.
std::string party_uri(const cpsip_msg& msg) {
  std::string uri = read_field(msg, CPSIP_FLD_FROM_URI);
  mask(uri, "\"<>");
  return uri;
}

// The party is in the From of the INVITE. One that cannot be read is empty, and the ring of a party without
// any address leaves the line free.
void NotifyLineRing(unsigned kind, unsigned i, cpsip_msg* msg) {
  const bool known = msg != nullptr;
  line_ring(static_cast<int>(kind), static_cast<int>(i), known ? display_name(*msg).c_str() : "",
            known ? party_uri(*msg).c_str() : "");
}

void listen_connected(int i, HarkLine& line, const char* media) {
  line.state = kLineConnected;
  const LineWatch watch(line);
  const int gain = sipctrl_adjustifbgains(i);
  harkqnr_ctrl(i, media, gain, static_cast<int>(line.gpio), static_cast<int>(line.gpiol));
  if (watch.unchanged()) report_line(kListenKind, std::string(line.url), kLineConnected);
}

// No mixer command: what the far station hears of us is its own listen line.
void talk_connected(HarkLine& line) {
  line.state = kLineConnected;
  const LineWatch watch(line);
  const std::string url = line.url;
  const char listen = release_fardropped_listen(url.c_str());
  (void)sipctrl_adjustifbgains(-1);
  if (watch.unchanged()) sipctrl_modifycall_callback(url.c_str(), listen, kLineConnected);
}

void NotifyLineConnected(unsigned kind, unsigned i, const char* from, const char* to, const char* media,
                         const char* codecs) {
  syslog(kLogInfo, "Line %u/%u connected From='%s' To='%s' Media='%s' Codecs='%s'", kind, i, from, to, media,
         codecs);
  HarkLine* line = find_used_line(kind, i);
  if (line == nullptr) return;
  if (kind == kListenKind) {
    listen_connected(static_cast<int>(i), *line, media);
  } else {
    talk_connected(*line);
  }
}

void NotifyFarEndRinging(unsigned kind, unsigned i) {
  syslog(kLogInfo, "Line %u/%u far end ringing", kind, i);
  HarkLine* line = find_used_line(kind, i);
  if (line == nullptr) return;
  line->state = kLineFarRinging;
  report_line(static_cast<int>(kind), std::string(line->url), kLineFarRinging);
}

// The letter only: who seized the line looks at it when Seize returns.
void NotifyLineSeized(unsigned kind, unsigned i) {
  if (HarkLine* line = find_line(kind, i)) line->state = kLineSeized;
}

void NotifyLocalDrop(unsigned kind, unsigned i) {
  const HarkLine* line = find_line(kind, i);
  if (line != nullptr) syslog(kLogInfo, "Line %u/%u local drop %s", kind, i, url_or_mark(*line));
}

bool is_flashing(const HarkLine& line) { return line.drop_pending && line.state == kLineFarDropped; }

void listen_idle(int i, HarkLine& line) {
  const LineWatch watch(line);
  harkqnr_ctrl(i, nullptr, 0, static_cast<int>(line.gpio), static_cast<int>(line.gpiol));
  // A far-dropped line stays for its flash; its drop frees it.
  if (watch.same_call() && !is_flashing(line)) LineTableFree(listen_lines, i);
  (void)sipctrl_adjustifbgains(-1);
}

void talk_idle(int i, HarkLine& line) {
  const LineWatch watch(line);
  harkqnr_ctrl(-1, nullptr, 0, static_cast<int>(line.gpio), static_cast<int>(line.gpiot));
  if (watch.same_call()) {
    end_links(kTalkKind, i);
    if (!is_flashing(line)) LineTableFree(talk_lines, i);
  }
  (void)sipctrl_adjustifbgains(-1);
}

void NotifyLineState(unsigned kind, unsigned i, State state) {
  HarkLine* line = find_line(kind, i);
  if (line == nullptr) return;
  syslog(kLogInfo, "Line %u/%u %s %s", kind, i, estate2c(state).text.data(), url_or_mark(*line));
  if (state == ISipStackUAEvents::STATE_CALLING) line->state = kLineCalling;
  if (state != ISipStackUAEvents::STATE_IDLE) return;
  syslog(kLogInfo, "Idle %s on %u/%u", url_or_mark(*line), kind, i);
  if (kind == kListenKind) {
    listen_idle(static_cast<int>(i), *line);
  } else {
    talk_idle(static_cast<int>(i), *line);
  }
}

}  // namespace

void NotifyFarEndDrop(unsigned kind, unsigned i) {
  HarkLine* line = find_line(kind, i);
  if (line == nullptr) return;
  syslog(kLogInfo, "Line %u/%u far drop %s", kind, i, url_or_mark(*line));
  if (kind != kListenKind || line->url.empty()) return;
  line->state = kLineFarDropped;
  line->drop_time = clock_now();
  line->drop_pending = true;
  report_line(kListenKind, std::string(line->url), kLineFarDropped);
}

void drop_call(int kind, int i) {
  const HarkLine& line = *getline(kind, i);
  const LineWatch watch(line);
  SipStackUA::GetInstance()->Drop(static_cast<unsigned>(kind), static_cast<unsigned>(i));
  if (watch.same_call() && line.outlived) {
    NotifyLineState(static_cast<unsigned>(kind), static_cast<unsigned>(i), ISipStackUAEvents::STATE_IDLE);
  }
}

void drop_stalled_calls(int kind, const char* url) {
  const std::span<HarkLine> table = line_table(kind);
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (!is_active(table[i]) || hark_urlcompare(table[i].url.c_str(), url) != 0) continue;
    syslog(kLogInfo, "DropStalled %s on %d/%zu", table[i].url.c_str(), kind, i);
    end_links(kind, static_cast<int>(i));
    LineTableFree(table, static_cast<int>(i));
    if (!table[i].url.empty()) continue;  // who heard of its end has begun another call on it
    SipStackUA::GetInstance()->Drop(static_cast<unsigned>(kind), static_cast<unsigned>(i));
  }
}

void line_ring(int kind, int i, const char* name, const char* uri) {
  syslog(kLogInfo, "Line %d/%d ring from %s", kind, i, uri);
  HarkLine* line = getline(kind, i);
  if (line == nullptr) return;
  end_links(kind, i);
  LineTableFree(line_table(kind), i);
  const std::string url = harkurl_fromsip2(name, uri);
  if (url.empty()) return;
  drop_stalled_calls(kind, url.c_str());
  begin_use(*line, url.c_str());
  line->state = kLineRequest;
  // Kept: a talk line stays at level 0. Its level is compared with nothing here.
  if (kind == kListenKind) line->trgl = line->trgl_compare = kDefaultTriggerLevel;
  report_line(kind, url, kLineRequest);
}

ISipStackUAEvents line_events() {
  ISipStackUAEvents events;
  events.slots.ServiceError = NotifyServiceError;
  events.slots.ServiceDestroy = NotifyServiceDestroy;
  events.slots.LineConnected = NotifyLineConnected;
  events.slots.LineRing2 = NotifyLineRing;
  events.slots.FarEndRinging = NotifyFarEndRinging;
  events.slots.FarEndDrop = NotifyFarEndDrop;
  events.slots.LocalDrop = NotifyLocalDrop;
  events.slots.LineSeized = NotifyLineSeized;
  events.slots.LineState = NotifyLineState;
  events.slots.LineError = NotifyLineError;
  return events;
}

}  // namespace hark
