// Services that begin and end inside a callback, or cannot do what they are asked for.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cpsip/call_fixture.h"
#include "cpsip/cpsip_timer.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CallServiceTest : public CallTest {
 protected:
  void StartOnceWhenTold() {
    on_heard_ = [this](const cpsip_msg&) {
      on_heard_ = nullptr;
      Start();
    };
  }
  void ExpectServing() {
    on_heard_ = nullptr;
    ASSERT_TRUE(Service().xport.socket);
    EXPECT_EQ(Service().xport.socket->state, kSocBound);
    EXPECT_EQ(Service().xport.socket->refcount, 1);
    Send({.method = "OPTIONS", .branch = "z9hG4bKafter", .call = "after"});
    EXPECT_THAT(Came(), ElementsAre("200 OPTIONS"));
  }
};

// Whoever was told of a call and started the stack anew got a service whose socket the old one closed when it
// died below: it was deaf for ever.
TEST_F(CallServiceTest, ServiceMadeInACallbackKeepsItsSocket) {
  StartOnceWhenTold();
  Send({.method = "INVITE", .headers = Contact(), .offer = true});
  (void)Received();
  ExpectServing();
}

// The same from the callback of a message that the application sends.
TEST_F(CallServiceTest, ServiceMadeWhileAMessageIsSentKeepsItsSocket) {
  StartOnceWhenTold();
  dialog_ = cpsip_new_dialog();
  EXPECT_NE(Say(cpsip_method::invite, "sip:far@no.such.name", true), 0);
  EXPECT_THAT(Came(), IsEmpty());
  ExpectServing();
}

// The same from the callback of a timer.
TEST_F(CallServiceTest, ServiceMadeInATimersCallbackKeepsItsSocket) {
  (void)Invite();
  StartOnceWhenTold();
  AdvanceSeconds(33);
  (void)Received();
  ExpectServing();
}

// The same when a service ends and tells of its dialogs.
TEST_F(CallServiceTest, ServiceMadeWhileAnotherOneEndsKeepsItsSocket) {
  for (const char* call : {"one", "two"})
    Send({.method = "INVITE", .branch = std::string("z9hG4bK") + call, .headers = Contact(), .call = call});
  (void)Received();
  StartOnceWhenTold();
  void* const old = service_;
  (void)CPSIP_ServiceDelete(old);
  ExpectServing();
  EXPECT_EQ(cpsip_transaction_count(), 1U);  // of the OPTIONS just now
}

// A service of a kind that there is not, whose creation had failed, sent all the same.
TEST_F(CallServiceTest, ServiceOfAnotherKindSendsNothing) {
  void* other = nullptr;
  EXPECT_EQ(CPSIP_ServiceCreate(
                this, &other, 3, &ua_, &xport_, [](void*, cpsip_msg*, void*) {}, &session_, session_pool_, 0),
            int{kServBadService});
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->method = cpsip_method::bye;
  void* dialog = cpsip_new_dialog();
  EXPECT_EQ(CPSIP_MsgSend(other, msg.release(), &dialog), 0);
  EXPECT_THAT(Came(), IsEmpty());
  EXPECT_EQ(CPSIP_ServiceDelete(other), 0);
}

// A service whose descriptor no set can hold started well, sent, and heard nothing.
TEST_F(CallServiceTest, ServiceWhoseSocketCannotBeHeardFailsToStart) {
  ASSERT_EQ(CPSIP_ServiceDelete(service_), 0);
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_max < FD_SETSIZE + 16) GTEST_SKIP() << "no more than " << limit.rlim_max << " descriptors";
  limit.rlim_cur = FD_SETSIZE + 16;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  std::vector<UniqueFd> taken;
  do {
    taken.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(taken.back().is_open());
  } while (taken.back().get() < FD_SETSIZE);
  EXPECT_EQ(Create(), int{kServOpenFailed});
  EXPECT_FALSE(Service().xport.socket->fd.is_open());
  EXPECT_EQ(CPSIP_ServiceDelete(service_), 0);
  taken.clear();
  EXPECT_EQ(Create(), 0);
  ExpectServing();
}

// A response as the first message of a dialog was refused, but the dialog made for it stayed for ever.
TEST_F(CallServiceTest, ResponseWithoutARequestLeavesNoDialog) {
  dialog_ = cpsip_new_dialog();
  EXPECT_NE(Respond(200), 0);
  EXPECT_EQ(cpsip_dialog_count(), 0U);
  EXPECT_THAT(heard_, ElementsAre("status 999"));
  EXPECT_THAT(Came(), IsEmpty());
}

// A first INVITE that could not be sent left its dialog behind.
TEST_F(CallServiceTest, FirstRequestThatCannotGoLeavesNoDialog) {
  struct Row {
    cpsip_method method;
    const char* uri;
  };
  for (const Row& row : {Row{cpsip_method::invite, ""}, Row{cpsip_method::options, ""},
                         Row{cpsip_method::invite, "sip:far@no.such.name"},
                         Row{cpsip_method::ack, "sip:far@127.0.0.1"}, Row{cpsip_method::bye, ""},
                         Row{cpsip_method::cancel, ""}, Row{cpsip_method::publish, "sip:far@127.0.0.1"}}) {
    SCOPED_TRACE(std::string(Method(row.method)) + " " + row.uri);
    dialog_ = cpsip_new_dialog();
    EXPECT_NE(Say(row.method, row.uri), 0);
    EXPECT_EQ(cpsip_dialog_count(), 0U);
    EXPECT_EQ(cpsip_transaction_count(), 0U);
    EXPECT_EQ(cpsip_timer_count(), 0U);
    EXPECT_THAT(Came(), IsEmpty());
  }
}

}  // namespace
}  // namespace hark::test
