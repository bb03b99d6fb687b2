// Finding the dialog of a message: by an index, and the same one that a walk over all of them finds.
#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

#include "cpsip/call_fixture.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_transaction_private.h"

namespace hark::test {
namespace {

constexpr std::size_t kDialogs = 10000;
constexpr unsigned kCalls = 2500;  // Call-IDs
constexpr unsigned kSteps = 2000;
constexpr std::array<const char*, 6> kTags{"", "a", "b", "ab", "A", "tag"};  // empty: none

// What a dialog remembers, or a message says.
struct Parties {
  std::string call_id;
  std::string from_tag;
  std::string to_tag;
};

struct Known {
  cpsip_dlog_ptr dialog;
  Parties parties;
};

struct Asking {
  Parties parties;
  bool request = true;
  cpsip_method cseq_method = cpsip_method::bye;
  std::uint16_t status = 0;
};

// Dialog by dialog, the oldest first: the Call-ID; the tag of the far end's To, unless an INVITE of ours is
// still without a final answer or the message is about a CANCEL; the tag of its From.
const Known* Walk(const std::vector<Known>& all, const Asking& asking, bool& add_tag) {
  for (const Known& one : all) {
    add_tag = false;
    const bool local_is_from = one.dialog->is_caller == asking.request;
    const std::string& for_to = local_is_from ? one.parties.from_tag : one.parties.to_tag;
    const std::string& for_from = local_is_from ? one.parties.to_tag : one.parties.from_tag;
    if (one.parties.call_id != asking.parties.call_id) continue;
    if (one.dialog->state != DLG_INVITE_SENT && asking.cseq_method != cpsip_method::cancel &&
        asking.status != 487 && !for_to.empty()) {
      if (!asking.parties.to_tag.empty() && asking.parties.to_tag != for_to) continue;
      add_tag = asking.parties.to_tag.empty() && asking.request && asking.cseq_method == cpsip_method::invite;
    }
    if (asking.parties.from_tag == for_from) return &one;
  }
  add_tag = false;
  return nullptr;
}

class CallLookupTest : public CallTest {
 protected:
  unsigned Draw(unsigned below) { return std::uniform_int_distribution<unsigned>(0, below - 1)(random_); }
  std::string DrawTag() { return kTags[Draw(unsigned{kTags.size()})]; }
  Parties DrawParties() { return {"call-" + std::to_string(Draw(kCalls)) + "@host", DrawTag(), DrawTag()}; }
  Asking DrawAsking() {
    static constexpr std::array kMethods{cpsip_method::invite, cpsip_method::bye, cpsip_method::ack,
                                         cpsip_method::cancel, cpsip_method::options};
    Asking asking{DrawParties(), Draw(2) == 0, kMethods[Draw(unsigned{kMethods.size()})], 0};
    if (!asking.request) asking.status = Draw(3) == 0 ? 487 : 200;
    return asking;
  }

  static void Write(cpsip_msg& msg, const Parties& parties) {
    EXPECT_EQ(cpsip_msg_write(msg, CPSIP_FLD_CALL_ID, 1, 0, parties.call_id), kAccessOk);
    for (const auto& [field, tag] :
         {std::pair{CPSIP_FLD_FROM_PARM, parties.from_tag}, std::pair{CPSIP_FLD_TO_PARM, parties.to_tag}}) {
      const std::string text = tag.empty() ? "x" : "tag=" + tag;
      EXPECT_EQ(cpsip_msg_write(msg, field, 1, 1, text), kAccessOk);
    }
  }
  static cpsip_msg_ptr MessageOf(const Asking& asking) {
    cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
    msg->cseq_method = asking.cseq_method;
    if (asking.request) msg->method = asking.cseq_method;
    msg->status_code = asking.status;
    Write(*msg, asking.parties);
    return msg;
  }

  void Add() {
    Known one{cpsip_serv_create_dlog_cb(Service()), DrawParties()};
    ASSERT_NE(one.dialog, nullptr);
    one.dialog->state = Draw(DLG_IDLE);
    one.dialog->is_caller = Draw(2) == 0;
    Remember(one);
    all_.push_back(std::move(one));
  }
  static void Remember(const Known& one) {
    one.dialog->state_msg = CPSIP_MsgCreate(true);
    Write(*one.dialog->state_msg, one.parties);
    cpsip_dlog_reindex(*one.dialog);
  }
  // A dialog comes, goes, or gets another tag.
  void Change() {
    const std::size_t at = Draw(unsigned{kDialogs});
    switch (Draw(3)) {
      case 0:
        (void)cpsip_serv_delete_dlog_cb(*all_[at].dialog);
        all_.erase(all_.begin() + static_cast<std::ptrdiff_t>(at));
        Add();
        break;
      case 1:
        all_[at].parties.to_tag = DrawTag();
        Remember(all_[at]);
        break;
      default:
        all_[at].parties.from_tag = DrawTag();
        Remember(all_[at]);
        break;
    }
  }

  std::vector<Known> all_;
  std::mt19937 random_{4711};
};

TEST_F(CallLookupTest, IndexFindsAmongTenThousandDialogsTheOneThatAWalkFinds) {
  while (all_.size() < kDialogs)
    Add();
  unsigned found = 0;
  for (unsigned step = 0; step < kSteps; ++step) {
    Change();
    const Asking asking = DrawAsking();
    SCOPED_TRACE(std::to_string(step) + ": " + asking.parties.call_id + " from " + asking.parties.from_tag +
                 " to " + asking.parties.to_tag + (asking.request ? " request " : " response ") +
                 Method(asking.cseq_method));
    bool add_tag = false;
    const Known* const expected = Walk(all_, asking, add_tag);
    const cpsip_tact_match match = cpsip_tact_find_dialog(Service(), *MessageOf(asking));
    ASSERT_EQ(match.dialog.get(), expected != nullptr ? expected->dialog.get() : nullptr);
    ASSERT_EQ(match.add_tag, add_tag);
    ASSERT_FALSE(match.refused);
    found += expected != nullptr ? 1U : 0U;
  }
  EXPECT_GT(found, kSteps / 10);
  EXPECT_GT(kSteps - found, kSteps / 10);
}

// A walk over all dialogs for each datagram held the control loop.
TEST_F(CallLookupTest, FewDialogsAreLookedAt) {
  while (all_.size() < kDialogs)
    Add();
  std::size_t most = 0;
  for (unsigned i = 0; i < 500; ++i) {
    const Parties parties = DrawParties();
    most = std::max(most, cpsip_serv_candidates(Service(), parties.call_id, parties.from_tag).size());
  }
  EXPECT_GT(most, 0U);
  EXPECT_LT(most, 32U);
}

}  // namespace
}  // namespace hark::test
