// The table of socket blocks and the slots of select sets: who gets a block, when it is free again, and which
// descriptors the main loop is asked to wait for.
#include <fcntl.h>
#include <sys/resource.h>

#include <cerrno>

#include "cpsip/cpsip_socket.h"
#include "cpsip/socket_calls.h"
#include "cpsip/socket_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

cpsip_serv_cb* SomeOwner() { return reinterpret_cast<cpsip_serv_cb*>(std::uintptr_t{0x1000}); }

void OtherCallback(int /*fd*/, bool /*read*/, bool /*write*/, bool /*except*/) {}

class SocketBlock : public SocketTest {
 protected:
  [[nodiscard]] static std::size_t InUse() {
    std::size_t count = 0;
    for (const SocCB& cb : Cpsip_SOC_Blocks())
      count += cb.callback != nullptr ? 1 : 0;
    return count;
  }
  static void ExpectFree(const SocCB& cb) {
    EXPECT_EQ(cb.callback, nullptr);
    EXPECT_EQ(cb.fdset_slot, -1);
    EXPECT_EQ(cb.local, cpsip_address{});
    EXPECT_EQ(cb.remote, cpsip_address{});
    EXPECT_EQ(cb.owner, nullptr);
    EXPECT_EQ(cb.transport, cpsip_transport_kind::none);
    EXPECT_EQ(cb.state, kSocNone);
    EXPECT_EQ(cb.refcount, 0);
    EXPECT_EQ(cb.scan_msg, nullptr);
  }
};

TEST_F(SocketBlock, All18AreFreeAtFirst) {
  ASSERT_EQ(Cpsip_SOC_Blocks().size(), 18U);
  for (const SocCB& cb : Cpsip_SOC_Blocks()) {
    ExpectFree(cb);
    EXPECT_EQ(cb.fd.get(), -1);
  }
}

TEST_F(SocketBlock, NewOneHasItsValuesAndTheStacksSlot) {
  const SocCB* const cb = Cpsip_SOC_AddSocCB(SomeOwner(), OtherCallback, cpsip_transport_kind::tcp);
  ASSERT_NE(cb, nullptr);
  EXPECT_EQ(cb->callback, OtherCallback);
  EXPECT_EQ(cb->fdset_slot, 0);
  EXPECT_EQ(cb->owner, SomeOwner());
  EXPECT_EQ(cb->transport, cpsip_transport_kind::tcp);
  EXPECT_EQ(cb->state, kSocMade);
  EXPECT_EQ(cb->refcount, 0);
  EXPECT_EQ(cb->fd.get(), -1);
  EXPECT_EQ(cb->local, cpsip_address{});
  EXPECT_EQ(cb->remote, cpsip_address{});
}

TEST_F(SocketBlock, NewOneFollowsTheStacksSlot) {
  Cpsip_SOC_UseFdsetSlot(9);
  EXPECT_EQ(Add().fdset_slot, 9);
}

TEST_F(SocketBlock, NineteenthReportsAndIsNull) {
  for (std::size_t at = 0; at != kMaxSockets; ++at) {
    SCOPED_TRACE(at);
    EXPECT_EQ(&Add(), &Cpsip_SOC_Blocks()[at]);
  }
  const SocCB* cb = nullptr;
  EXPECT_THAT(Printed([&] { cb = Cpsip_SOC_AddSocCB(nullptr, Record, cpsip_transport_kind::udp); }),
              IsOneReport());
  EXPECT_EQ(cb, nullptr);
  EXPECT_EQ(InUse(), kMaxSockets);
}

TEST_F(SocketBlock, FreedOneIsTheNextThatIsGiven) {
  for (std::size_t at = 0; at != kMaxSockets; ++at)
    (void)Add();
  SocCB& freed = Cpsip_SOC_Blocks()[7];
  Cpsip_SOC_DelSocCB(freed);
  EXPECT_EQ(&Add(), &freed);
}

TEST_F(SocketBlock, WithoutACallbackThereIsNone) {
  SocCB* cb = &Cpsip_SOC_Blocks()[0];
  EXPECT_THAT(Printed([&] { cb = Cpsip_SOC_AddSocCB(SomeOwner(), nullptr, cpsip_transport_kind::udp); }),
              IsOneReport());
  EXPECT_EQ(cb, nullptr);
  for (const SocCB& one : Cpsip_SOC_Blocks())
    ExpectFree(one);
}

TEST_F(SocketBlock, TwoUsesKeepItThroughTheFirstEnd) {
  SocCB& cb = AddBound();
  cb.refcount = 2;
  cb.owner = SomeOwner();
  const int fd = cb.fd.get();
  Cpsip_SOC_DelSocCB(cb);
  EXPECT_EQ(cb.refcount, 1);
  EXPECT_EQ(cb.callback, Record);
  EXPECT_EQ(cb.owner, SomeOwner());
  EXPECT_THAT(StackSets().read, ElementsAre(fd));
  Cpsip_SOC_DelSocCB(cb);
  ExpectFree(cb);
  EXPECT_EQ(InUse(), 0U);
}

