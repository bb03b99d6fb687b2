// The scenario as the stack's own application: one service, whose callback is told as "INVITE", "200 INVITE"
// or "status 33", and "app> ..." steps that send.
#include <map>

#include "cpsip/cpsip_dialog.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_service.h"
#include "cpsip/cpsip_socket.h"
#include "cpsip/cpsip_timer.h"
#include "scenarios/runner/application.h"
#include "scenarios/runner/message_of.h"
#include "scenarios/runner/pattern.h"
#include "scenarios/runner/wire.h"
#include "sipua/SipPayloads.h"

namespace hark::test {
namespace {

constexpr std::string_view kDefaultTypes = "96=L24/48000/2";

// Where a result is expected that is not 0: "... -> 26".
int take_result(std::string& text) {
  const std::size_t arrow = text.rfind(" -> ");
  if (arrow == std::string::npos) return 0;
  const int result = std::stoi(text.substr(arrow + 4));
  text = Trim(text.substr(0, arrow));
  return result;
}

class StackApplication : public Application {
 public:
  StackApplication(const Variables& options, const Variables& addresses) : addresses_(addresses) {
    const auto option = [&](const char* name, std::string otherwise) {
      const auto at = options.find(name);
      return at != options.end() ? at->second : std::move(otherwise);
    };
    local_host_ = addresses.at("ushost");
    from_ = option("from", "sip:hark@" + local_host_);
    contact_ = option("contact", "sip:hark@" + addresses.at("us"));
    route_ = option("route", "");
    public_host_ = option("public", "");
    types_ = option("types", std::string(kDefaultTypes));
    ua_.pszScheme = "sip:";
    ua_.pszFromUri = from_;
    ua_.pszContactUri = contact_;
    ua_.pszPort = "5060";
    ua_.pszUserAgent = "scenario";
    ua_.pszRoute = route_;
    xport_.nLocalPort = static_cast<std::uint16_t>(Wire::StackPort());
    xport_.pszLocalHost = local_host_;
    xport_.pszPublicHost = public_host_;
    Start(static_cast<std::uint16_t>(std::stoul(option("rtp", "5004"))));
  }
  ~StackApplication() override { (void)CPSIP_ServiceDelete(service_); }

  void Pump() override {
    (void)CPSIP_Select();
    CPSIP_TimerTick();
  }

  void Command(const Step& step, const std::string& call) override {
    std::string text = Expand(step.text, addresses_, step.line);
    if (step.verb == "app") return Delete(step, text);
    const int expected = take_result(text);
    void* dialog = handles_.contains(call) ? handles_.at(call) : cpsip_new_dialog();
    const bool is_new = dialog == cpsip_new_dialog();
    if (is_new) sending_ = call;
    cpsip_msg_ptr msg = MessageOf(text, step, addresses_, handles_);
    const int result = CPSIP_MsgSend(service_, msg.release(), &dialog);
    sending_.clear();
    if (is_new && result == 0) {
      handles_[call] = dialog;
      names_[dialog] = call;
    }
    if (result != expected)
      throw Failure{step.line, "the result of sending is " + std::to_string(result) + ", not " +
                                   std::to_string(expected)};
  }

  [[nodiscard]] Variables DialogOf(const std::string& call, int line) override {
    const auto& by_handle = static_cast<const cpsip_serv_cb*>(service_)->by_handle;
    const auto at = by_handle.find(handles_.contains(call) ? handles_.at(call) : nullptr);
    if (at == by_handle.end()) throw Failure{line, "there is no dialog"};
    return FactsOf(*at->second);
  }

  void Closing() override { closing_ = true; }

 private:
  void Start(std::uint16_t rtp_port) {
    (void)CPSIP_Init();
    SipPayloads payloads;
    if (types_ != "none" && !payloads.ParsePayloadTypes(types_.c_str()))
      throw Failure{0, "bad types: " + types_};
    const std::size_t used = InitSDPConfig(sdp_, pool_, local_host_, payloads.types());
    const int result = CPSIP_ServiceCreate(this, &service_, kServiceUserAgent, &ua_, &xport_, Callback, &sdp_,
                                           {pool_.data(), used}, rtp_port);
    if (result != 0) throw Failure{0, "the service was refused: " + std::to_string(result)};
  }

  void Delete(const Step& step, const std::string& text) {
    if (text != "delete service") throw Failure{step.line, "no such command: " + text};
    void* const service = std::exchange(service_, nullptr);
    if (service != nullptr) (void)CPSIP_ServiceDelete(service);
  }

  static void Callback(void* self, cpsip_msg* msg, void* dialog) {
    static_cast<StackApplication*>(self)->OnMessage(msg, dialog);
  }

  void OnMessage(cpsip_msg* msg, void* dialog) {
    const bool is_status = msg->method == cpsip_method::local_status;
    const cpsip_msg_ptr mine(is_status ? nullptr : msg);
    const bool deleted = is_status && msg->status_code == kStatusDialogDeleted;
    const std::string name = NameOf(dialog);
    Told told = ToldOf(*msg);
    if (name != this->call()) told.text = name + ": " + told.text;
    if (deleted) names_.erase(dialog);
    if (!(deleted && closing_)) Tell(std::move(told));
  }

  // A dialog that is new belongs to the current call.
  std::string NameOf(void* dialog) {
    if (const auto at = names_.find(dialog); at != names_.end()) return at->second;
    std::string name = sending_.empty() ? call() : sending_;
    if (handles_.contains(name) && names_.contains(handles_.at(name)))
      name = "another" + std::to_string(names_.size());
    handles_[name] = dialog;
    names_[dialog] = name;
    return name;
  }

  Variables addresses_;
  std::string local_host_, public_host_, from_, contact_, route_, types_;
  cpsip_ua_parms ua_;
  cpsip_xport_parms xport_;
  cpsdp_parms sdp_;
  std::array<char, kCpsdpMaxEncoded> pool_{};
  void* service_ = nullptr;
  std::map<std::string, void*> handles_;  // of the calls' dialogs, dead ones included
  std::map<void*, std::string> names_;    // of the living ones
  std::string sending_;                   // the call whose first request is being sent
  bool closing_ = false;
};

}  // namespace

std::unique_ptr<Application> MakeStackApplication(const Scenario& scenario, const Variables& addresses) {
  return std::make_unique<StackApplication>(Options(scenario.setting("service"), addresses, 0), addresses);
}

}  // namespace hark::test
