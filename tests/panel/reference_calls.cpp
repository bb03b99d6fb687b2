// Each change is told in the order in which the daemon tells it: who hears of it may ask for the next one.
#include "panel/reference_calls.h"

#include <algorithm>

#include "panel/reference_files.h"

namespace hark::reference {
namespace {

constexpr TimeUs kLocalDropUs = 400'000;
constexpr TimeUs kFlashUs = 5'000'000;

void start_drop(Line& line) {
  line.drop_pending = true;
  line.drop_time = clock_now();
}

}  // namespace

std::span<Line> Calls::table(int kind) {
  return kind == kListen ? std::span<Line>(listen) : std::span<Line>(talk);
}

bool Calls::any() const {
  const auto used = [](const Line& line) { return !line.url.empty(); };
  return std::any_of(listen.begin(), listen.end(), used) || std::any_of(talk.begin(), talk.end(), used);
}

Line* Calls::find(int kind, const std::string& url) {
  for (Line& line : table(kind)) {
    if (!line.url.empty() && address_of(line.url) == address_of(url)) return &line;
  }
  return nullptr;
}

// A far-dropped line that is wanted again is given up for a new one.
Line* Calls::find_for_wish(int kind, const std::string& url, char wish) {
  Line* line = find(kind, url);
  if (line == nullptr || wish != '1' || line->state != 'd') return line;
  free(kind, *line);
  return find(kind, url);
}

Line* Calls::alloc(int kind, const std::string& url) {
  for (Line& line : table(kind)) {
    if (!line.url.empty()) continue;
    line = Line{url, 'S', true, false, 0, false};
    return &line;
  }
  return nullptr;
}

void Calls::tell(int kind, const std::string& url, char letter) {
  report(url, kind == kListen ? letter : kNone, kind == kTalk ? letter : kNone);
}

// A line in "0" has been reported off already.
void Calls::free(int kind, Line& line) {
  const Line ended = line;
  line = Line{};
  if (ended.state != '0') tell(kind, ended.url, '0');
}

// The SIP line goes idle, and the line ends with it, unless it shows that the far end hung up.
void Calls::drop(int kind, Line& line) {
  if (!line.seized) return;
  line.seized = false;
  if (!(line.drop_pending && line.state == 'd')) free(kind, line);
}

char Calls::release_fardropped(const std::string& url) {
  Line* line = find(kListen, url);
  if (line == nullptr || line->state != 'd') return kNone;
  free(kListen, *line);
  return '0';
}

void Calls::modify(const std::string& url, char listen_wish, char talk_wish) {
  const auto one = [this, &url](int kind, char wish) {
    return is_routed(url) ? modify_routed(kind, url, wish) : modify_station(kind, url, wish);
  };
  // Talk is not tried when listen failed.
  if (one(kListen, listen_wish)) (void)one(kTalk, talk_wish);
}

// The far end is not called: the line is taken, fails, and is reported off.
bool Calls::modify_station(int kind, const std::string& url, char wish) {
  if (wish != '1') return true;
  if (Line* line = alloc(kind, url)) free(kind, *line);
  return false;
}

bool Calls::modify_routed(int kind, const std::string& url, char wish) {
  if (wish == kNone) return true;
  Line* line = find_for_wish(kind, url, wish);
  if (line == nullptr) return wish == '1' ? open(kind, url) : true;
  if (wish == '0') start_drop(*line);
  if (wish != '1') return true;
  line->drop_pending = false;
  if (line->state == 'R') answer(kind, *line);
  return true;
}

bool Calls::open(int kind, const std::string& url) {
  Line* line = alloc(kind, url);
  if (line == nullptr) return false;
  const bool contact = number_of(url, "gpio") != 0;
  const bool pin = contact && number_of(url, kind == kListen ? "gpiol" : "gpiot") != 0;
  const bool ack = contact && number_of(url, "gpioack") != 0;
  line->ifb = !tag_of(url, "ifb").empty();
  char listen_letter = kNone;
  char talk_letter = kNone;
  if (kind == kTalk && line->ifb) line->state = talk_letter = 'r';
  if (ack ? pin : kind == kListen || pin) {
    line->state = ack ? 'C' : '1';
    (kind == kListen ? listen_letter : talk_letter) = line->state;
    if (kind == kTalk) listen_letter = release_fardropped(url);
  }
  if (listen_letter != kNone || talk_letter != kNone) report(url, listen_letter, talk_letter);
  return true;
}

// A talk line with an IFB link shows the request again until the far device confirms.
void Calls::answer(int kind, Line& line) {
  line.state = kind == kTalk && line.ifb ? 'R' : '1';
  tell(kind, std::string(line.url), line.state);
}

void Calls::remote(int kind, const std::string& url, char wish) {
  Line* line = find_for_wish(kind, url, wish);
  const char current = line == nullptr ? '0' : line->state;
  if (wish == '1' && current == '1') {
    line->drop_pending = false;
  } else if (wish == '1') {
    if (line == nullptr) line = alloc(kind, url);
    if (line == nullptr) return;
    line->state = 'R';
    line->drop_pending = false;
    tell(kind, std::string(line->url), 'R');
  } else if (current != '0') {
    if (kind == kListen) {
      line->state = 'd';
      start_drop(*line);
      tell(kind, std::string(line->url), 'd');
    }
    drop(kind, *line);
  }
}

void Calls::confirm(int port, bool active) {
  Line& line = talk[static_cast<std::size_t>(port)];
  const std::string url = line.url;
  line.state = active ? '1' : '0';
  const char listen_letter = release_fardropped(url);
  report(url, listen_letter, active ? '1' : '0');
}

void Calls::process(TimeUs now) {
  for (const int kind : {kListen, kTalk}) {
    for (Line& line : table(kind)) {
      // What is still called waits until the far end reacts.
      if (line.url.empty() || !line.drop_pending || line.state == 'C') continue;
      if (now - line.drop_time <= (line.state == 'd' ? kFlashUs : kLocalDropUs)) continue;
      line.drop_pending = false;
      if (line.state == 'd') {
        free(kind, line);
      } else {
        drop(kind, line);
      }
    }
  }
}

}  // namespace hark::reference