TEST_F(SocketBlock, LastUseFreesAllButTheDescriptor) {
  SocCB& cb = AddBound();
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, true, true), 0);
  cb.owner = SomeOwner();
  cb.state = kSocBound;
  cb.remote = OwnAddress(5060);
  cb.scan_msg = CPSIP_MsgCreate(false);
  const int fd = cb.fd.get();
  Cpsip_SOC_DelSocCB(cb);
  ExpectFree(cb);
  EXPECT_EQ(cb.fd.get(), fd);
  EXPECT_GE(fcntl(fd, F_GETFD), 0) << "it is open, for the caller to close";
  const Sets sets = StackSets();
  EXPECT_EQ(sets.nfds, 0);
  EXPECT_THAT(sets.read, IsEmpty());
  EXPECT_THAT(sets.write, IsEmpty());
  EXPECT_THAT(sets.except, IsEmpty());
}

TEST_F(SocketBlock, ThatNobodyCountedIsFreedAtOnce) {
  SocCB& cb = Add();
  cb.refcount = 0;
  Cpsip_SOC_DelSocCB(cb);
  ExpectFree(cb);
}

TEST_F(SocketBlock, WithoutASocketIsFreedWithoutAReport) {
  SocCB& cb = Add();
  EXPECT_EQ(Printed([&] { Cpsip_SOC_DelSocCB(cb); }), "");
  ExpectFree(cb);
}

TEST_F(SocketBlock, ThatCannotBeClearedIsReportedAndStays) {
  SocCB& cb = AddBound();
  cb.fdset_slot = -1;
  EXPECT_THAT(Printed([&] { Cpsip_SOC_DelSocCB(cb); }), IsOneReport());
  EXPECT_EQ(cb.callback, Record);
  EXPECT_EQ(cb.refcount, 0);
  EXPECT_EQ(cb.state, kSocMade);
  // With its slot again the next end frees it.
  cb.fdset_slot = 0;
  Cpsip_SOC_DelSocCB(cb);
  ExpectFree(cb);
}

TEST_F(SocketBlock, FreeOneOnlyCountsDown) {
  SocCB& cb = Add();
  Cpsip_SOC_DelSocCB(cb);
  EXPECT_EQ(Printed([&] { Cpsip_SOC_DelSocCB(cb); }), "");
  EXPECT_EQ(cb.refcount, -1);
  const SocCB& again = Add();
  EXPECT_EQ(&again, &cb);
  EXPECT_EQ(again.refcount, 1) << "the count that was left is forgotten";
}

TEST_F(SocketBlock, DescriptorThatWasLeftIsClosedWhenTheBlockIsGivenAgain) {
  SocCB& cb = AddBound();
  const int fd = cb.fd.get();
  Cpsip_SOC_DelSocCB(cb);
  EXPECT_EQ(Add().fd.get(), -1);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST_F(SocketBlock, InitForgetsAndClosesAll) {
  const int fd = AddBound().fd.get();
  Cpsip_SOC_Init();
  EXPECT_EQ(InUse(), 0U);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  fd_set none;
  FD_ZERO(&none);
  int result = 0;
  (void)Printed([&] { result = CPSIP_Select(); });
  EXPECT_EQ(result, kSelectNoSlot);
  EXPECT_EQ(Cpsip_SOC_AddFdsetList(none, none, none), 0) << "the first slot is free again";
  Cpsip_SOC_UseFdsetSlot(0);
  EXPECT_EQ(StackSets().nfds, 0);
}

class SocketSlot : public SocketBlock {};

// A set with these descriptors.
fd_set SetOf(std::initializer_list<int> fds) {
  fd_set set;
  FD_ZERO(&set);
  for (const int fd : fds)
    FD_SET(fd, &set);
  return set;
}

TEST_F(SocketSlot, EleventhIsRefused) {
  const fd_set none = SetOf({});
  for (int slot = 1; slot != kFdsetSlots; ++slot)  // the fixture has the first
    EXPECT_EQ(Cpsip_SOC_AddFdsetList(none, none, none), slot);
  EXPECT_EQ(Cpsip_SOC_AddFdsetList(none, none, none), -1);
}

TEST_F(SocketSlot, HasCopiesOfTheThreeSets) {
  const int slot = Cpsip_SOC_AddFdsetList(SetOf({3, 64}), SetOf({1023}), SetOf({0, 5}));
  Cpsip_SOC_UseFdsetSlot(slot);
  const Sets sets = StackSets();
  EXPECT_THAT(sets.read, ElementsAre(3, 64));
  EXPECT_THAT(sets.except, ElementsAre(1023));
  EXPECT_THAT(sets.write, ElementsAre(0, 5));
}

TEST_F(SocketSlot, CountsToTheHighestOfTheThreeSets) {
  struct Row {
    std::initializer_list<int> read, except, write;
    int nfds;
  };
  const Row rows[] = {{{}, {}, {}, 0},       {{0}, {}, {}, 1},         {{7}, {}, {}, 8},
                      {{7}, {9}, {}, 10},    {{7}, {9}, {63, 64}, 65}, {{500}, {9}, {64}, 501},
                      {{}, {1023}, {}, 1024}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.nfds);
    Cpsip_SOC_Init();
    Cpsip_SOC_UseFdsetSlot(Cpsip_SOC_AddFdsetList(SetOf(row.read), SetOf(row.except), SetOf(row.write)));
    EXPECT_EQ(StackSets().nfds, row.nfds);
  }
}

