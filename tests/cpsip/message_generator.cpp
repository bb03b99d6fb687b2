#include "cpsip/message_generator.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "cpsip/cpsip_msg_access.h"

namespace hark::test {
namespace {

// Methods with a row in the method table: they have a text on the wire.
constexpr std::array kMethods{cpsip_method::invite,  cpsip_method::ack,     cpsip_method::bye,
                              cpsip_method::cancel,  cpsip_method::refer,   cpsip_method::notify,
                              cpsip_method::options, cpsip_method::response};

template <typename T>
const T& one_of(Chance& chance, const std::vector<T>& items) {
  return items[chance.below(static_cast<unsigned>(items.size()))];
}

std::string host(Chance& chance) {
  if (chance.one_in(2)) return "192.0.2." + std::to_string(chance.below(256));
  return chance.word(1, 20) + ".example.net";
}

std::string uri(Chance& chance) {
  std::string text = (chance.one_in(4) ? "sips:" : "sip:") + chance.word(1, 40) + "@" + host(chance);
  if (chance.one_in(2)) text += ":" + std::to_string(chance.between(1, 65535));
  return text;
}

std::string display(Chance& chance) { return "\"" + chance.word(1, 30) + " " + chance.word(0, 30) + "\""; }

std::string parameter(Chance& chance) {
  static const std::vector<std::string> kNames{"tag=", "branch=z9hG4bK", "received=", "rport", "q=", "x-"};
  return one_of(chance, kNames) + chance.word(1, chance.one_in(8) ? 250 : 20);
}

// ---- texts ----

std::string any_case(Chance& chance, std::string text) {
  for (char& letter : text) {
    const bool is_letter = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
    if (is_letter && chance.one_in(4)) letter = static_cast<char>(letter ^ 0x20);
  }
  return text;
}

// A header's line: its name in any case, blanks around the colon, and now and then a folded start.
std::string line(Chance& chance, const std::string& name, const std::string& value) {
  std::string text = any_case(chance, name) + std::string(chance.below(3), ' ') + ":";
  text += chance.one_in(6) ? "\r\n " : " ";
  return text + std::string(chance.below(3), ' ') + value + "\r\n";
}

class TextMaker {
 public:
  explicit TextMaker(Chance& chance) : chance_(chance) {}

  GeneratedText make() {
    start_line();
    std::vector<void (TextMaker::*)()> headers{&TextMaker::vias,     &TextMaker::from_and_to,
                                               &TextMaker::call,     &TextMaker::contacts,
                                               &TextMaker::supports, &TextMaker::unknown};
    while (!headers.empty()) {
      const unsigned at = chance_.below(static_cast<unsigned>(headers.size()));
      (this->*headers[at])();
      headers.erase(headers.begin() + at);
    }
    made_.text += line(chance_, chance_.one_in(2) ? "Content-Length" : "l", "0") + "\r\n";
    return std::move(made_);
  }

 private:
  void expect(const std::string& name, const std::string& value) {
    made_.fields += (made_.fields.empty() ? "" : "\n") + name + "=" + value;
  }

  void start_line() {
    static const std::vector<std::string> kNames{"INVITE", "BYE", "OPTIONS", "REFER", "NOTIFY"};
    for (unsigned blank = chance_.below(3); blank > 0; --blank)
      made_.text += "\r\n";
    if (chance_.one_in(3)) {
      const unsigned status = chance_.between(100, 699);
      made_.text += "SIP/2.0 " + std::to_string(status) + " Reason text\r\n";
      expect("status", std::to_string(status));
      return expect("reason", "Reason text");
    }
    const std::string target = uri(chance_);
    made_.text += one_of(chance_, kNames) + " " + target + " SIP/2.0\r\n";
    expect("uri", target);
  }

  void vias() {
    const unsigned count = chance_.between(1, 5);
    expect("Via.count", std::to_string(count));
    for (unsigned at = 1; at <= count; ++at) {
      const std::string name = "Via[" + std::to_string(at) + "]";
      const std::string from = host(chance_);
      const std::string branch = "branch=z9hG4bK" + chance_.word(1, 30);
      const std::string value = "SIP/2.0/UDP " + from + ";" + branch;
      // Some stand in one line with the one before.
      if (at > 1 && chance_.one_in(3)) {
        made_.text.resize(made_.text.size() - 2);
        made_.text += "," + value + "\r\n";
      } else {
        made_.text += line(chance_, chance_.one_in(3) ? "v" : "Via", value);
      }
      expect(name + ".host", from);
      expect(name + ".parm1", branch);
    }
  }

