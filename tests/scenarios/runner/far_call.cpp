#include "scenarios/runner/far_call.h"

namespace hark::test {
namespace {

std::string tagged(const std::string& value, const std::string& tag) {
  return tag.empty() ? value : value + ";tag=" + tag;
}

bool goes_by_invite(const std::string& method) { return method == "ACK" || method == "CANCEL"; }

// What a response's Via says beyond the request's, as RFC 3261 18.2.1 and RFC 3581 want it, is left out.
std::string plain_via(const std::string& via) {
  return WithoutParameter(WithoutParameter(via, "received"), "rport");
}

bool same_vias(const SipText& a, const SipText& b) {
  const std::vector<std::string> first = a.all("Via");
  const std::vector<std::string> second = b.all("Via");
  if (first.size() != second.size()) return false;
  for (std::size_t at = 0; at < first.size(); ++at)
    if (plain_via(first[at]) != plain_via(second[at])) return false;
  return true;
}

// A response goes by the whole transaction of the request, whatever else it says.
bool answers(const SipText& response, const SipText& request) {
  const std::string to = request.get("To");
  const bool same_to = response.get("To") == to || response.get("To").starts_with(to + ";tag=");
  return response.get("Call-ID") == request.get("Call-ID") && response.get("CSeq") == request.get("CSeq") &&
         response.get("From") == request.get("From") && same_to && same_vias(response, request);
}

std::string wrong_via(const SipText& request) {
  const std::string via = request.get("Via");
  if (request.method() != "ACK" && !ParameterOf(via, "branch").starts_with("z9hG4bK"))
    return "no branch: " + via;
  if (!(via + ";").ends_with(";rport;")) return "asks for no rport: " + via;
  return "";
}

}  // namespace

FarCall::FarCall(const std::string& name) : name_(name), far_tag_("far-" + name) {}

std::string FarCall::Uri(const Variables& addresses) const {
  return "<sip:hark@" + addresses.at("ushost") + ">";
}

SipText FarCall::Request(const std::string& start, const Variables& addresses, int line) {
  std::string uri = start;
  const std::string method = TakeWord(uri);
  if (call_id_.empty()) {
    caller_ = true;
    call_id_ = name_ + "-call";
  }
  if (goes_by_invite(method) && !sent_.contains("INVITE")) throw Failure{line, "no INVITE was sent"};
  const SipText invite = goes_by_invite(method) ? sent_.at("INVITE") : SipText{};
  const bool same_transaction = method == "CANCEL" || (method == "ACK" && final_ >= 300);
  branch_ = same_transaction ? ParameterOf(invite.get("Via"), "branch")
                             : "z9hG4bKfar-" + name_ + "-" + std::to_string(++branches_);
  const unsigned long cseq = goes_by_invite(method) ? invite.cseq() : ++cseq_;

  SipText out;
  out.start = method + " " + (uri.empty() ? "sip:hark@" + addresses.at("us") : uri) + " SIP/2.0";
  out.set("Via", "SIP/2.0/UDP " + addresses.at("far") + ";branch=" + branch_ + ";rport");
  if (caller_) {
    out.set("From", "<sip:far@" + addresses.at("farhost") + ">;tag=" + far_tag_);
    out.set("To", method == "CANCEL" ? invite.get("To") : tagged(Uri(addresses), our_tag_));
  } else {
    const SipText& first = received_.begin()->second;
    out.set("From", tagged(WithoutParameter(first.get("To"), "tag"), far_tag_));
    out.set("To", first.get("From"));
  }
  out.set("Call-ID", call_id_);
  out.set("CSeq", std::to_string(cseq) + " " + method);
  if (method == "INVITE") out.set("Contact", "<sip:far@" + addresses.at("far") + ">");
  out.set("Max-Forwards", "70");
  return out;
}

SipText FarCall::Response(const std::string& start, const std::string& method, const Variables& addresses,
                          int line) const {
  const auto request = received_.find(method.empty() ? last_method_ : method);
  if (request == received_.end()) throw Failure{line, "no request came out that this could answer"};
  SipText out;
  out.start = "SIP/2.0 " + start;
  for (const std::string& via : request->second.all("Via"))
    out.headers.emplace_back("Via", via);
  out.set("From", request->second.get("From"));
  const std::string to = request->second.get("To");
  const bool early = out.status() == 100 || !ParameterOf(to, "tag").empty();
  out.set("To", early ? to : tagged(to, far_tag_));
  out.set("Call-ID", call_id_);
  out.set("CSeq", request->second.get("CSeq"));
  if (out.method() == "INVITE" && out.status() > 100 && out.status() < 300)
    out.set("Contact", "<sip:far@" + addresses.at("far") + ">");
  return out;
}

void FarCall::Sent(const SipText& message) {
  if (message.is_response()) return;
  if (received_.empty()) {
    caller_ = true;
    call_id_ = message.get("Call-ID");
  }
  const std::string method = message.method();
  if (method == "INVITE") final_ = 0;
  if (!goes_by_invite(method)) cseq_ = message.cseq();
  sent_[method] = message;
  requests_.push_back(message);
}

std::string FarCall::Received(const SipText& message, bool lost) {
  if (call_id_.empty()) call_id_ = message.get("Call-ID");
  if (message.get("Call-ID") != call_id_) return "of another call: " + message.get("Call-ID");
  if (!lost) return message.is_response() ? ReceivedResponse(message) : ReceivedRequest(message);
  FarCall unlearned = *this;
  return unlearned.Received(message, false);
}

std::string FarCall::ReceivedRequest(const SipText& message) {
  const std::string tag = ParameterOf(message.get("From"), "tag");
  if (our_tag_.empty()) our_tag_ = tag;
  if (tag != our_tag_) return "From has another tag: " + tag;
  std::string cseq = message.get("CSeq");
  (void)TakeWord(cseq);
  if (cseq != message.method()) return "CSeq has another method: " + cseq;
  if (message.get("Max-Forwards") != "70") return "Max-Forwards: " + message.get("Max-Forwards");
  if (message.method() != "ACK") last_method_ = message.method();
  received_[message.method()] = message;
  return wrong_via(message);
}

std::string FarCall::ReceivedResponse(const SipText& message) {
  const std::string tag = ParameterOf(message.get("To"), "tag");
  if (caller_ && our_tag_.empty() && message.status() > 100) our_tag_ = tag;
  if (message.method() == "INVITE" && message.status() >= 200) final_ = message.status();
  for (const SipText& request : requests_)
    if (answers(message, request)) return "";
  return "answers none of the requests that were sent";
}

Variables FarCall::variables() const {
  Variables known{{"fartag", far_tag_}, {"cseq", std::to_string(cseq_)}, {"branch", branch_}};
  if (!call_id_.empty()) known["callid"] = call_id_;
  if (!our_tag_.empty()) known["ourtag"] = our_tag_;
  return known;
}

}  // namespace hark::test
