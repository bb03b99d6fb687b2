#include "callctl/sipctrl.h"

#include <arpa/inet.h>

#include <array>
#include <cstring>
#include <span>

#include "base/text.h"
#include "callctl/line_events.h"
#include "callctl/line_table.h"
#include "daemon/station/station.h"
#include "routing/harkqnr_gpio.h"
#include "sipua/SipStackUA.h"

namespace hark {
namespace {

constexpr unsigned kServiceSlots = 3;  // slot 0 stays empty: a service's index is its kind
constexpr std::size_t kEscapedNameSize = 31;
constexpr std::uint16_t kRtpPort = 5004;
constexpr const char* kPayloadTypes = "96=L24/48000/2";
constexpr bool kMatchNumber = false;
constexpr bool kPartialTailMatch = false;

const ISipStackUAEvents g_events = line_events();

SipStackUA& stack() { return *SipStackUA::GetInstance(); }

void create_service(int kind, const StationIdentity& identity) {
  const bool listen = kind == kListenKind;
  std::array<char, kEscapedNameSize> label{};
  str2mdnsnamez(identity.name, label.data(), label.size());
  std::array<char, 128> user{};
  format_text(user, "%s@%u.%u.%u.%u;trgl=%d;label=%s", listen ? "hark-listen" : "hark-talk",
              identity.ip >> 24, identity.ip >> 16 & 255, identity.ip >> 8 & 255, identity.ip & 255,
              identity.trgl + 1, label.data());
  SipServiceConfig config;
  config.localIp = identity.ip;
  config.localPort = static_cast<std::uint16_t>(identity.port + kind);
  config.publicIp = identity.mcast;
  config.payloadTypes = kPayloadTypes;
  config.displayName = identity.alt;
  config.user = user.data();
  config.lines = listen ? kListenLines : kTalkLines;
  config.matchNumber = kMatchNumber;
  config.partialTailMatch = kPartialTailMatch;
  config.rtpPort = kRtpPort;
  config.allowMissingMedia = !listen;
  stack().ServiceCreate(static_cast<unsigned>(kind), config);
}

void drop_all(int kind) {
  const std::span<HarkLine> table = line_table(kind);
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (is_active(table[i])) drop_call(kind, static_cast<int>(i));
  }
}

// A line that is still calling keeps its pending drop until the far end reacts: there is nothing to hang up
// yet.
bool is_drop_due(const HarkLine& line, TimeUs now) {
  if (line.url.empty() || !line.drop_pending || line.state == kLineCalling) return false;
  const TimeUs wait =
      line.state == kLineFarDropped ? station.hark_fardrop_timeout : station.hark_localdrop_delay_us;
  return wait == 0 || now - line.drop_time > wait;
}

void sipctrl_process_lines(TimeUs now, int kind) {
  const std::span<HarkLine> table = line_table(kind);
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (!is_drop_due(table[i], now)) continue;
    table[i].drop_pending = false;
    if (table[i].state == kLineFarDropped) {
      LineTableFree(table, static_cast<int>(i));
    } else {
      drop_call(kind, static_cast<int>(i));
    }
  }
}

// -128 to 127, whatever the sign of char is on the machine.
int signed_byte(char c) {
  const int byte = static_cast<unsigned char>(c);
  return byte < 128 ? byte : byte - 256;
}

// How many places `c` takes in an escaped label.
std::size_t escaped_size(char c) {
  if (c == '.' || c == '\\') return 2;
  return signed_byte(c) < 33 ? 4 : 1;
}

}  // namespace

int sipctrl_initialize() {
  InitializeLineTable(listen_lines);
  InitializeLineTable(talk_lines);
  return stack().Initialize(kServiceSlots, &g_events) > 0 ? 0 : -1;
}

// Kept: bytes are taken as signed, so that those from 0x80 up are escaped too, and their digits come from the
// signed division. Stations in the field compare names in this form.
int str2mdnsnamez(const char* in, char* out, std::size_t size) {
  if (out == nullptr || size == 0) return 0;
  std::size_t length = 0;
  for (; *in != '\0'; ++in) {
    const std::size_t places = escaped_size(*in);
    if (length + places > size - 1) break;
    if (places > 1) out[length++] = '\\';
    if (places == 4) {
      const int c = signed_byte(*in);
      out[length++] = static_cast<char>('0' + c / 100);
      out[length++] = static_cast<char>('0' + c / 10 % 10);
      out[length++] = static_cast<char>('0' + c % 10);
    } else {
      out[length++] = *in;
    }
  }
  out[length] = '\0';
  return static_cast<int>(length);
}

StationIdentity station_identity() {
  StationIdentity identity;
  identity.name = station.harkd_svcname.data();
  identity.alt = station.harkd_alt.data();
  identity.trgl = harkd_get_trgl();
  identity.ip = ntohl(station.sip_ip);
  identity.port = static_cast<std::uint16_t>(station.sip_port);
  identity.mcast = local_source_address();
  return identity;
}

int sipctrl_createservice(const StationIdentity& identity) {
  create_service(kListenKind, identity);
  create_service(kTalkKind, identity);
  return 0;
}

int sipctrl_removeservice() {
  drop_all(kListenKind);
  drop_all(kTalkKind);
  stack().ServiceDestroy(kListenKind);
  stack().ServiceDestroy(kTalkKind);
  return 0;
}

void sipctrl_done() {
  (void)sipctrl_removeservice();
  stack().Finalize();
  LineTableFreeAll(listen_lines);
  LineTableFreeAll(talk_lines);
}

void sipctrl_process(TimeUs now) {
  stack().ProcessMessages();
  sipctrl_process_lines(now, kListenKind);
  sipctrl_process_lines(now, kTalkKind);
  harkqnr_gpio_process_events(now);
}

}  // namespace hark