TEST_F(SocketSlot, ChangeTakesInAndOutAsTold) {
  SocCB& cb = AddOpen();
  const int fd = cb.fd.get();
  for (unsigned row = 0; row != 16; ++row) {
    SCOPED_TRACE(row);
    const bool read = (row & 1U) != 0;
    const bool write = (row & 2U) != 0;
    const bool except = (row & 4U) != 0;
    EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, read, write, except), 0);
    const Sets sets = StackSets();
    EXPECT_EQ(sets.read, read ? std::vector{fd} : std::vector<int>{});
    EXPECT_EQ(sets.write, write ? std::vector{fd} : std::vector<int>{});
    EXPECT_EQ(sets.except, except ? std::vector{fd} : std::vector<int>{});
    EXPECT_EQ(sets.nfds, read || write || except ? fd + 1 : 0);
  }
}

TEST_F(SocketSlot, ChangeLeavesOtherDescriptors) {
  SocCB& low = AddOpen();
  SocCB& high = AddOpen();
  ASSERT_LT(low.fd.get(), high.fd.get());
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(low, true, false, true), 0);
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(high, true, false, true), 0);
  EXPECT_EQ(StackSets().nfds, high.fd.get() + 1);
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(high, false, false, false), 0);
  const Sets sets = StackSets();
  EXPECT_THAT(sets.read, ElementsAre(low.fd.get()));
  EXPECT_THAT(sets.except, ElementsAre(low.fd.get()));
  EXPECT_EQ(sets.nfds, low.fd.get() + 1);
}

TEST_F(SocketSlot, ChangeIsInTheSlotOfTheBlock) {
  const int other = Cpsip_SOC_AddFdsetList(SetOf({}), SetOf({}), SetOf({}));
  SocCB& cb = AddOpen();
  ASSERT_EQ(Cpsip_SOC_SetFdsetForSocCB(cb, other), 0);
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, false, false), 0);
  EXPECT_THAT(StackSets().read, IsEmpty());
  Cpsip_SOC_UseFdsetSlot(other);
  EXPECT_THAT(StackSets().read, ElementsAre(cb.fd.get()));
}

TEST_F(SocketSlot, ChangeWithoutASlotFails) {
  SocCB& cb = AddOpen();
  for (const int slot : {-1, -2, 10}) {
    SCOPED_TRACE(slot);
    cb.fdset_slot = slot;
    EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, false, false), -1);
    EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, false, false, false), -1);
  }
}

TEST_F(SocketSlot, ChangeWithoutADescriptorFailsButClears) {
  SocCB& cb = Add();
  EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, false, false), -1);
  EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, false, true, false), -1);
  EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, false, false, true), -1);
  EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, false, false, false), 0);
  EXPECT_EQ(StackSets().nfds, 0);
}

TEST_F(SocketSlot, DescriptorThatNoSetHoldsFailsButItsBlockCanGo) {
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  limit.rlim_cur = limit.rlim_max;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  SocCB& cb = AddOpen();
  cb.fd.reset(fcntl(cb.fd.get(), F_DUPFD, FD_SETSIZE));
  if (!cb.fd.is_open()) GTEST_SKIP() << "this process may not have so many descriptors";
  EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, false, true), -1);
  EXPECT_EQ(StackSets().nfds, 0);
  EXPECT_EQ(CPSIP_Select(), 0);
  Cpsip_SOC_DelSocCB(cb);
  ExpectFree(cb);
}

TEST_F(SocketSlot, OnlyThoseFrom0To9CanBeGiven) {
  SocCB& cb = Add();
  for (int slot = 0; slot != kFdsetSlots; ++slot) {
    SCOPED_TRACE(slot);
    EXPECT_EQ(Cpsip_SOC_SetFdsetForSocCB(cb, slot), 0);
    EXPECT_EQ(cb.fdset_slot, slot);
  }
  for (const int slot : {-1, 10, 11, -2147483647}) {
    SCOPED_TRACE(slot);
    EXPECT_EQ(Cpsip_SOC_SetFdsetForSocCB(cb, slot), -1);
    EXPECT_EQ(cb.fdset_slot, 9) << "what it had";
  }
}

using SocketBlockDeathTest = SocketBlock;

TEST_F(SocketBlockDeathTest, NewOneWithoutAStackSlotEndsTheProcess) {
  for (const int slot : {-1, 10, -5}) {
    SCOPED_TRACE(slot);
    Cpsip_SOC_UseFdsetSlot(slot);
    EXPECT_EXIT(Dying([] { (void)Cpsip_SOC_AddSocCB(nullptr, Record, cpsip_transport_kind::udp); }),
                ::testing::ExitedWithCode(1), kFatalReport);
  }
}

}  // namespace
}  // namespace hark::test
