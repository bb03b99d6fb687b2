// The bounds of what datagrams can make the stack keep: what goes when one is met, and what never does.
#include <string>
#include <vector>

#include "cpsip/call_fixture.h"
#include "cpsip/cpsip_transaction.h"
#include "cpsip/cpsip_ua.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t kSomeLine = 9;

class CallLimitsTest : public CallTest {
 protected:
  // Dialogs up to the limit but for `left`, each of a line.
  void FillWithLines(std::size_t left) {
    while (cpsip_dialog_count() + left < kMaxDialogs) {
      const cpsip_dlog_ptr dialog = cpsip_serv_create_dlog_cb(Service());
      ASSERT_NE(dialog, nullptr);
      dialog->app_dialog_id = kSomeLine;
      dialog->state = DLG_CONFIRMED;
      lines_.push_back(dialog);
    }
  }
  // Transactions up to the limit of the process, in those dialogs.
  void FillWithTransactions() {
    for (std::size_t i = 0; cpsip_transaction_count() < kMaxTransactions; ++i)
      (void)cpsip_tact_create_tact_cb(*lines_[i % lines_.size()], false);
  }
  void AddLines(unsigned count) {
    for (; count != 0; --count) {
      lines_.push_back(cpsip_serv_create_dlog_cb(Service()));
      lines_.back()->app_dialog_id = kSomeLine;
      lines_.back()->state = DLG_CONFIRMED;
    }
  }
  void Ring(const std::string& call) {
    Send({.method = "INVITE", .branch = "z9hG4bK" + call, .headers = Contact(), .call = call});
  }

  std::vector<cpsip_dlog_ptr> lines_;
};

// Without a bound a stranger's datagrams filled the memory.
TEST_F(CallLimitsTest, OldestUnusedDialogMakesRoomForANewOne) {
  AddLines(1);
  Ring("first");
  Ring("second");
  FillWithLines(0);
  heard_.clear();
  (void)Received();
  Ring("third");
  EXPECT_EQ(cpsip_dialog_count(), kMaxDialogs);
  EXPECT_THAT(heard_, ElementsAre("status 999", "INVITE"));
  EXPECT_THAT(Came(), ElementsAre("100 INVITE"));
  for (const cpsip_dlog_ptr& line : lines_)
    ASSERT_FALSE(line->is_gone());
  Send({.method = "CANCEL", .branch = "z9hG4bKsecond", .call = "second"});
  EXPECT_THAT(Came(), ElementsAre("200 CANCEL", "487 INVITE"));  // it still rang
  Send({.method = "CANCEL", .branch = "z9hG4bKfirst", .call = "first"});
  EXPECT_THAT(Came(), ElementsAre("481 CANCEL"));
}

TEST_F(CallLimitsTest, DialogOfALineThatHasEndedMakesRoomToo) {
  FillWithLines(0);
  lines_[3]->state = DLG_ENDED;
  Ring("new");
  EXPECT_TRUE(lines_[3]->is_gone());
  EXPECT_THAT(Came(), ElementsAre("100 INVITE"));
  EXPECT_EQ(cpsip_dialog_count(), kMaxDialogs);
}

TEST_F(CallLimitsTest, NewCallIsDroppedInSilenceWhenLinesUseAllDialogs) {
  FillWithLines(0);
  Ring("new");
  EXPECT_THAT(Came(), IsEmpty());
  EXPECT_THAT(heard_, IsEmpty());
  EXPECT_EQ(cpsip_dialog_count(), kMaxDialogs);
  for (const cpsip_dlog_ptr& line : lines_)
    ASSERT_FALSE(line->is_gone());
}

TEST_F(CallLimitsTest, CallOfOursIsRefusedWhenLinesUseAllDialogs) {
  FillWithLines(0);
  dialog_ = cpsip_new_dialog();
  EXPECT_EQ(Say(cpsip_method::invite, "sip:far@" + far_.place(), true), int{kServBadDialog});
  EXPECT_EQ(dialog_, nullptr);
  EXPECT_THAT(Came(), IsEmpty());
}

// One dialog was ended for each transaction too many, also when it had none: the bound was passed.
TEST_F(CallLimitsTest, AsManyUnusedDialogsGoAsATransactionNeeds) {
  for (unsigned i = 0; i < 3; ++i)  // each lingers without a transaction
    Send(
        {.method = "BYE", .branch = "z9hG4bKstray" + std::to_string(i), .call = "stray" + std::to_string(i)});
  Ring("unused");
  AddLines(64);
  FillWithTransactions();
  (void)Received();
  heard_.clear();
  Ring("new");
  EXPECT_LE(cpsip_transaction_count(), kMaxTransactions);
  EXPECT_THAT(heard_, ElementsAre("status 999", "status 999", "status 999", "status 999", "INVITE"));
  EXPECT_THAT(Came(), ElementsAre("100 INVITE"));
}

