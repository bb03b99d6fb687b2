#include "callctl/call_fixture.h"

#include "routing/harkqnr.h"

namespace hark {

std::vector<std::string> reports_heard;
std::vector<std::string> volumes_heard;
std::vector<std::string> inputs_heard;

namespace {

void note_volume(const char* url, long volume) {
  volumes_heard.push_back(std::string(url) + " " + std::to_string(volume));
}

int note_input(const char* line, int client) {
  EXPECT_EQ(client, -1);
  inputs_heard.emplace_back(line);
  return 0;
}

unsigned index_of(int i) { return static_cast<unsigned>(i); }

}  // namespace

void note_report(const char* url, char listen, char talk) {
  std::string text = url;
  if (listen != kNoReport) text += std::string(" L:") + listen;
  if (talk != kNoReport) text += std::string(" T:") + talk;
  reports_heard.push_back(text);
}

CallTest::CallTest() {
  station_reset();
  EXPECT_EQ(sipctrl_initialize(), 0);
  StationIdentity identity;
  identity.name = "IC 0A0B0C";
  identity.alt = "Main";
  identity.trgl = 3;
  identity.ip = 0x7F530001;  // 127.83.0.1: services open their sockets there
  identity.port = 5060;
  identity.mcast = 0xEFC00005;
  EXPECT_EQ(sipctrl_createservice(identity), 0);
  sipctrl_modifycall_callback = note_report;
  sipctrl_modifycallvolume_callback = note_volume;
  harkqnr_hooks = {};
  harkqnr_hooks.ext_input = note_input;
  Forget();
}

CallTest::~CallTest() {
  sipctrl_modifycall_callback = note_report;
  InitializeLineTable(listen_lines);
  InitializeLineTable(talk_lines);
  sipctrl_done();
  harkqnr_hooks = {};
  station_reset();
}

void CallTest::Forget() {
  reports_heard.clear();
  volumes_heard.clear();
  inputs_heard.clear();
  (void)mixer.Text();
}

void CallTest::Remote(int kind, const std::string& url, char wish) {
  harkurl_info info;
  (void)harkurl_parse(url.c_str(), &info);
  remotecommand(kind, &info, wish);
}

void CallTest::PassAfterMs(long ms) { PassAfterUs(ms * kUsPerMs); }

void CallTest::PassAfterUs(TimeUs us) {
  clock.AdvanceUs(us);
  sipctrl_process(clock.Now());
}

HarkLine& CallTest::Put(int kind, int i, const std::string& url, char state) {
  HarkLine& line = Line(kind, i);
  begin_use(line, url.c_str());
  line.state = state;
  line.direction = kind == kListenKind ? 2 : 1;
  line.trgl = line.trgl_compare = kDefaultTriggerLevel;
  return line;
}

void CallTest::Idle(int kind, int i) {
  Stack().NotifyLineState(index_of(kind), index_of(i), ISipStackUAEvents::STATE_IDLE);
}

void CallTest::Calling(int kind, int i) {
  Stack().NotifyLineState(index_of(kind), index_of(i), ISipStackUAEvents::STATE_CALLING);
}

void CallTest::Connected(int kind, int i, const char* media) {
  Stack().NotifyLineConnected(index_of(kind), index_of(i), "sip:a@b", "sip:c@d", media, "96=L24/48000/2");
}

void CallTest::Ringing(int kind, int i) { Stack().NotifyFarEndRinging(index_of(kind), index_of(i)); }

void CallTest::FarDrop(int kind, int i) { Stack().NotifyFarEndDrop(index_of(kind), index_of(i)); }

}  // namespace hark
