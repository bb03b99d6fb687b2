// Who is connected, as the property tests hold it: the two tables of lines of the routing network and what a
// CALL command, a far contact, a far device and the time do to them. Calls to stations by SIP end at once as
// failed ones. Knows no mixer and no gains: a listen line in "1" is heard, any other is silent.
#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>

#include "base/clock.h"

namespace hark::reference {

inline constexpr char kNone = '-';  // no wish, or a direction that a report does not concern

struct Line {
  std::string url;  // empty: free
  char state = '\0';
  bool seized = false;  // the SIP line is held
  bool drop_pending = false;
  TimeUs drop_time = 0;
  bool ifb = false;
};

class Calls {
 public:
  static constexpr int kListen = 1;
  static constexpr int kTalk = 2;

  // Hears of each change: the URL and the letter of each direction.
  std::function<void(const std::string& url, char listen, char talk)> report;
  std::array<Line, 8> listen;
  std::array<Line, 128> talk;

  // The CALL command.
  void modify(const std::string& url, char listen_wish, char talk_wish);
  // A far contact.
  void remote(int kind, const std::string& url, char wish);
  // The far device of a talk line with an IFB link.
  void confirm(int port, bool active);
  // The timed drops.
  void process(TimeUs now);

  [[nodiscard]] bool any() const;
  [[nodiscard]] std::span<Line> table(int kind);

 private:
  Line* find(int kind, const std::string& url);
  Line* find_for_wish(int kind, const std::string& url, char wish);
  Line* alloc(int kind, const std::string& url);
  bool modify_routed(int kind, const std::string& url, char wish);
  bool modify_station(int kind, const std::string& url, char wish);
  bool open(int kind, const std::string& url);
  void answer(int kind, Line& line);
  void tell(int kind, const std::string& url, char letter);
  void free(int kind, Line& line);
  void drop(int kind, Line& line);
  char release_fardropped(const std::string& url);
};

}  // namespace hark::reference
