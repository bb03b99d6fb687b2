// One transaction: an input is its kind (a letter), and behind a line feed letters: what comes, what goes,
// and how the time passes. What leaves, and how long the transaction lives, is held against a model of RFC
// 3261 section 17 that knows its states and timers, on a clock of whole seconds, and nothing of the stack.
#include <algorithm>
#include <array>
#include <string>

#include "cpsip/cpsip_service.h"
#include "support/fuzzing.h"
#include "support/sip_world.h"

namespace {

using hark::fuzz::check;

enum class Kind { client_invite, client_other, server_invite, server_options, server_refer };
enum class State { calling, proceeding, completed, confirmed, gone };

constexpr unsigned kNever = UINT32_MAX;
constexpr unsigned kT1Ms = 500;
constexpr unsigned kT2Ms = 4000;
constexpr unsigned kTimeoutMs = 64 * kT1Ms;
constexpr unsigned kTimerDMs = 33000;
constexpr unsigned kT4Ms = 5000;

// A transaction: when it sends what it has sent last again, and when it ends.
class Model {
 public:
  explicit Model(Kind kind) : kind_(kind) {
    if (kind == Kind::client_invite || kind == Kind::client_other) {
      resend_ms_ = kT1Ms;
      ends_ms_ = kTimeoutMs;
    }
    if (kind == Kind::server_invite || kind == Kind::server_refer) state_ = State::proceeding;
    if (kind == Kind::server_options) Complete();
  }

  [[nodiscard]] bool Lives() const { return state_ != State::gone; }
  // Whether nothing more is known: the transaction has handed over to somebody else.
  [[nodiscard]] bool IsFree() const { return free_; }

  // Each returns how many messages leave.
  unsigned Second() {
    now_ms_ += 1000;
    if (Lives() && now_ms_ >= ends_ms_) state_ = State::gone;
    if (!Lives() || now_ms_ < resend_ms_) return 0;
    const bool capped = kind_ != Kind::client_invite;
    interval_ms_ = capped ? std::min(2 * interval_ms_, kT2Ms) : 2 * interval_ms_;
    if (kind_ == Kind::client_other && state_ == State::proceeding) interval_ms_ = kT2Ms;
    resend_ms_ = now_ms_ + interval_ms_;
    return 1;
  }

  unsigned Provisional() {
    if (state_ != State::calling) return 0;
    state_ = State::proceeding;
    if (kind_ == Kind::client_invite) resend_ms_ = ends_ms_ = kNever;
    return 0;
  }

  unsigned Final(bool success) {
    const bool invite = kind_ == Kind::client_invite;
    if (!Lives()) return 0;
    if (invite && success && state_ != State::completed) {
      free_ = true;
      state_ = State::gone;
      return 1;  // its ACK
    }
    if (state_ == State::completed) return invite && !success ? 1 : 0;
    Complete();
    return invite ? 1 : 0;
  }

  // The far end's request again.
  unsigned Again() {
    if (!Lives()) free_ = true;
    if (state_ == State::confirmed) return 0;
    return kind_ == Kind::server_refer && !answered_ ? 0 : 1;
  }

  unsigned Ack() {
    if (!Lives()) free_ = true;
    if (state_ != State::completed) return 0;
    state_ = State::confirmed;
    resend_ms_ = kNever;
    ends_ms_ = now_ms_ + kT4Ms;
    return 0;
  }

  // The application answers.
  unsigned Answer(unsigned status) {
    const bool invite = kind_ == Kind::server_invite;
    if (!Lives() || (invite && state_ != State::proceeding)) return 0;
    answered_ = true;
    if (status < 200) return 1;
    if (invite && status < 300) {
      free_ = true;
      state_ = State::gone;
    } else if (state_ != State::completed) {
      Complete();
    }
    return 1;
  }

 private:
  void Complete() {
    state_ = State::completed;
    resend_ms_ = kNever;
    interval_ms_ = kT1Ms;
    switch (kind_) {
      case Kind::client_invite:
        ends_ms_ = now_ms_ + kTimerDMs;
        return;
      case Kind::client_other:
        ends_ms_ = now_ms_ + kT4Ms;
        return;
      case Kind::server_invite:
        resend_ms_ = now_ms_ + kT1Ms;
        ends_ms_ = now_ms_ + kTimeoutMs;
        return;
      default:
        ends_ms_ = now_ms_ + kTimeoutMs;
    }
  }

