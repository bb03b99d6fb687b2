#include "support/sip_far_end.h"

#include <algorithm>

#include "support/fuzzing.h"
#include "support/sip_description.h"

namespace hark::fuzz {
namespace {

constexpr std::uint32_t kFarAddress = 0x0A000009;  // 10.0.0.9
constexpr std::size_t kMostCalls = 80;
constexpr std::string_view kLineEnd = "\r\n";

std::string parameter_of(std::string_view header, std::string_view name) {
  const std::size_t at = header.find(name);
  if (at == header.npos) return {};
  header.remove_prefix(at + name.size());
  return std::string(header.substr(0, header.find_first_of(";,> \t\r\n")));
}

std::string_view method_of(std::string_view request) { return request.substr(0, request.find(' ')); }

}  // namespace

struct FarEnd::Draft {
  std::string first;  // what the start line has besides the URI or the reason
  std::string word;   // the URI or the reason
  bool request = false;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  std::string type = "application/sdp";
  std::size_t cut = std::string::npos;
  std::uint32_t from = kFarAddress;
  std::uint16_t port = 5060;

  void Set(const std::string& name, std::string value) {
    for (auto& [have, text] : headers) {
      if (have == name) return (void)(text = std::move(value));
    }
    headers.emplace_back(name, std::move(value));
  }
  void Drop(const std::string& name) {
    std::erase_if(headers, [&name](const auto& one) { return one.first == name; });
  }
  [[nodiscard]] bool Has(const std::string& name) const {
    return std::any_of(headers.begin(), headers.end(),
                       [&name](const auto& one) { return one.first == name; });
  }
  [[nodiscard]] std::string Text() const {
    std::string text = request ? first + " " + word + " SIP/2.0" : "SIP/2.0 " + first + " " + word;
    text += kLineEnd;
    for (const auto& [name, value] : headers)
      text.append(name).append(": ").append(value).append(kLineEnd);
    text += kLineEnd;
    return text + body;
  }
};

bool is_tame(std::string_view datagram) {
  for (const std::string& line : split(datagram, "\n")) {
    unsigned open = 0;
    unsigned quotes = 0;
    for (const char c : line) {
      if (c == '\r' && &c == &line.back()) break;
      if (c < ' ' || c > '~' || c == '(' || c == '[') return false;
      if (c == '"') ++quotes;
      if (c == '<' && ++open > 1) return false;
      if (c == '>' && open-- == 0) return false;
    }
    if (open != 0 || quotes % 2 != 0) return false;
  }
  return true;
}

std::string header_of(std::string_view message, std::string_view name) {
  const std::string begin = std::string(kLineEnd) + std::string(name) + ":";
  const std::size_t at = message.find(begin);
  if (at == message.npos) return {};
  message.remove_prefix(at + begin.size());
  message = message.substr(0, message.find(kLineEnd));
  while (message.starts_with(' '))
    message.remove_prefix(1);
  return std::string(message);
}

unsigned number_of(std::string_view text, unsigned most) {
  unsigned number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    number = std::min(most, number * 10 + static_cast<unsigned>(c - '0'));
  }
  return number;
}

// The media of a description, each with its formats.
std::vector<std::string> media_of(std::string_view description) {
  std::vector<std::string> media;
  for (const std::string& line : split(description, "\n")) {
    if (line.starts_with("m=")) media.push_back(line.substr(2, line.find(' ') - 2));
  }
  return media;
}

std::string body_of(std::string_view text) {
  const std::size_t at = text.find("\r\n\r\n");
  return std::string(text.substr(at == text.npos ? text.size() : at + 4));
}

FarCall& FarEnd::NewCall() {
  if (calls_.size() == kMostCalls) return calls_.back();
  FarCall& call = calls_.emplace_back();
  const std::string number = std::to_string(calls_.size());
  call.call_id = "far-" + number;
  call.far_tag = "f" + number;
  call.target = "sip:hark@10.0.0.1:5060";
  return call;
}

FarCall* FarEnd::Find(std::string_view call_id) {
  for (FarCall& call : calls_) {
    if (call.call_id == call_id) return &call;
  }
  return nullptr;
}

FarCall& FarEnd::CallOf(std::string_view number, bool begins) {
  if (calls_.empty() || begins) return NewCall();
  if (number.empty()) return calls_.back();
  return calls_[number_of(number, 1000) % calls_.size()];
}