  void party(const std::string& name, const std::string& compact) {
    const std::string target = uri(chance_);
    const std::string tag = "tag=" + chance_.word(1, 30);
    std::string value = target;
    if (chance_.one_in(2)) {
      const std::string shown = display(chance_);
      value = shown + " <" + target + ">";
      expect(name + ".display", shown);
    }
    made_.text += line(chance_, chance_.one_in(3) ? compact : name, value + ";" + tag);
    expect(name + ".uri", target);
    expect(name + ".parm1", tag);
  }

  void from_and_to() { party("From", "f"), party("To", "t"); }

  void call() {
    const std::string id = chance_.word(1, 60);
    const unsigned number = chance_.below(1000000000);
    made_.text += line(chance_, chance_.one_in(3) ? "i" : "Call-ID", id);
    made_.text += line(chance_, "CSeq", std::to_string(number) + " INVITE");
    expect("Call-ID", id);
    expect("CSeq", std::to_string(number));
  }

  void contacts() {
    const unsigned count = chance_.below(4);
    expect("Contact.count", std::to_string(count));
    for (unsigned at = 1; at <= count; ++at) {
      const std::string name = "Contact[" + std::to_string(at) + "]";
      const std::string target = uri(chance_);
      const std::string parm = parameter(chance_);
      made_.text += line(chance_, chance_.one_in(3) ? "m" : "Contact", "<" + target + ">;" + parm);
      expect(name + ".uri", target);
      expect(name + ".parm1", parm);
    }
  }

  void supports() {
    const unsigned count = chance_.between(1, 6);
    std::string value;
    for (unsigned at = 1; at <= count; ++at) {
      const std::string item = chance_.word(1, 20);
      value += (at == 1 ? "" : ", ") + item;
      expect("Supported[1].parm" + std::to_string(at), item);
    }
    made_.text += line(chance_, "Supported", value);
  }

  void unknown() {
    const unsigned count = chance_.below(4);
    expect("unknown.count", std::to_string(count));
    for (unsigned at = 0; at < count; ++at)
      made_.text += line(chance_, "X-" + chance_.word(1, 10), chance_.word(1, 250));
  }

