// One event, or one message that is sent, during which a receiver calls back into the user agent; and what
// must hold however it did.
#pragma once

#include <string>

#include "sipua/stack_fixture.h"

namespace hark::test {

class ReentryTest : public LineTest {
 public:
  using LineTest::AdvanceMs;
  using LineTest::Bring;
  using LineTest::Config;
  using LineTest::Dialog;
  using LineTest::fake_;
  using LineTest::Line;
  using LineTest::Ring;
  using LineTest::Service;
  using LineTest::table_;

  // From the stack, on the dialog of the last call.
  void Put(cpsip_msg_ptr msg) { FakeStack::Deliver(Dialog(), std::move(msg)); }
  void PutStatus(unsigned code, cpsip_method request = cpsip_method::invite) {
    Put(make_status(code, request));
  }
  // A retry's next round, which may be its last.
  void Retry(SipLineTimer id, bool last) {
    retry_ = {.nTimerId = static_cast<std::uint32_t>(id), .nInterval = 500, .bFinal = last};
    (void)Line().SetTimer(id, 10, &retry_);
    AdvanceMs(10);
  }

 protected:
  static constexpr const char* kDone = "-- done";
  // What a receiver does to the line, and what it does to the service or the stack.
  struct Action {
    const char* name;
    void (*run)(ReentryTest&);
    bool ends_service;
    bool makes_service;
  };
  static void Restart(ReentryTest& test);
  static constexpr Action kDrop{"Drop", [](ReentryTest&) { Stack().Drop(1, 0); }, false, false};
  static constexpr Action kAnswer{"Answer", [](ReentryTest&) { Stack().Answer(1, 0); }, false, false};
  static constexpr Action kCall{"Call", [](ReentryTest&) { Stack().Call(1, 0, "sip:other@10.0.0.3"); }, false,
                                false};
  static constexpr Action kSeize{"Seize", [](ReentryTest&) { Stack().Seize(1, 0); }, false, false};
  static constexpr Action kDestroy{"Destroy", [](ReentryTest&) { Stack().ServiceDestroy(1); }, true, false};
  static constexpr Action kRecreate{"Recreate", [](ReentryTest&) { Stack().ServiceCreate(1, Config(1, 2)); },
                                    true, true};
  static constexpr Action kEnd{"End", [](ReentryTest&) { Stack().Finalize(); }, true, false};
  static constexpr Action kRestart{"Restart", [](ReentryTest& test) { Restart(test); }, true, true};

  // Service 1, new, in a stack that is as new.
  void StartOver() {
    on_event = nullptr;
    fake_.OnNextSend(nullptr);
    ran_ = false;
    StartService(Config(1, 2));
  }
  void Run(const Action& action) {
    ran_ = true;
    action.run(*this);
    fake_.log.emplace_back(kDone);
  }
  // Afterwards. `quiet`: what was ended has nothing more to say or to send.
  void Check(const Action& action, bool quiet);

 private:
  void CheckQuiet();
  void CheckUsable();

  bool ran_ = false;
  TimerInfo retry_;
};

}  // namespace hark::test
