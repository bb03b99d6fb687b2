// The whole user agent: an input is what its two services are like, and behind a line feed the steps of far
// stations, of the control layer, and of the clock. The control layer may do anything inside an event, too.
#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <string>

#include "base/clock.h"
#include "cpsip/cpsip_service.h"
#include "cpsip/cpsip_timer.h"
#include "sipua/SipStackUA.h"
#include "support/fuzzing.h"
#include "support/sip_far_end.h"
#include "support/sip_kernel.h"
#include "support/sip_records.h"
#include "support/sip_world.h"

namespace {

using hark::ISipStackUAEvents;
using hark::SipStackUA;
using hark::fuzz::check;
using hark::fuzz::number_of;
using hark::fuzz::SipKernel;
using LineState = ISipStackUAEvents::ESipLineState;

constexpr unsigned kServices = 2;
constexpr unsigned kLines = 4;
constexpr unsigned kMostSteps = 160;
constexpr unsigned kMostDepth = 4;
constexpr unsigned kMostSeconds = 64;
constexpr unsigned kLongestStepMs = 40'000;
constexpr std::uint32_t kAddress = 0x0A000001;  // 10.0.0.1

struct Line {
  LineState state = ISipStackUAEvents::STATE_IDLE;
};
struct Service {
  bool alive = false;
  std::array<Line, kLines> lines;
};

struct World {
  std::array<Service, kServices> services;
  std::deque<std::string> on_event;
  hark::fuzz::FarEnd far;
  std::string flags;
  unsigned steps = 0;
  unsigned depth = 0;
  bool tame = true;
  bool reacts = false;  // events may overtake each other
};
World* g_world = nullptr;

void Do(std::string_view step);

void React() {
  World& world = *g_world;
  if (world.on_event.empty() || world.depth >= kMostDepth) return;
  const std::string step = std::move(world.on_event.front());
  world.on_event.pop_front();
  ++world.depth;
  Do(step);
  --world.depth;
}

void check_text(const char* text) {
  check(text != nullptr && std::strlen(text) < 4096, "an event has its text");
}

// An event of a line is one of a service that is there.
Line& line_of(unsigned service, unsigned line) {
  check(service < kServices && line < kLines, "an event is of a line");
  check(g_world->services[service].alive, "only a service that is there tells anything");
  return g_world->services[service].lines[line];
}

bool may_follow(LineState from, LineState to) {
  switch (to) {
    case ISipStackUAEvents::STATE_IDLE:
    case ISipStackUAEvents::STATE_DISCONNECTING:
      return true;
    case ISipStackUAEvents::STATE_CALLING:
      return from == ISipStackUAEvents::STATE_IDLE || from == ISipStackUAEvents::STATE_SEIZED;
    case ISipStackUAEvents::STATE_CANCELING:
      return from == ISipStackUAEvents::STATE_CALLING;
    default:
      return false;  // these have events of their own
  }
}

void enter(Line& line, LineState state, bool allowed) {
  check(allowed || g_world->reacts, "a line goes from state to state as it may");
  line.state = state;
}

ISipStackUAEvents events() {
  ISipStackUAEvents table;
  auto& on = table.slots;
  on.ServiceError = [](unsigned, unsigned, const char* text) {
    check_text(text);
    React();
  };
  on.ServiceCreate = [](unsigned service) {
    check(service < kServices, "a service is one of those that there may be");
    g_world->services[service] = Service{.alive = true, .lines = {}};
    React();
  };
  on.ServiceDestroy = [](unsigned service) {
    check(service < kServices, "a service is one of those that there may be");
    g_world->services[service].alive = false;
    React();
  };
  on.LineRing = [](unsigned service, unsigned line, const char* from, const char* to) {
    check_text(from);
    check_text(to);
    enter(line_of(service, line), ISipStackUAEvents::STATE_RINGING, true);
    React();
  };
  on.LineRing2 = [](unsigned service, unsigned line, hark::cpsip_msg* msg) {
    (void)line_of(service, line);
    check(msg != nullptr && msg->method == hark::cpsip_method::invite, "what rings is an INVITE");
    React();
  };
  on.LineConnected = [](unsigned service, unsigned line, const char* from, const char* to,
                        const char* address, const char* codecs) {
    for (const char* text : {from, to, address, codecs})
      check_text(text);
    Line& told = line_of(service, line);
    enter(told, ISipStackUAEvents::STATE_CONNECTED,
          told.state == ISipStackUAEvents::STATE_CALLING || told.state == ISipStackUAEvents::STATE_RINGING);
    React();
  };
  on.LineSeized = [](unsigned service, unsigned line) {
    Line& told = line_of(service, line);
    enter(told, ISipStackUAEvents::STATE_SEIZED, told.state == ISipStackUAEvents::STATE_IDLE);
    React();
  };
  on.LineState = [](unsigned service, unsigned line, LineState state) {
    Line& told = line_of(service, line);
    check(state <= ISipStackUAEvents::STATE_DISCONNECTING, "a line is in a known state");
    enter(told, state, may_follow(told.state, state));
    React();
  };
  on.LineError = [](unsigned, unsigned, unsigned, const char* text) {
    check_text(text);
    React();
  };
  on.Codecs = [](unsigned service, unsigned line, const char* codecs) {
    (void)line_of(service, line);
    check_text(codecs);
    React();
  };
  const auto plain = [](unsigned service, unsigned line) {
    (void)line_of(service, line);
    React();
  };
  on.FarEndRinging = plain;
  on.FarEndDrop = plain;
  on.LocalDrop = plain;
  return table;
}

void create(unsigned service) {
  const auto has = [](char flag) { return g_world->flags.find(flag) != std::string::npos; };
  hark::SipServiceConfig config;
  config.localIp = config.publicIp = kAddress;
  config.localPort = config.publicPort = static_cast<std::uint16_t>(5060 + service);
  if (has('p')) config.publicIp = 0xEF010203;
  if (!has('n')) config.payloadTypes = "96=L24/48000/2|9=G722/8000 mode=1|101=telephone-event/8000";
  config.user = service == 0 ? "hark" : "hark@10.0.0.1;x=\"y\"";
  if (has('d')) config.domain = "10.0.0.254";
  config.lines = kLines;
  config.matchNumber = has('m');
  config.partialTailMatch = has('t');
  config.allowMissingMedia = has('a');
  config.rtpPort = 5004;
  SipStackUA::GetInstance()->ServiceCreate(service, config);
}

void restart() {
  static const ISipStackUAEvents kEvents = events();
  for (Service& service : g_world->services)
    service.alive = false;
  check(SipStackUA::GetInstance()->Initialize(kServices, &kEvents) == 1, "the user agent starts");
}

void finalize() {
  for (Service& service : g_world->services)
    service.alive = false;
  SipStackUA::GetInstance()->Finalize();
}

void pump() {
  do {
    check(SipStackUA::GetInstance()->ProcessMessages(), "the sockets can be asked");
    hark::fuzz::check_records();
  } while (SipKernel::HasUnread());
}

void pass(unsigned ms) {
  hark::fuzz::SipClock::Advance(ms);
  // One timer of the lines is told in a pass.
  for (unsigned i = 0; i < kLines; ++i)
    pump();
}

void arrive(const hark::fuzz::FarDatagram& datagram) {
  hark::fuzz::trace("<-- ", datagram.text);
  g_world->tame = g_world->tame && hark::fuzz::is_tame(datagram.text);
  SipKernel::Arrive(datagram.to_port, datagram.text, datagram.from_addr, datagram.from_port);
}

// A command: a letter, the digit of a service, the digit of a line, and a text.
//   a answer, z seize, d drop, c call, m map a number; n a new service, k destroys it, f ends all, r starts
//   anew
void command(std::string_view step) {
  const unsigned service = step.size() > 1 ? number_of(step.substr(1, 1), 9) : 0;
  const unsigned line = step.size() > 2 ? number_of(step.substr(2, 1), 9) : 0;
  std::string text(step.substr(std::min<std::size_t>(step.size(), 3)));
  // Numbers and URIs are words.
  std::erase_if(text, [](char c) { return c <= ' ' || c > '~' || std::strchr("<>\",", c) != nullptr; });
  SipStackUA& ua = *SipStackUA::GetInstance();
  switch (step[0]) {
    case 'a':
      return ua.Answer(service, line);
    case 'z':
      return ua.Seize(service, line);
    case 'd':
      return ua.Drop(service, line);
    case 'c':
      return ua.Call(service, line, text.c_str());
    case 'm':
      return ua.MapNumberToLine(service, line, text.c_str());
    case 'n':
      return create(service);
    case 'k':
      return ua.ServiceDestroy(service);
    case 'f':
      return finalize();
    case 'r':
      return restart();
    default:
      return;
  }
}

void Do(std::string_view step) {
  World& world = *g_world;
  if (step.empty() || ++world.steps > kMostSteps) return;
  hark::fuzz::trace("==== ", step);
  const std::string_view rest = step.substr(1);
  switch (step[0]) {
    case '<':
      return arrive(world.far.Make(rest));
    case '.':
      return arrive(world.far.MakeRaw(rest));
    case '=':
      return arrive(world.far.Again());
    case '!':
      return SipKernel::Fail(number_of(rest, 9));
    case '@':
      return hark::fuzz::SipClock::Advance(number_of(rest, kLongestStepMs));
    case ',':
      for (unsigned i = 0; world.depth == 0 && i < number_of(rest, kMostSeconds); ++i)
        pass(1000);
      return;
    case '*':
      world.reacts = true;
      world.on_event.emplace_back(rest);
      return;
    default:
      return command(step);
  }
}

// All lines are dropped, and time passes.
void end_all() {
  g_world->on_event.clear();
  SipKernel::Fail(0);
  hark::fuzz::check_messages();
  for (unsigned round = 0; round < 3; ++round) {
    for (unsigned service = 0; service < kServices; ++service) {
      for (unsigned line = 0; line < kLines; ++line)
        SipStackUA::GetInstance()->Drop(service, line);
    }
    pump();
    for (unsigned passed = 0; passed < 70; passed += 10)
      pass(10'000);
  }
  check(hark::cpsip_timer_count() == 0, "no timer outlives its work");
  // What stays is what nobody answers: requests inside a dialog that the lines take no notice of.
  for (const hark::cpsip_dlog_ptr& dialog : hark::fuzz::dialogs_of_stack()) {
    for (const hark::cpsip_tact_ptr& tact : hark::fuzz::transactions_of(*dialog))
      check(!tact->client && tact->state == hark::TACT_TRYING, "no transaction outlives its work");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  World world;
  g_world = &world;
  SipKernel::Reset();
  hark::fuzz::SipClock::Start();
  hark::Timer64::Reset();
  SipKernel::OnSend([&world](const hark::fuzz::SentDatagram& sent) {
    hark::fuzz::trace("--> ", sent.text);
    hark::fuzz::check_sent(sent, world.tame);
    world.far.Observe(sent);
  });
  const std::vector<std::string> lines = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 60);
  world.flags = lines[0];
  restart();
  for (unsigned service = 0; service < kServices; ++service)
    create(service);
  for (std::size_t i = 1; i < lines.size(); ++i) {
    Do(lines[i]);
    pump();
  }
  end_all();
  finalize();
  hark::fuzz::check_nothing_left();
  // A timer that a line has left behind would be told now.
  pass(kLongestStepMs);
  SipKernel::OnSend(nullptr);
  hark::clock_set_source(nullptr);
  return 0;
}