  Kind kind_;
  State state_ = State::calling;
  bool free_ = false;
  bool answered_ = false;
  unsigned now_ms_ = 0;
  unsigned interval_ms_ = kT1Ms;
  unsigned resend_ms_ = kNever;
  unsigned ends_ms_ = kNever;
};

struct Beginning {
  char letter;
  Kind kind;
  const char* method;
  const char* step;
};
constexpr std::array<Beginning, 5> kBeginnings{
    {{'I', Kind::client_invite, "INVITE", ">INVITE|*|%|URI: sip:far@10.0.0.9"},
     {'O', Kind::client_other, "OPTIONS", ">OPTIONS|*|URI: sip:far@10.0.0.9"},
     {'i', Kind::server_invite, "INVITE", "<INVITE|%a0"},
     {'o', Kind::server_options, "OPTIONS", "<OPTIONS"},
     {'r', Kind::server_refer, "REFER", "<REFER"}}};

class Run {
 public:
  explicit Run(const Beginning& beginning) : beginning_(beginning), model_(beginning.kind), world_("") {
    world_.Run(beginning.step);
    check(world_.sent() == (beginning.kind == Kind::server_refer ? 0 : 1),
          "a transaction begins with a message");
    check(hark::cpsip_transaction_count() == 1, "a transaction begins");
  }

  void Letter(char letter) {
    const unsigned before = world_.sent();
    const unsigned expected = Do(letter);
    if (model_.IsFree()) return;
    check(world_.sent() - before == expected, "a transaction sends what it is to send");
    check((hark::cpsip_transaction_count() == 1) == model_.Lives(),
          "a transaction lives as long as it is to");
  }
  [[nodiscard]] bool IsFree() const { return model_.IsFree(); }
  void End() { world_.EndAll(); }

 private:
  [[nodiscard]] std::string With(const char* before) const { return std::string(before) + beginning_.method; }

  unsigned Response(const char* step, unsigned expected) {
    world_.Run(With(step));
    return expected;
  }

  unsigned Do(char letter) {
    const bool client = beginning_.kind == Kind::client_invite || beginning_.kind == Kind::client_other;
    if (letter == '.') {
      world_.Run(",1");
      return model_.Second();
    }
    return client ? OfClient(letter) : OfServer(letter);
  }

  unsigned OfClient(char letter) {
    switch (letter) {
      case '0':
        return Response("<100 ", model_.Provisional());
      case '1':
        return Response("<180 ", model_.Provisional());
      case '2':
        return Response("<200 ", model_.Final(true));
      case '3':
        return Response("<302 ", model_.Final(false));
      case '4':
        return Response("<404 ", model_.Final(false));
      case '6':
        return Response("<603 ", model_.Final(false));
      case '7':
        return Response("<700 ", 0);  // no class of responses
      case 'w':
        world_.Run(With("<200 ") + "|Via: SIP/2.0/UDP 10.0.0.1;branch=z9hG4bKother");
        return 0;
      case 'v':
        world_.Run(With("<200 ") + "|-Via");
        return 0;
      case 'c':
        world_.Run(With("<200 ") + "|CSeq: 1 NOTIFY");
        return 0;
      default:
        return 0;
    }
  }

  unsigned OfServer(char letter) {
    const unsigned expected = letter == 'r' ? model_.Again() : 0;
    switch (letter) {
      case 'r':
        world_.Run("=");
        return expected;
      case 'k':
        if (beginning_.kind != Kind::server_invite) return 0;
        world_.Run("<ACK|Via: SIP/2.0/UDP 10.0.0.9:5060;branch=$b");
        return model_.Ack();
      case '1':
        return Answer(">180 ", 180);
      case '2':
        return Answer(">200 ", 200);
      case '4':
        return Answer(">486 ", 486);
      case '6':
        return Answer(">603 ", 603);
      default:
        return 0;
    }
  }

  unsigned Answer(const char* step, unsigned status) {
    if (beginning_.kind == Kind::server_options) return 0;  // the stack has answered it
    return Response(step, model_.Answer(status));
  }

  const Beginning& beginning_;
  Model model_;
  hark::fuzz::SipWorld world_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = hark::fuzz::as_text(data, size);
  if (input.empty()) return 0;
  const auto* const beginning = std::find_if(kBeginnings.begin(), kBeginnings.end(),
                                             [&](const Beginning& one) { return one.letter == input[0]; });
  if (beginning == kBeginnings.end()) return 0;
  Run run(*beginning);
  for (const char letter : input.substr(1, 120)) {
    run.Letter(letter);
    if (run.IsFree()) break;
  }
  run.End();
  return 0;
}
