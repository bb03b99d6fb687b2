// Whoever hears of a call may change it at once: every report and every contact, answered in each way that a
// listener has, from inside every cause. Afterwards both tables stand in order, and what was reported last of
// a call is how it is.
#include <array>

#include "callctl/call_fixture.h"
#include "routing/harkqnr.h"

namespace hark {
namespace {

constexpr const char kUrl[] = "quillnet:239.192.0.7;gpio=4;gpiol=1;gpiot=2";

using Action = void (*)();

struct Named {
  const char* name;
  Action run;
};

constexpr std::array<int, 2> kKinds{kListenKind, kTalkKind};

int modify(char listen, char talk) { return sipctrl_modifycall(kUrl, listen, talk); }

void drop_now() {
  (void)modify(kWishDrop, kWishDrop);
  station.hark_localdrop_delay_us = 0;
  sipctrl_process(clock_now());
}

void far_end_hangs_up() {
  for (const int kind : kKinds) {
    const int i = LineTableSearchURL(line_table(kind), kUrl);
    if (i < 0) continue;
    NotifyFarEndDrop(static_cast<unsigned>(kind), static_cast<unsigned>(i));
    SipStackUA::GetInstance()->Drop(static_cast<unsigned>(kind), static_cast<unsigned>(i));
  }
}

void remote(char wish) {
  harkurl_info info;
  (void)harkurl_parse(kUrl, &info);
  for (const int kind : kKinds)
    remotecommand(kind, &info, wish);
}

void make_services() {
  StationIdentity identity;
  identity.ip = 0x0A000001;
  identity.port = 5060;
  (void)sipctrl_createservice(identity);
}

void ring(int i) {
  for (const int kind : kKinds)
    line_ring(kind, i, "", "quillnet:239.192.0.7");
}

// What a listener does with what it hears.
constexpr std::array<Named, 9> kReactions{{
    {"drops it at once", drop_now},
    {"wishes for it again", [] { (void)modify(kWishConnect, kWishConnect); }},
    {"drops it and wishes for it again",
     [] {
       drop_now();
       (void)modify(kWishConnect, kWishConnect);
     }},
    {"hears the far end hang up", far_end_hangs_up},
    {"hears the far end hang up and wishes for it again",
     [] {
       far_end_hangs_up();
       (void)modify(kWishConnect, kWishConnect);
     }},
    {"hears the far contact ask", [] { remote(kWishConnect); }},
    {"hears the far contact end it", [] { remote(kWishDrop); }},
    {"makes the services anew", make_services},
    {"hears the station ring on another line", [] { ring(6); }},
}};

// What makes a call heard of. Each begins with free tables and fresh services.
constexpr std::array<Named, 17> kCauses{{
    {"listen", [] { (void)modify(kWishConnect, kNoWish); }},
    {"talk", [] { (void)modify(kNoWish, kWishConnect); }},
    {"listen and talk", [] { (void)modify(kWishConnect, kWishConnect); }},
    {"drop",
     [] {
       (void)modify(kWishConnect, kWishConnect);
       drop_now();
     }},
    {"listen that was far-dropped",
     [] {
       (void)modify(kWishConnect, kNoWish);
       far_end_hangs_up();
       (void)modify(kWishConnect, kWishConnect);
     }},
    {"answer of a far contact",
     [] {
       remote(kWishConnect);
       (void)modify(kWishConnect, kWishConnect);
     }},
    {"far contact that ends",
     [] {
       remote(kWishConnect);
       remote(kWishDrop);
     }},
    {"flash that is over",
     [] {
       (void)modify(kWishConnect, kNoWish);
       far_end_hangs_up();
       sipctrl_process(clock_now() + 10 * kUsPerSecond);
     }},
    {"ring", [] { ring(0); }},
    {"second ring",
     [] {
       (void)modify(kWishConnect, kWishConnect);
       ring(1);
     }},
    {"ring on the same line",
     [] {
       (void)modify(kWishConnect, kWishConnect);
       ring(0);
     }},
    {"connection of a ringing line",
     [] {
       ring(0);
       const ISipStackUAEvents events = line_events();
       for (const unsigned kind : {1u, 2u})
         events.NotifyFarEndRinging(kind, 0);
       for (const unsigned kind : {1u, 2u})
         events.NotifyLineConnected(kind, 0, "", "", "10.0.0.5:5004", "");
     }},
    {"far end that hangs up",
     [] {
       (void)modify(kWishConnect, kWishConnect);
       far_end_hangs_up();
     }},
    {"confirmation",
     [] {
       (void)modify(kWishConnect, kNoWish);
       far_end_hangs_up();
       (void)sipctrl_modifycall("quillnet:239.192.0.7;qntb=1", kNoWish, kWishConnect);
       ifb_update_status(0, true);
       ifb_update_status(0, false);
     }},
    {"end of the services",
     [] {
       (void)modify(kWishConnect, kWishConnect);
       make_services();
     }},
    {"acknowledged call",
     [] {
       (void)sipctrl_modifycall("quillnet:239.192.0.7;gpio=4;gpiol=1;gpiot=2;gpioack=1", kWishConnect,
                                kWishConnect);
     }},
    {"station that cannot be called",
     [] { (void)sipctrl_modifycall("hark:239.192.0.7", kWishConnect, kWishConnect); }},
}};

// The listener: on the `g_when`-th thing that it hears it reacts, once.
Action g_reaction = nullptr;
int g_when = 0;
int g_heard = 0;

void hear() {
  if (++g_heard == g_when) g_reaction();
}

void hear_report(const char* url, char listen, char talk) {
  note_report(url, listen, talk);
  hear();
}

int hear_contact(const char* /*line*/, int /*client*/) {
  hear();
  return 0;
}

class Reentry : public CallTest {
 protected:
  void Run(const Named& cause, const Named& reaction, int when) {
    station.hark_localdrop_delay_us = 400'000;
    sipctrl_modifycall_callback = note_report;
    harkqnr_hooks.ext_input = nullptr;
    InitializeLineTable(listen_lines);
    InitializeLineTable(talk_lines);
    make_services();
    Forget();
    g_heard = 0;
    g_when = when;
    g_reaction = reaction.run;
    sipctrl_modifycall_callback = hear_report;
    harkqnr_hooks.ext_input = hear_contact;
    cause.run();
  }