  Chance& chance_;
  GeneratedText made_;
};

// ---- messages ----

void write(cpsip_msg& msg, std::uint32_t id, unsigned instance, unsigned parm, std::string_view text) {
  ASSERT_EQ(cpsip_msg_write(msg, id, instance, parm, text), kAccessOk) << "field " << id;
}

void write_parameters(Chance& chance, cpsip_msg& msg, std::uint32_t id, unsigned instance) {
  const unsigned count = chance.below(5);
  for (unsigned at = 1; at <= count; ++at)
    write(msg, id, instance, at, parameter(chance));
  // One is taken out again: those behind it move up.
  if (count > 0 && chance.one_in(3)) write(msg, id, instance, chance.between(1, count), "");
}

void write_instances(Chance& chance, cpsip_msg& msg) {
  for (unsigned at = 1, count = chance.between(1, 4); at <= count; ++at) {
    write(msg, CPSIP_FLD_VIA_TRANSPORT, at, 0, "UDP");
    write(msg, CPSIP_FLD_VIA_HOST, at, 0, host(chance));
    if (chance.one_in(2)) write(msg, CPSIP_FLD_VIA_PORT, at, 0, std::to_string(chance.between(1, 65535)));
    write_parameters(chance, msg, CPSIP_FLD_VIA_PARM, at);
  }
  for (unsigned at = 1, count = chance.below(4); at <= count; ++at) {
    if (chance.one_in(2)) write(msg, CPSIP_FLD_CONTACT_DISPLAY, at, 0, display(chance));
    write(msg, CPSIP_FLD_CONTACT_URI, at, 0, uri(chance));
    write_parameters(chance, msg, CPSIP_FLD_CONTACT_PARM, at);
  }
  for (unsigned at = 1, count = chance.below(4); at <= count; ++at) {
    write(msg, CPSIP_FLD_ROUTE_URI, at, 0, uri(chance) + ";lr");
    write(msg, CPSIP_FLD_RECORD_ROUTE_URI, at, 0, uri(chance) + ";lr");
  }
  for (unsigned at = 1, count = chance.below(3); at <= count; ++at) {
    write(msg, CPSIP_FLD_UNKNOWN, at, 0, "X-" + chance.word(1, 10) + ": " + chance.word(1, 200));
  }
}

void write_lists(Chance& chance, cpsip_msg& msg) {
  for (const std::uint32_t id :
       {CPSIP_FLD_REQUIRE_ITEM, CPSIP_FLD_PROXY_REQUIRE_ITEM, CPSIP_FLD_SUPPORTED_ITEM,
        CPSIP_FLD_UNSUPPORTED_ITEM, CPSIP_FLD_ALLOW_EVENTS_ITEM}) {
    for (unsigned at = 1, count = chance.below(3); at <= count; ++at) {
      for (unsigned item = 1, items = chance.between(1, 6); item <= items; ++item) {
        write(msg, id, at, item, chance.word(1, 20));
      }
    }
  }
}

void write_single_headers(Chance& chance, cpsip_msg& msg) {
  for (const std::uint32_t id :
       {CPSIP_FLD_CALL_ID, CPSIP_FLD_USER_AGENT, CPSIP_FLD_SUBJECT, CPSIP_FLD_SERVER}) {
    // The text that was written last stands.
    for (unsigned times = chance.below(3); times > 0; --times)
      write(msg, id, 1, 0, chance.word(1, 300));
  }
  write(msg, CPSIP_FLD_FROM_URI, 1, 0, uri(chance));
  write(msg, CPSIP_FLD_TO_URI, 1, 0, uri(chance));
  if (chance.one_in(2)) write(msg, CPSIP_FLD_FROM_DISPLAY, 1, 0, display(chance));
  if (chance.one_in(2)) write(msg, CPSIP_FLD_TO_DISPLAY, 1, 0, display(chance));
  write_parameters(chance, msg, CPSIP_FLD_FROM_PARM, 1);
  write_parameters(chance, msg, CPSIP_FLD_TO_PARM, 1);
  if (chance.one_in(3)) {
    write(msg, CPSIP_FLD_REFER_TO_URI, 1, 0, uri(chance));
    if (chance.one_in(2)) write(msg, CPSIP_FLD_REFER_TO_DISPLAY, 1, 0, display(chance));
    write(msg, CPSIP_FLD_REFERRED_BY_URI, 1, 0, uri(chance));
    if (chance.one_in(2)) write(msg, CPSIP_FLD_REFERRED_BY_DISPLAY, 1, 0, display(chance));
  }
  // Beside a Refer-To it would become part of that.
  if (msg.method != cpsip_method::refer && msg.refer_to_uri.length == 0 && chance.one_in(4)) {
    write(msg, CPSIP_FLD_REPLACES, 1, 0, chance.word(1, 40) + ";to-tag=1;from-tag=2");
  }
}

void write_event(Chance& chance, cpsip_msg& msg) {
  if (chance.one_in(2)) return;
  write(msg, CPSIP_FLD_SUBSCRIPTION_STATE, 1, 0, "as its id says");
  msg.subscription_state_id = chance.below(3);
  write(msg, CPSIP_FLD_EVENT, 1, 0, "as its id says");
  msg.event_id = chance.below(3);
}

void write_start(Chance& chance, cpsip_msg& msg) {
  msg.method = kMethods[chance.below(kMethods.size())];
  msg.cseq_method = kMethods[chance.below(kMethods.size() - 1)];
  msg.cseq = chance.below(1000000000);
  msg.max_forwards = static_cast<std::uint8_t>(chance.below(256));
  msg.expires = chance.one_in(2) ? chance.below(1000000) : 0;
  msg.include_allow = chance.one_in(2);
  if (msg.method == cpsip_method::response) {
    msg.status_code = static_cast<std::uint16_t>(chance.between(100, 699));
    if (chance.one_in(2)) write(msg, CPSIP_FLD_REASON, 1, 0, chance.word(1, 20) + " " + chance.word(1, 20));
  } else {
    write(msg, CPSIP_FLD_REQUEST_URI, 1, 0, uri(chance));
  }
}

void write_body(Chance& chance, cpsip_msg& msg) {
  if (chance.one_in(2)) return;
  const std::string text = chance.word(1, 600);
  msg.content_kind = cpsip_content_kind::other;
  msg.content_length = static_cast<std::uint32_t>(text.size());
  msg.body = std::make_unique<char[]>(text.size());
  std::memcpy(msg.body.get(), text.data(), text.size());
  write(msg, CPSIP_FLD_CONTENT_TYPE, 1, 0, "text/" + chance.word(1, 20));
  write_parameters(chance, msg, CPSIP_FLD_CONTENT_TYPE_PARM, 1);
}

}  // namespace

GeneratedText generate_text(Chance& chance) { return TextMaker(chance).make(); }

cpsip_msg_ptr generate_message(Chance& chance) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  write_start(chance, *msg);
  write_single_headers(chance, *msg);
  write_instances(chance, *msg);
  write_lists(chance, *msg);
  write_event(chance, *msg);
  write_body(chance, *msg);
  return msg;
}

}  // namespace hark::test
