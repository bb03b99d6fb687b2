#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

StackTest* the_test = nullptr;

std::string at(const char* name, unsigned service) {
  return std::string(name) + " " + std::to_string(service);
}

std::string at(const char* name, unsigned service, unsigned line) {
  return at(name, service) + "/" + std::to_string(line);
}

std::string state_text(unsigned service, unsigned line) {
  const SipLine* const found = StackTest::FindLine(service, line);
  return found != nullptr ? SipLine::GetStateText(found->GetState()) : "none";
}

void note(const char* slot, const std::string& text) {
  FakeStack::Get().log.push_back(text);
  if (const std::function<void(const std::string&)> act = the_test->on_event) act(slot);
}

void note(const char* slot, unsigned service, unsigned line, const std::string& arguments = {}) {
  const std::string state = the_test->log_states ? state_text(service, line) + ": " : "";
  note(slot, state + at(slot, service, line) + arguments);
}

// What a line reports is what it is.
void note_state(unsigned service, unsigned line, State state) {
  const SipLine* const found = StackTest::FindLine(service, line);
  if (found != nullptr) {
    EXPECT_EQ(found->GetState(), state) << at("LineState", service, line);
  }
  note("LineState", service, line, " " + std::to_string(static_cast<unsigned>(state)));
}

}  // namespace

ISipStackUAEvents recording_events() {
  ISipStackUAEvents events;
  auto& slots = events.slots;
  slots.ServiceError = [](unsigned service, unsigned error, const char* text) {
    note("ServiceError", at("ServiceError", service) + " " + std::to_string(error) + " " + text);
  };
  slots.ServiceCreate = [](unsigned service) { note("ServiceCreate", at("ServiceCreate", service)); };
  slots.ServiceDestroy = [](unsigned service) { note("ServiceDestroy", at("ServiceDestroy", service)); };
  slots.LineRing = [](unsigned service, unsigned line, const char* from, const char* to) {
    note("LineRing", service, line, std::string(" ") + from + " " + to);
  };
  slots.LineConnected = [](unsigned service, unsigned line, const char* from, const char* to,
                           const char* media, const char* codecs) {
    note("LineConnected", service, line, std::string(" ") + from + " " + to + " " + media + " " + codecs);
  };
  slots.LineRing2 = [](unsigned service, unsigned line, cpsip_msg* msg) {
    note("LineRing2", service, line, msg == nullptr ? " none" : " " + std::to_string(msg->app_dialog_id));
  };
  slots.FarEndRinging = [](unsigned service, unsigned line) { note("FarEndRinging", service, line); };
  slots.FarEndDrop = [](unsigned service, unsigned line) { note("FarEndDrop", service, line); };
  slots.LocalDrop = [](unsigned service, unsigned line) { note("LocalDrop", service, line); };
  slots.LineSeized = [](unsigned service, unsigned line) { note("LineSeized", service, line); };
  slots.LineState = note_state;
  slots.LineError = [](unsigned service, unsigned line, unsigned error, const char* text) {
    note("LineError", service, line, " " + std::to_string(error) + " " + text);
  };
  slots.Codecs = [](unsigned service, unsigned line, const char* codecs) {
    note("Codecs", service, line, std::string(" ") + codecs);
  };
  return events;
}

StackTest::StackTest() {
  Timer64::Reset();
  the_test = this;
  fake_.prefix = [this] { return log_states ? state_text(1, 0) + ": " : ""; };
}

StackTest::~StackTest() {
  on_event = nullptr;
  Stack().Finalize();
  EXPECT_EQ(fake_.LiveServices().size(), 0U) << "services that nobody has ended";
  EXPECT_EQ(fake_.forgotten, 0) << "services that were forgotten by a start of the stack";
  fake_.init_result = 0;
  EXPECT_EQ(Stack().Initialize(1, nullptr), 1);
  Stack().Finalize();
  the_test = nullptr;
  Timer64::Reset();
}

SipLine* StackTest::FindLine(unsigned service, unsigned line) {
  const FakeService* const found = FakeStack::Get().ServiceAt(service);
  if (found == nullptr) return nullptr;
  return static_cast<SipServiceUA*>(found->app)->GetLineByIndex(line);
}

SipServiceConfig StackTest::Config(unsigned index, unsigned lines) {
  SipServiceConfig config;
  config.localIp = 0x0A000001;
  config.localPort = static_cast<std::uint16_t>(5060 + index);
  config.publicIp = 0xEFC00001;
  config.publicPort = config.localPort;
  config.payloadTypes = "96=L24/48000/2";
  config.user = "hark@10.0.0.1";
  config.lines = lines;
  return config;
}

void StackTest::StartServices() {
  ASSERT_EQ(Stack().Initialize(3, &table_), 1);
  Stack().ServiceCreate(1, Config(1, 8));
  Stack().ServiceCreate(2, Config(2, 2));
  (void)Log();
}

void StackTest::AdvanceMs(std::uint32_t ms) {
  ticks_.AdvanceMs(ms);
  for (int pass = 0; pass < 8; ++pass)  // each tells of one timer
    (void)Pump();
}

void LineTest::StartService(const SipServiceConfig& config) {
  Stack().Finalize();
  ASSERT_EQ(Stack().Initialize(3, &table_), 1);
  Stack().ServiceCreate(1, config);
  ASSERT_NE(fake_.ServiceAt(1), nullptr);
  (void)Log();
}

void LineTest::Call() { Stack().Call(1, 0, kFarUri); }

void LineTest::Connect() {
  Call();
  (void)Receive(with_sdp(make_response(200)));
}

void LineTest::Bring(State state) {
  if (state == RINGING) (void)Ring(make_offer());
  if (state == SEIZED) Stack().Seize(1, 0);
  if (state == CALLING || state == CANCELING) Call();
  if (state == CONNECTED || state == DISCONNECTING) Connect();
  if (state == CANCELING || state == DISCONNECTING) Stack().Drop(1, 0);
  ASSERT_EQ(LineState(), state) << SipLine::GetStateText(state);
  (void)Log();
}

Strings LineTest::Receive(cpsip_msg_ptr msg) {
  (void)Log();
  FakeStack::Deliver(Dialog(), std::move(msg));
  return Log();
}

Strings LineTest::Ring(cpsip_msg_ptr invite) {
  (void)Log();
  fake_.NewDialog(Service());
  FakeStack::Deliver(Dialog(), std::move(invite));
  return Log();
}

void LineTest::ForceIdle() {
  on_event = nullptr;
  Line().CancelTimer(TIMER_DISCONNECT);
  Line().CancelTimer(TIMER_PROGRESS);
  int dialog = 0;
  Line().SetSipDialogId(&dialog);
  SipMsg msg(make_status(kStatusClearStuckDialog).release(), &dialog);
  EXPECT_EQ(Line().DispatchMsg(msg, Line().GetAppDialogId()), 1);
  EXPECT_EQ(LineState(), IDLE);
  if (!fake_.dialogs.empty()) Line().SetSipDialogId(&Dialog());
  (void)Log();
}

}  // namespace hark::test
