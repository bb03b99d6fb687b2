#include "routing/harkqnr.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "base/fd.h"
#include "base/text.h"
#include "daemon/qnrlib/linereader.h"
#include "daemon/qnrlib/qnrcli.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/station.h"
#include "routing/harkqnr_gpio.h"
#include "routing/qnr_gpio.h"

namespace hark {

HarkqnrHooks harkqnr_hooks;

namespace {

constexpr int kSrcEscaped = 600;  // room for any URL or media address, each character escaped
constexpr int kNameEscaped = 21;  // room for a name of 10 characters, each escaped
constexpr std::size_t kAppIdSize = 32;
constexpr std::size_t kAppIdFixed = 16;  // "orfe:app:hark#1@"

// How long a routing daemon that does not read may hold one command up. Far longer than it ever needs; beyond
// it the connection is given up and dialled anew.
constexpr timeval kSendLimit{1, 200'000};

struct HarkqnrState {
  int qnr_fd = -1;  // owned; closed here or by whoever tells of it with harkqnr_connected(-1)
  std::unique_ptr<LineReader> rxcmdbuf;  // made at the first receive
  LineBuffer txcmdbuf{};
};
HarkqnrState g_qnr;

void trace_sent() {
  if (station.dbg) (void)std::printf("harkqnr_ctrl > %s", g_qnr.txcmdbuf.data());
}

// Sends the transmit buffer. A routing daemon that stopped reading, or took half a command, is no partner any
// more: shutting the socket makes the next receive report the loss, and the main loop dials again.
void send_txcmdbuf() {
  trace_sent();
  if (qnr_cmd(g_qnr.qnr_fd, g_qnr.txcmdbuf.data()) != 0) (void)::shutdown(g_qnr.qnr_fd, SHUT_RDWR);
}

// "orfe:app:hark#1@" and the hardware address of eth0. The interface is fixed, not the one of the options:
// the id names the device, whichever interface the intercom runs on.
void mkappid(std::span<char> buf) {
  copy_text(buf, "orfe:app:hark#1@unknown");
  std::array<unsigned char, 6> a{};
  if (buf.size() <= kAppIdFixed || !read_hardware_address("eth0", a)) return;
  format_text(buf.subspan(kAppIdFixed), "%02X%02X%02X%02X%02X%02X", a[0], a[1], a[2], a[3], a[4], a[5]);
}

int close_connection() {
  ::close(g_qnr.qnr_fd);
  harkqnr_connected(-1);
  return -1;
}

}  // namespace

int harkqnr_fd() { return g_qnr.qnr_fd; }

void harkqnr_connected(int fd) {
  g_qnr.qnr_fd = fd;
  g_qnr.rxcmdbuf.reset();
  if (fd < 0) return;
  (void)::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &kSendLimit, sizeof kSendLimit);
  std::array<char, kAppIdSize> app_id{};
  mkappid(app_id);
  harkqnr_ctrl("get supv state\r\ncreate vmix2 app_id=\"%s\"\r\n", app_id.data());
  harkqnr_vmix2src(kSubTalk, station.harkd_qnsrcch, station.harkd_alt.data());
  harkqnr_vmix2src(kSubListen, station.harkd_qnprevch, nullptr);
}

int harkqnr_recv() {
  if (g_qnr.qnr_fd < 0) return -1;
  if (!g_qnr.rxcmdbuf) g_qnr.rxcmdbuf.reset(new (std::nothrow) LineReader);
  if (!g_qnr.rxcmdbuf) {
    (void)std::fprintf(stderr, "%s server_recv: out of memory\n", station.appName.c_str());
    return close_connection();
  }
  if (g_qnr.rxcmdbuf->receive(g_qnr.qnr_fd) <= 0) return close_connection();
  while (const char* line = g_qnr.rxcmdbuf->next())
    harkqnr_cmd(line);
  return g_qnr.qnr_fd;
}

void harkqnr_ctrl(const char* fmt, ...) {
  if (g_qnr.qnr_fd < 0) return;
  TextWriter out(g_qnr.txcmdbuf);
  if (*fmt == '.') out.append("set %s", qncp_hark);
  va_list args;
  va_start(args, fmt);
  out.advance(vformat_text(out.rest(), fmt, args));
  va_end(args);
  send_txcmdbuf();
}

void harkqnr_ctrl(int dst, const char* src, int gain, int gpio, int pin) {
  if (dst >= 0) {
    // The input number counts from the first routing destination here, and from 1 in harkqnr_dstgain. Kept:
    // both are the same with the default destinations, and installed mixers are numbered after this. No
    // address holds a quote or a backslash; escaping keeps one that does from ending the value.
    std::array<char, kSrcEscaped> escaped{};
    qnr_escape(escaped.data(), kSrcEscaped, src);
    harkqnr_ctrl("set %s.sub#%d.in#%d src_id=\"%s\", gain=%d\r\n", qncp_hark, kSubListen,
                 station.harkd_qnrd_io_min + dst, escaped.data(), gain);
  }
  if (gpio == 0 || pin == 0) return;
  std::array<char, 32> line{};
  TextWriter out(line);
  out.append("GPI %d ", station.harkd_qnrd_gpio_base + gpio);
  for (int i = 1; i <= kGpioPins; ++i)
    out.append("%c", i != pin ? 'x' : src != nullptr ? 'L' : 'H');
  out.append("\r\n");
  if (harkqnr_hooks.ext_input != nullptr) (void)harkqnr_hooks.ext_input(line.data(), -1);
}

void harkqnr_dstgain(int dst, int gain) {
  if (dst != -1) harkqnr_ctrl(".sub#%d.in#%d gain=%d\r\n", kSubListen, dst + 1, gain);
}

void harkqnr_vmix2src(int n, in_addr_t ip, const char* name) {
  if (ip == 0) {
    harkqnr_ctrl(".sub#%d.sub_out src_id=\"\"\r\n", n);
  } else if (ip != INADDR_NONE) {
    harkqnr_ctrl(".sub#%d.sub_out src_id=\"%s:5004\"\r\n", n, dotted(ip).data());
  }
  if (name == nullptr) return;
  std::array<char, kNameEscaped> escaped{};
  qnr_escape(escaped.data(), kNameEscaped, name);
  harkqnr_ctrl(".sub#%d.sub_out src_name=\"%s\"\r\n", n, escaped.data());
}

void harkqnr_src(int dst, const char* src, const char* rtpt) {
  harkqnr_ctrl("SRC %d RTPA:\"%s\" RTPT:\"%s\"\r\n", dst, src, rtpt);
}

void harkqnr_shut() {
  harkqnr_ctrl("SHUT\n");
  harkqnr_gpio_clear_events();
}

int harkqnr_HARK(char* buf, std::size_t n) {
  std::array<char, kNameEscaped> name{};
  qnr_escape(name.data(), kNameEscaped, station.harkd_svcname.data());
  TextWriter out(std::span(buf, n));
  out.append("HARK LABL:\"%s\" TRGL:%d TRGLA:%d DROPFLASH:%ld DIML:%ld LATCH:%ld", name.data(),
             station.harkd_trgl_normal + 1, station.harkd_trgl_onair + 1,
             static_cast<long>(station.hark_fardrop_timeout / kUsPerMs),
             static_cast<long>(station.harkd_ifbgain), station.harkui_tap_time_ms);
  out.append(" EXTC:%d", station.harkd_extc);
  if (station.harkui_aans != -1) out.append(" AANS:%d", station.harkui_aans);
  return out.length();
}

}  // namespace hark