void FarEnd::Observe(const SentDatagram& sent) {
  const std::string call_id = header_of(sent.text, "Call-ID");
  const bool response = sent.text.starts_with("SIP/2.0 ");
  FarCall* call = Find(call_id);
  if (call == nullptr) {
    if (response || calls_.size() == kMostCalls) return;
    call = &NewCall();
    call->call_id = call_id;
  }
  const std::string tag = parameter_of(header_of(sent.text, response ? "To" : "From"), ";tag=");
  if (!tag.empty()) call->stack_tag = tag;
  const std::string contact = parameter_of(header_of(sent.text, "Contact"), "<");
  if (!contact.empty()) call->target = contact;
  call->port = sent.from_port;
  if (response) CheckAnswer(*call, sent.text);
  // A refusal of any request ends what offer there is.
  if (response && sent.text[8] > '2') {
    for (auto& [cseq, offer] : call->offers)
      offer.clear();
  }
  if (!response) {
    call->requests[std::string(method_of(sent.text))] = sent.text;
  } else if (header_of(sent.text, "CSeq").ends_with("INVITE") && sent.text[8] != '1') {
    call->refused = sent.text[8] != '2';
  }
}

// Each medium has a format, and each line a value.
bool is_well_formed(std::string_view description) {
  for (const std::string& line : split(description, "\n")) {
    if (line.starts_with("m=") && std::count(line.begin(), line.end(), ' ') < 3) return false;
    if (!line.empty() && line.find('=') == std::string::npos) return false;
  }
  return true;
}

// An offer counts when it is plain, and the only one with its CSeq.
void FarEnd::Remember(FarCall& call, const std::string& text) {
  const std::string body = body_of(text);
  const std::string cseq = header_of(text, "CSeq");
  const bool plain = header_of(text, "Content-Type") == "application/sdp" &&
                     header_of(text, "Content-Length") == std::to_string(body.size());
  const auto [at, is_new] = call.offers.emplace(cseq, plain && is_well_formed(body) ? body : "");
  if (!is_new && at->second != body) at->second.clear();
}

// RFC 3264 section 6.
void FarEnd::CheckAnswer(const FarCall& call, const std::string& text) {
  const auto offer = call.offers.find(header_of(text, "CSeq"));
  if (offer == call.offers.end() || offer->second.empty() || text[8] > '2') return;
  const std::string answer = body_of(text);
  check(!answer.empty() || text[8] == '1', "a call is taken with an answer to its offer");
  check(answer.empty() || media_of(answer) == media_of(offer->second),
        "an answer has the media of its offer");
}

std::string FarEnd::Expand(const FarCall& call, std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '~') {
      out += kLineEnd;
      continue;
    }
    if (text[i] != '$' || i + 1 == text.size()) {
      out += text[i];
      continue;
    }
    const auto of_invite = [&call](std::string_view header) {
      const auto at = call.requests.find("INVITE");
      return at != call.requests.end() ? header_of(at->second, header) : std::string();
    };
    switch (text[++i]) {
      case 'i':
        out += call.call_id;
        break;
      case 't':
        out += call.stack_tag;
        break;
      case 'f':
        out += call.far_tag;
        break;
      case 'b':
        out += call.branch;
        break;
      case 'c':
        out += std::to_string(call.invite_cseq);
        break;
      case 'B':
        out += parameter_of(of_invite("Via"), ";branch=");
        break;
      case 'C':
        out += std::to_string(number_of(of_invite("CSeq"), UINT32_MAX / 16));
        break;
      case 'n':
        out += std::to_string(++numbers_);
        break;
      case 'u':
        out += call.target;
        break;
      default:
        out += text[i];
    }
  }
  return out;
}

void FarEnd::Request(FarCall& call, const std::string& method, Draft& draft) {
  draft.request = true;
  draft.first = method;
  draft.word = call.target;
  draft.port = call.port;
  const bool repeats = method == "CANCEL" || method == "ACK";
  if (!repeats) ++call.cseq;
  std::string branch = "z9hG4bKf" + std::to_string(++numbers_);
  if (method == "INVITE") {
    call.branch = branch;
    call.invite_cseq = call.cseq;
    call.refused = false;
  } else if (method == "CANCEL" || (method == "ACK" && call.refused)) {
    branch = call.branch;
  }
  const bool early = method == "CANCEL" || call.stack_tag.empty();
  draft.headers = {{"Via", "SIP/2.0/UDP 10.0.0.9:5060;branch=" + branch},
                   {"Max-Forwards", "70"},
                   {"From", "\"Far\" <sip:far@10.0.0.9>;tag=" + call.far_tag},
                   {"To", "<sip:hark@10.0.0.1>" + (early ? std::string() : ";tag=" + call.stack_tag)},
                   {"Call-ID", call.call_id},
                   {"CSeq", std::to_string(repeats ? call.invite_cseq : call.cseq) + " " + method},
                   {"Contact", "<sip:far@10.0.0.9:5060>"}};
  if (method == "REFER") draft.headers.emplace_back("Refer-To", "<sip:third@10.0.0.8>");
  if (method != "NOTIFY") return;
  draft.headers.emplace_back("Event", "refer");
  draft.headers.emplace_back("Subscription-State", "terminated");
}

