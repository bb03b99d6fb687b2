#include "daemon/server_cmd.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "callctl/line_table.h"
#include "callctl/modifycall.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/server_private.h"
#include "daemon/settings.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"

namespace hark {
namespace {

constexpr const char ERROR_CALLFAILED[] = "ERROR 3001 call failed\n";  // the one that ends in LF alone
constexpr int kUrlSize = 80;        // a URL of a command: 79 characters and the NUL
constexpr long kLowestGain = -799;  // tenths of a dB; below it a fader is off

using Run = void (*)(const char* line, int i);

void run_ver(const char* /*line*/, int i) {
  if (reply_fd(i) >= 0) server_resp(reply_fd(i), "VER%s\r\n", harkd_ext_ver());
}

void run_quit(const char* /*line*/, int i) {
  if (reply_fd(i) >= 0) (void)::shutdown(reply_fd(i), SHUT_RD);
}

void run_call(const char* line, int i) { server_cmd_CALL(line + 4, i); }
void run_panel(const char* line, int i) { server_cmd_HARKUI("", line, i); }
void run_panel_set(const char* line, int i) { server_cmd_HARKUI("SET", line + 4, i); }
void run_panel_event(const char* line, int i) { server_cmd_HARKUI("EVENT", line + 6, i); }
void run_panel_attach(const char* line, int i) { server_cmd_HARKUI("ATTACH", line + 7, i); }
void run_console_event(const char* line, int i) { server_cmd_SURFACE(line + 14, i); }
void run_console_indi(const char* line, int i) { server_cmd_SURFACE(line + 13, i); }
void run_fader_event(const char* line, int i) { server_cmd_SURFACE(line + 6, i); }
void run_io(const char* line, int /*i*/) { server_cmd_IO(line); }
void run_nothing(const char* /*line*/, int /*i*/) {}

struct Command {
  std::string_view text;
  bool whole;  // the whole line, not its beginning
  Run run;
};

// What the line is or begins with (case does not count), whether it is the whole line, what it does. The
// first row that fits is taken: a longer word stands in front of its own beginning. The marks of a batch do
// nothing, since the lines of a batch run as they arrive.
constexpr std::array<Command, 18> kCommands{{
    {"VER", true, run_ver},
    {"QUIT", true, run_quit},
    {"CALL", false, run_call},
    {"HARKUI#", false, run_panel},
    {"SET HARKUI#", false, run_panel_set},
    {"EVENT HARKUI#", false, run_panel_event},
    {"ATTACH HARKUI#", false, run_panel_attach},
    {"EVENT Intercom", false, run_console_event},
    {"INDI Intercom", false, run_console_indi},
    {"EVENT FaCH", false, run_fader_event},
    {"ACK ", false, run_nothing},
    {"IO", false, run_io},
    {"$begin", false, run_nothing},
    {"%begin", false, run_nothing},
    {"begin", false, run_nothing},
    {"$end", false, run_nothing},
    {"%end", false, run_nothing},
    {"end", false, run_nothing},
}};

// What is left once nobody took the line.
bool is_ignored(const char* line) { return *line == '#' || starts_with_nocase(line, "EVENT"); }

// The first character of a tag's value; kNoWish when the tag is absent.
char wish_of(const char* tags, const char* tag) {
  const char* value = qnr_findval(tags, tag);
  if (value == nullptr) return kNoWish;
  std::array<char, 2> first{};
  qnr_copyval(first.data(), value, static_cast<int>(first.size()));
  return first[0];
}

void call_status_line(int fd, const HarkLine& line, char listen, char talk, const long* volume) {
  if (line.url.empty()) return;
  server_resp_single(fd, fmt_call_indi(line.url.c_str(), listen, talk, volume).data());
}

// "CALL" with nothing behind the word, whatever ends the word: "CALLS" asks for the list too.
bool asks_for_list(const char* rest) {
  rest += std::strcspn(rest, " ");
  return rest[std::strspn(rest, " ")] == '\0';
}

void send_gain(int sub, const char* value) {
  const long gain = std::min<long>(qnr_vall(value), kGainLimit);
  if (gain >= kLowestGain) {
    harkqnr_ctrl(".sub#%d gain=%ld\r\n", sub, gain);
  } else {
    harkqnr_ctrl(".sub#%d gain=OFF\r\n", sub);
  }
}

}  // namespace

void server_cmd(const char* line, int i) {
  if (line == nullptr) return;
  if (station.dbg) (void)std::printf("%s < %s\n", station.appName.c_str(), line);
  for (const Command& command : kCommands) {
    const bool fits =
        command.whole ? equal_nocase(line, command.text) : starts_with_nocase(line, command.text);
    if (!fits) continue;
    command.run(line, i);
    return;
  }
  if (harkd_ext_input(line, i) == 0 || is_ignored(line)) return;
  server_resp_single(reply_fd(i), QNR_ERROR_BADCOMMAND);
}

LineBuffer fmt_call_indi(const char* url, char listen, char talk, const long* volume) {
  const auto known = [](char letter) { return static_cast<signed char>(letter) > 0; };
  std::array<char, kEscapedUrlSize> escaped;
  qnr_escape(escaped.data(), kEscapedUrlSize, url);
  LineBuffer text;
  TextWriter out(text);
  out.append("CALL URL:\"%s\"", escaped.data());
  if (known(talk)) out.append(" TALK:%c", talk);
  if (known(listen)) out.append(" LISTEN:%c", listen);
  if (volume != nullptr) out.append(" VOLUME:%ld", *volume);
  out.append("\r\n");
  return text;
}

void server_cmd_CALL_STATUS(int fd) {
  server_resp_single(fd, "BEGIN\r\n");
  for (const HarkLine& line : talk_lines)
    call_status_line(fd, line, 0, line.state, nullptr);
  for (const HarkLine& line : listen_lines) {
    const long volume = line.volume;
    call_status_line(fd, line, line.state, 0, &volume);
  }
  server_resp_single(fd, "END\r\n");
}

void server_cmd_CALL(const char* rest, int i) {
  const char* value = qnr_findval(rest, "URL");
  if (value == nullptr) {
    if (!asks_for_list(rest)) {
      server_resp_single(reply_fd(i), QNR_ERROR_BADCOMMAND);
      return;
    }
    (void)qnrdb_sub_set(&qnrobjdb, "CALL", -1, i, true);
    if (reply_fd(i) >= 0) server_cmd_CALL_STATUS(reply_fd(i));
    return;
  }
  std::array<char, kUrlSize> url{};
  qnr_copyval(url.data(), value, kUrlSize);
  const char listen = wish_of(rest, "LISTEN");
  const char talk = wish_of(rest, "TALK");
  if ((listen != kNoWish || talk != kNoWish) && sipctrl_modifycall(url.data(), listen, talk) != 0) {
    server_resp_single(reply_fd(i), ERROR_CALLFAILED);
  }
  if (const char* volume = qnr_findval(rest, "VOLUME")) sipctrl_setcallvolume(url.data(), qnr_vall(volume));
}

void server_cmd_IO(const char* line) {
  if (const char* value = qnr_findval(line, "MICV")) send_gain(kSubTalk, value);
  if (const char* value = qnr_findval(line, "SPKV")) send_gain(kSubListen, value);
}

}  // namespace hark
