#include "support/harkctl_station.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <optional>

#include "base/text.h"
#include "tools/control/control_lines.h"
#include "tools/harkctl/connection.h"
#include "tools/harkctl/settings.h"
#include "tools/harkctl/sip_options.h"
#include "tools/harkctl/sip_probe.h"
#include "tools/harkctl/wait.h"

namespace hark::fuzz {
namespace {

struct Station {
  std::deque<std::string> lines;
  std::vector<std::string> datagrams;
  std::vector<std::string> sent;
  std::vector<off_t> writes;  // where each write to the output began
};
Station station;

bool take_mark(const char* mark) {
  if (station.lines.empty() || station.lines.front() != mark) return false;
  station.lines.pop_front();
  return true;
}

bool is_control(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }

// A station reads a number as C does: with a zero in front it would be another one.
void check_settings_line(const std::string& line) {
  for (const ctl::SettingName& setting : ctl::kSettings) {
    const std::string value = control::tag_of(line, setting.name).value_or("");
    if (setting.kind == ctl::SettingKind::kLabel) {
      check(value.size() <= 10, "a label as long as a station takes it");
    } else if (value != "*") {
      check(control::number_of(line, setting.name).value_or(0) == std::strtol(value.c_str(), nullptr, 10),
            "a number that the station reads as it was written");
    }
  }
}

void check_sent(const std::string& line) {
  check(line.size() <= kMaxLine, "a line that a station takes");
  check(std::none_of(line.begin(), line.end(), is_control), "no control characters go out");
  const std::string verb = line.substr(0, line.find(' '));
  static constexpr std::array<std::string_view, 10> kVerbs{"CALL",   "CFG", "GPI", "GPO", "HARK",
                                                           "HARKUI", "IP",  "SRC", "SUB", "VER"};
  check(std::find(kVerbs.begin(), kVerbs.end(), verb) != kVerbs.end(), "a line that harkctl says");
  if (verb == "HARK") check_settings_line(line);
  if (verb != "CALL" || line == verb) return;
  const std::optional<control::CallReport> told = control::read_call(line);
  check(told && line.starts_with("CALL URL:" + control::quoted(told->url) + " "), "a URL in its quotes");
  check(told->talk || told->listen, "what is to become of a call");
}

std::string content(int fd) {
  std::string text(static_cast<std::size_t>(::lseek(fd, 0, SEEK_END)), '\0');
  check(::pread(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()), "a file in memory");
  return text;
}

int memory() {
  const int fd = ::memfd_create("harkctl-fuzz", MFD_CLOEXEC);
  if (fd < 0) std::abort();
  return fd;
}

void empty(int fd) {
  if (::ftruncate(fd, 0) != 0 || ::lseek(fd, 0, SEEK_SET) != 0) std::abort();
}

}  // namespace

void station_says(const std::vector<std::string>& lines, const std::vector<std::string>& datagrams) {
  station = {{lines.begin(), lines.end()}, datagrams, {}, {}};
}

const std::vector<std::string>& lines_sent() { return station.sent; }

// glibc lets stderr be assigned; see mute_output().
Listener::Listener() : fd_(memory()), complaints_fd_(memory()) {
  std::FILE* complaints = ::fdopen(complaints_fd_, "w");
  if (complaints == nullptr) std::abort();
  (void)std::setvbuf(complaints, nullptr, _IONBF, 0);
  stderr = complaints;
}

Listener::~Listener() { (void)::close(fd_); }

void Listener::clear() const {
  empty(fd_);
  empty(complaints_fd_);
}

// A line is written in pieces of PIPE_BUF bytes; the last one is shorter, or ends it.
std::vector<std::string> Listener::told() const {
  const std::string all = content(fd_);
  std::vector<std::string> texts;
  bool goes_on = false;
  for (std::size_t i = 0; i < station.writes.size(); ++i) {
    const auto begin = static_cast<std::size_t>(station.writes[i]);
    const std::size_t end =
        i + 1 < station.writes.size() ? static_cast<std::size_t>(station.writes[i + 1]) : all.size();
    if (!goes_on) texts.emplace_back();
    texts.back() += all.substr(begin, end - begin);
    goes_on = end - begin == PIPE_BUF && texts.back().back() != '\n';
  }
  for (std::string& text : texts) {
    check(!goes_on && text.ends_with('\n'), "a line that ends");
    text.pop_back();
  }
  return texts;
}

std::string Listener::complaints() const { return content(complaints_fd_); }

}  // namespace hark::fuzz

namespace hark::ctl {

using fuzz::check;
using fuzz::station;

std::string Connection::open(const control::HostPort&, Deadline) {
  close();
  if (fuzz::take_mark("-") || station.lines.empty()) return "connection refused";
  fd_ = UniqueFd(::dup(STDIN_FILENO));
  return {};
}

void Connection::close() {
  fd_.reset();
  splitter_.clear();
  lines_.clear();
  failure_.clear();
}

bool Connection::send(std::string_view bytes, Deadline) {
  check(is_open() && bytes.ends_with("\r\n"), "lines that end go out to a station that is there");
  while (!bytes.empty()) {
    const std::size_t end = bytes.find("\r\n");
    station.sent.emplace_back(bytes.substr(0, end));
    bytes.remove_prefix(end + 2);
    fuzz::check_sent(station.sent.back());
  }
  return true;
}

Connection::Got Connection::read(std::string& line, Deadline) {
  while (lines_.empty()) {
    if (fuzz::take_mark("@")) {
      failure_ = "does not answer";
      return Got::kTimeout;
    }
    if (fuzz::take_mark("%") || station.lines.empty()) {
      failure_ = "closed by the station";
      return Got::kLost;
    }
    splitter_.feed(station.lines.front() + "\r\n",
                   [this](const std::string& text) { lines_.push_back(text); });
    station.lines.pop_front();
  }
  line = std::move(lines_.front());
  lines_.pop_front();
  return Got::kLine;
}

// Any output has room; time passes at once, and when the station has said all nobody waits for more.
Wait wait_for(int fd, short events, Deadline, const Interrupts&) {
  if (fd >= 0 && events == POLLOUT) {
    station.writes.push_back(::lseek(fd, 0, SEEK_CUR));
    return Wait::kReady;
  }
  return station.lines.empty() ? Wait::kInterrupted : Wait::kTimeout;
}

void SipProbe::start(Deadline) {
  branch_ = fuzz::kProbeBranch;
  request_ = options_request({service_, place(), "127.0.0.1:5070", branch_, "word@127.0.0.1:5070", "tag"});
  check(request_.starts_with("OPTIONS sip:") && request_.ends_with("\r\n\r\n"), "a request");
  for (const std::string& datagram : station.datagrams) {
    const int status = response_status(datagram, branch_);
    check(status >= 0 && status <= 999, "a status code");
    check(status == 0 || (datagram.starts_with("SIP/2.0 ") && datagram.find(branch_) != std::string::npos),
          "an answer to the question");
    if (is_final(status) && status_ == 0) status_ = status;
  }
  if (status_ == 0) why_ = "no answer";
}

void ask_services(std::span<SipProbe> probes, std::chrono::milliseconds time) {
  for (SipProbe& probe : probes) {
    probe.start(Clock::now() + time);
    check(probe.is_settled(), "an answer, or why there is none");
  }
}

}  // namespace hark::ctl