void FarEnd::Response(const FarCall& call, const std::string& status, const std::string& method,
                      Draft& draft) {
  draft.first = status;
  draft.word = "Answer";
  draft.port = call.port;
  const auto at = call.requests.find(method);
  const std::string request = at != call.requests.end() ? at->second : std::string();
  const auto copy = [&](const char* name, const std::string& fallback) {
    const std::string value = header_of(request, name);
    draft.headers.emplace_back(name, value.empty() ? fallback : value);
  };
  copy("Via", "SIP/2.0/UDP 10.0.0.1:5060;branch=z9hG4bKnone");
  copy("From", "<sip:hark@10.0.0.1>;tag=" + call.stack_tag);
  copy("To", "<sip:far@10.0.0.9>");
  std::string& to = draft.headers.back().second;
  if (to.find(";tag=") == std::string::npos && status != "100") to += ";tag=" + call.far_tag;
  draft.headers.emplace_back("Call-ID", call.call_id);
  copy("CSeq", "1 " + method);
  draft.headers.emplace_back("Contact", "<sip:far@10.0.0.9:5060>");
}

void FarEnd::Change(FarCall& call, std::string_view change, Draft& draft) {
  if (change.empty()) return;
  const std::string rest = Expand(call, change.substr(1));
  const std::size_t colon = rest.find(':');
  const std::string name = rest.substr(0, colon);
  const std::string value = colon == rest.npos ? "" : rest.substr(std::min(colon + 2, rest.size()));
  switch (change[0]) {
    case '&':
    case '^':
      return;
    case '=':
      draft.word = rest;
      return;
    case '-':
      draft.Drop(rest);
      return;
    case '+':
      draft.headers.emplace_back(name, value);
      return;
    case '%':
      draft.body = description_of(rest);
      return;
    case '"':
      draft.body = rest;
      draft.type = "text/plain";
      return;
    case '/':
      draft.cut = number_of(rest, 2000);
      return;
    case '!':
      draft.from = kFarAddress + number_of(rest, 9);
      return;
    case ';':
      draft.port = static_cast<std::uint16_t>(5060 + number_of(rest, 9));
      return;
    default:
      draft.Set(change[0] + name, value);
  }
}

FarDatagram FarEnd::Make(std::string_view line) {
  const std::vector<std::string> parts = split(line, "|");
  const std::string& head = parts.front();
  const bool response = head.size() > 4 && head[0] >= '0' && head[0] <= '9' && head[3] == ' ';
  const auto call_part =
      std::find_if(parts.begin(), parts.end(), [](const auto& part) { return part.starts_with('&'); });
  const bool begins = call_part == parts.end() && head == "INVITE";
  FarCall& call = CallOf(call_part == parts.end() ? "" : call_part->substr(1), begins);
  for (const std::string& part : parts) {
    if (part.starts_with('^')) call.far_tag = "f" + std::to_string(number_of(part.substr(1), 99));
  }
  Draft draft;
  if (response) {
    Response(call, head.substr(0, 3), head.substr(4), draft);
  } else {
    Request(call, head, draft);
  }
  for (const std::string& part : parts) {
    if (&part != &head) Change(call, part, draft);
  }
  if (!draft.body.empty() && !draft.Has("Content-Type"))
    draft.headers.emplace_back("Content-Type", draft.type);
  if (!draft.Has("Content-Length"))
    draft.headers.emplace_back("Content-Length", std::to_string(draft.body.size()));
  const std::string text = draft.Text().substr(0, draft.cut);
  if (head == "INVITE") Remember(call, text);
  FarDatagram made{text, draft.from, 5060, draft.port};
  if (!response && head != "ACK") last_request_ = made;
  return made;
}

FarDatagram FarEnd::MakeRaw(std::string_view text) {
  static const FarCall kNone;
  const FarCall& call = calls_.empty() ? kNone : calls_.back();
  return {Expand(call, text), kFarAddress, 5060, call.port};
}

}  // namespace hark::fuzz