  // The line of the call that is neither free nor off; null when there is none. One that is off waits for its
  // own end only, beside whatever the station has begun meanwhile.
  static const HarkLine* ActiveLine(int kind, const std::string& url) {
    for (const HarkLine& line : line_table(kind)) {
      if (is_active(line) && hark_urlcompare(line.url.c_str(), url.c_str()) == 0) return &line;
    }
    return nullptr;
  }

  static void ExpectOrder(int kind) {
    for (const HarkLine& line : line_table(kind)) {
      if (line.url.empty()) {
        EXPECT_EQ(line.state, kLineFree) << "a free line of kind " << kind << " has a state";
        EXPECT_FALSE(line.drop_pending);
      } else if (is_active(line)) {
        EXPECT_EQ(ActiveLine(kind, line.url), &line) << "two lines of kind " << kind << " for " << line.url;
      }
    }
  }

  // The letter that was reported last for the side; 0 when none was.
  static char LastLetter(int kind) {
    const std::string mark = kind == kListenKind ? " L:" : " T:";
    char letter = '\0';
    for (const std::string& report : reports_heard) {
      const std::size_t at = report.find(mark);
      if (at != std::string::npos) letter = report[at + mark.size()];
    }
    return letter;
  }

  static void ExpectTruth(int kind) {
    const char last = LastLetter(kind);
    const HarkLine* line = ActiveLine(kind, kUrl);
    const char state = line != nullptr ? line->state : kLineOff;
    if (last == '\0' || state == kLineSeized) return;  // nothing was said, or nothing is said of this state
    EXPECT_EQ(last, state) << "kind " << kind << ", reported: " << ::testing::PrintToString(reports_heard);
  }
};

TEST_F(Reentry, ListenerMayDoAnythingToTheCallThatItHearsOf) {
  for (const Named& cause : kCauses) {
    for (const Named& reaction : kReactions) {
      for (int when = 1; when <= 12; ++when) {
        SCOPED_TRACE(std::string(cause.name) + ": on report " + std::to_string(when) + " the listener " +
                     reaction.name);
        Run(cause, reaction, when);
        ExpectOrder(kListenKind);
        ExpectOrder(kTalkKind);
        ExpectTruth(kListenKind);
        ExpectTruth(kTalkKind);
        if (g_heard < when) break;  // all that this cause makes heard was answered
        if (HasFailure()) return;
      }
    }
  }
}

// The text of a report must outlive the line that it tells of.
void free_and_read(const char* url, char listen, char talk) {
  LineTableFreeAll(listen_lines);
  LineTableFreeAll(talk_lines);
  note_report(url, listen, talk);
}

TEST_F(Reentry, ReportedUrlIsValidEvenWhenTheListenerFreesTheLine) {
  for (const Named& cause : kCauses) {
    SCOPED_TRACE(cause.name);
    Run(cause, {"", [] {}}, 1);
    Forget();
    InitializeLineTable(listen_lines);
    InitializeLineTable(talk_lines);
    make_services();
    sipctrl_modifycall_callback = free_and_read;
    cause.run();
    for (const std::string& report : Reports())
      EXPECT_NE(report.find("239.192.0.7"), std::string::npos) << report;
  }
}

void drop_by_volume(const char* url, long volume) {
  LineTableFreeAll(listen_lines);
  volumes_heard.push_back(std::string(url) + " " + std::to_string(volume));
}

TEST_F(Reentry, ListenerMayFreeTheLineWhoseVolumeItHears) {
  Put(kListenKind, 0, kUrl, kLineConnected);
  sipctrl_modifycallvolume_callback = drop_by_volume;
  sipctrl_qndstvolumechanged(0, -30);
  EXPECT_THAT(Volumes(), ::testing::ElementsAre(std::string(kUrl) + " -30"));
}

}  // namespace
}  // namespace hark