TEST_F(CallLimitsTest, RequestIsDroppedInSilenceWhenLinesHaveAllTransactions) {
  AddLines(64);
  FillWithTransactions();
  Ring("new");
  EXPECT_THAT(Came(), IsEmpty());
  EXPECT_EQ(cpsip_transaction_count(), kMaxTransactions);
  EXPECT_EQ(cpsip_dialog_count(), 64U);
}

// Only the transactions of received requests were counted against the bound.
TEST_F(CallLimitsTest, RequestOfOursIsRefusedWhenLinesHaveAllTransactions) {
  AddLines(64);
  FillWithTransactions();
  dialog_ = cpsip_new_dialog();
  EXPECT_NE(Say(cpsip_method::invite, "sip:far@" + far_.place(), true), 0);
  EXPECT_THAT(Came(), IsEmpty());
  EXPECT_EQ(cpsip_transaction_count(), kMaxTransactions);
  EXPECT_EQ(cpsip_dialog_count(), 64U);
}

// REFERs, which are not answered, filled the dialog until BYE was dropped, too: the call stood.
TEST_F(CallLimitsTest, ByeIsTakenInADialogFullOfOtherTransactions) {
  TakeCall();
  for (unsigned i = 0; i < kMaxDialogTransactions + 4; ++i)
    Send({.method = "REFER",
          .cseq = 2 + i,
          .branch = "z9hG4bKrefer" + std::to_string(i),
          .to_tag = OurTag(),
          .headers = Contact() + "Refer-To: <sip:third@127.0.0.1>\r\n"});
  EXPECT_EQ(Dialog()->server_tacts.size(), kMaxDialogTransactions);
  EXPECT_EQ(heard_, std::vector<std::string>(kMaxDialogTransactions, "REFER"));
  (void)Received();
  Send({.method = "BYE", .cseq = 99, .branch = "z9hG4bKbye", .to_tag = OurTag()});
  EXPECT_THAT(Came(), ElementsAre("200 BYE"));
  EXPECT_EQ(heard_.back(), "BYE");
  EXPECT_EQ(Dialog()->server_tacts.size(), kMaxDialogTransactions);
}

// The INVITE itself was the oldest transaction, and made room for its CANCEL: it never had a final answer.
TEST_F(CallLimitsTest, CancelIsTakenInAFullDialogAndItsInviteAnswered) {
  Ring("call");
  for (unsigned i = 0; i < kMaxDialogTransactions; ++i)
    Send({.method = "REFER",
          .cseq = 2 + i,
          .branch = "z9hG4bKrefer" + std::to_string(i),
          .headers = Contact() + "Refer-To: <sip:third@127.0.0.1>\r\n"});
  ASSERT_NE(Dialog(), nullptr);
  EXPECT_EQ(Dialog()->server_tacts.size(), kMaxDialogTransactions);
  (void)Received();
  Send({.method = "CANCEL", .branch = "z9hG4bKcall"});
  EXPECT_THAT(Came(), ElementsAre("200 CANCEL", "487 INVITE"));
  EXPECT_EQ(heard_.back(), "CANCEL");
}

// The bound holds for what we send, too: each response of a call that a REFER had asked for made another one.
TEST_F(CallLimitsTest, RequestOfOursIsRefusedInADialogFullOfThem) {
  TakeCall();
  for (unsigned i = 0; i < kMaxDialogTransactions; ++i)
    EXPECT_EQ(Say(cpsip_method::options), 0);
  (void)Received();
  EXPECT_NE(Say(cpsip_method::options), 0);
  EXPECT_EQ(Dialog()->client_tacts.size(), kMaxDialogTransactions);
  EXPECT_THAT(Came(), IsEmpty());
}

// What one Call-ID and tag can make is bounded by itself: each message of it is compared with all of them.
TEST_F(CallLimitsTest, DialogsOfOneCallAreBounded) {
  const std::string ours = ";tag=far";
  for (unsigned i = 0; i < kMaxDialogsOfOneCall + 8; ++i) {
    const std::string branch = "z9hG4bKfork" + std::to_string(i);
    Send({.method = "INVITE",
          .branch = branch,
          .to_tag = "fork" + std::to_string(i),
          .headers = Contact(),
          .from_parms = ours});
  }
  EXPECT_EQ(cpsip_dialog_count(), kMaxDialogsOfOneCall);
  EXPECT_EQ(heard_, std::vector<std::string>(kMaxDialogsOfOneCall, "INVITE"));
  EXPECT_EQ(Came(), std::vector<std::string>(kMaxDialogsOfOneCall, "100 INVITE"));
  heard_.clear();
  Send({.method = "INVITE", .branch = "z9hG4bKother", .headers = Contact(), .from_parms = ";tag=other"});
  EXPECT_THAT(heard_, ElementsAre("INVITE"));
}

}  // namespace
}  // namespace hark::test
