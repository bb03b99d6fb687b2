// The user agent as the application: services with their lines behind the stack's facade, commands such as
// "line 1/0 call sip:far@host", and its events, such as "LineState 1/0 CALLING".
#include "cpsip/cpsip_service.h"
#include "scenarios/runner/application.h"
#include "scenarios/runner/pattern.h"
#include "scenarios/runner/wire.h"
#include "sipua/SipStackUA.h"
#include "sipua/Timer64.h"

#include <arpa/inet.h>

namespace hark::test {
namespace {

class LinesApplication;
LinesApplication* g_application = nullptr;  // events have no context

SipStackUA& stack() { return *SipStackUA::GetInstance(); }

std::uint32_t host_order(const std::string& dotted) { return ntohl(::inet_addr(dotted.c_str())); }

std::string line_name(const char* event, unsigned service, unsigned line) {
  return std::string(event) + " " + std::to_string(service) + "/" + std::to_string(line);
}

class LinesApplication : public Application {
 public:
  LinesApplication(const Scenario& scenario, const Variables& addresses);
  ~LinesApplication() override {
    g_application = nullptr;
    for (unsigned service = 0; service < kServices; ++service)
      if (stack().GetServiceConfig(service) != nullptr) stack().ServiceDestroy(service);
    stack().Finalize();
    Timer64::Reset();
  }

  void Pump() override { (void)stack().ProcessMessages(); }

  void Command(const Step& step, const std::string&) override {
    std::string text = Expand(step.text, addresses_, step.line);
    const std::string target = TakeWord(text);
    const auto service = static_cast<unsigned>(std::stoul(target));
    const auto line = static_cast<unsigned>(std::stoul(target.substr(target.find('/') + 1)));
    const std::string command = TakeWord(text);
    if (command == "call") {
      stack().Call(service, line, text.c_str());
    } else if (command == "answer") {
      stack().Answer(service, line);
    } else if (command == "seize") {
      stack().Seize(service, line);
    } else if (command == "drop") {
      stack().Drop(service, line);
    } else if (command == "destroy") {
      stack().ServiceDestroy(service);
    } else if (command == "number") {
      stack().MapNumberToLine(service, line, text.c_str());
    } else {
      throw Failure{step.line, "no such command: " + command};
    }
  }

  [[nodiscard]] Variables DialogOf(const std::string&, int line) override {
    throw Failure{line, "the lines keep their dialogs to themselves"};
  }

  // An event, from the table of callbacks.
  void Note(const std::string& text) { Tell({text, {}}); }

 private:
  static constexpr unsigned kServices = 3;  // as the control layer has them: 0 is empty

  void Create(const Setting& setting);

  Variables addresses_;
  ISipStackUAEvents events_;
};

template <typename... Parts>
void note(const std::string& text, Parts... parts) {
  std::string all = text;
  ((all += std::string(" ") + parts), ...);
  if (g_application != nullptr) g_application->Note(all);
}

// LineRing2 stands beside LineRing and has only the message to add.
ISipStackUAEvents events() {
  ISipStackUAEvents table;
  auto& slots = table.slots;
  slots.ServiceError = [](unsigned service, unsigned error, const char* text) {
    note("ServiceError", std::to_string(service), std::to_string(error), text);
  };
  slots.LineRing = [](unsigned service, unsigned line, const char* from, const char* to) {
    note(line_name("LineRing", service, line), from, to);
  };
  slots.LineConnected = [](unsigned service, unsigned line, const char* from, const char* to,
                           const char* media, const char* codecs) {
    note(line_name("LineConnected", service, line), from, to, "[" + std::string(media) + "]",
         "[" + std::string(codecs) + "]");
  };
  slots.FarEndRinging = [](unsigned service, unsigned line) {
    note(line_name("FarEndRinging", service, line));
  };
  slots.FarEndDrop = [](unsigned service, unsigned line) { note(line_name("FarEndDrop", service, line)); };
  slots.LocalDrop = [](unsigned service, unsigned line) { note(line_name("LocalDrop", service, line)); };
  slots.LineSeized = [](unsigned service, unsigned line) { note(line_name("LineSeized", service, line)); };
  slots.LineState = [](unsigned service, unsigned line, ISipStackUAEvents::ESipLineState state) {
    note(line_name("LineState", service, line), SipLine::GetStateText(state));
  };
  slots.LineError = [](unsigned service, unsigned line, unsigned error, const char* text) {
    note(line_name("LineError", service, line), std::to_string(error), text);
  };
  slots.Codecs = [](unsigned service, unsigned line, const char* codecs) {
    note(line_name("Codecs", service, line), "[" + std::string(codecs) + "]");
  };
  return table;
}

LinesApplication::LinesApplication(const Scenario& scenario, const Variables& addresses)
    : addresses_(addresses), events_(events()) {
  g_application = this;
  Timer64::Reset();
  if (stack().Initialize(kServices, &events_) != 1) throw Failure{0, "the stack did not start"};
  for (const Setting& setting : scenario.settings)
    if (setting.key.starts_with("service ")) Create(setting);
}

void LinesApplication::Create(const Setting& setting) {
  const auto index = static_cast<unsigned>(std::stoul(setting.key.substr(8)));
  Variables options = Options(setting.value, addresses_, setting.line);
  const auto option = [&](const char* name, std::string otherwise) {
    const auto at = options.find(name);
    return at != options.end() ? at->second : std::move(otherwise);
  };
  SipServiceConfig config;
  config.localIp = host_order(addresses_.at("ushost"));
  config.localPort =
      static_cast<std::uint16_t>(std::stoul(option("port", std::to_string(Wire::StackPort()))));
  config.publicIp = host_order(option("public", addresses_.at("ushost")));
  config.publicPort = config.localPort;
  config.payloadTypes = option("types", "96=L24/48000/2");
  if (config.payloadTypes == "none") config.payloadTypes.clear();
  config.user = option("user", "hark@" + addresses_.at("ushost"));
  config.domain = option("domain", "");
  config.lines = static_cast<unsigned>(std::stoul(option("lines", "1")));
  config.matchNumber = options.contains("match-number");
  config.rtpPort = static_cast<std::uint16_t>(std::stoul(option("rtp", "5004")));
  config.allowMissingMedia = options.contains("missing-media");
  stack().ServiceCreate(index, config);
}

}  // namespace

std::unique_ptr<Application> MakeLinesApplication(const Scenario& scenario, const Variables& addresses) {
  return std::make_unique<LinesApplication>(scenario, addresses);
}

}  // namespace hark::test
