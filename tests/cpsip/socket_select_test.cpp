// The pass over the stack's sockets: who is told what, what callbacks may do meanwhile, and how long failures
// of select are borne.
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "cpsip/cpsip_socket.h"
#include "cpsip/socket_calls.h"
#include "cpsip/socket_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SocketSelect : public SocketTest {
 protected:
  static void HaveService(bool have) {
    if (have) {
      Cpsip_SOC_SetServiceCheck([] { return true; });
    } else {
      Cpsip_SOC_SetServiceCheck([] { return false; });
    }
  }
  // A pass in which select fails; the report is swallowed.
  static int FailedPass() {
    const Failing failing(SystemCall::select, EBADF);
    int result = 0;
    (void)Printed([&] { result = CPSIP_Select(); });
    return result;
  }
  // Ends the use of a block and its socket, as a transport does.
  static void Drop(SocCB& cb) {
    Cpsip_SOC_DelSocCB(cb);
    cb.fd.reset();
  }
};

TEST_F(SocketSelect, NothingReadyTellsNobody) {
  (void)AddBound();
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(SocketSelect, DatagramIsToldAsReadUntilItIsTaken) {
  const SocCB& from = AddBound();
  const SocCB& to = AddBound();
  Send(from, to, "INVITE");
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(to.fd.get()), ToldRead(to.fd.get())));
  std::array<char, 64> room{};
  cpsip_address source;
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Recvfrom(to.fd.get(), room, source, err), 6);
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_EQ(told.size(), 2U);
}

TEST_F(SocketSelect, OnlyWhatTheSetsAskForIsTold) {
  SocCB& cb = AddBound();
  Send(cb, cb, "datagram to itself");
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(cb, false, true, true), 0);
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldWrite(cb.fd.get())));
}

TEST_F(SocketSelect, AsksOnceForTheStacksSetsWithoutWaiting) {
  SocCB& first = AddOpen();
  SocCB& second = AddOpen();
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(first, true, false, true), 0);
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(second, false, true, false), 0);
  ScriptedSelect select;
  EXPECT_EQ(CPSIP_Select(), 0);
  ASSERT_EQ(select.asked.size(), 1U);
  const auto& asked = select.asked.front();
  EXPECT_EQ(asked.nfds, second.fd.get() + 1);
  EXPECT_EQ(asked.wait_us, 0);
  EXPECT_THAT(asked.read, ElementsAre(first.fd.get()));
  EXPECT_THAT(asked.write, ElementsAre(second.fd.get()));
  EXPECT_THAT(asked.except, ElementsAre(first.fd.get()));
}

TEST_F(SocketSelect, LeavesTheStacksSetsAsTheyAre) {
  const SocCB& cb = AddBound();
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(StackSets().read, ElementsAre(cb.fd.get()));
  EXPECT_EQ(StackSets().nfds, cb.fd.get() + 1);
}

TEST_F(SocketSelect, ToldIsReadThenWriteThenExceptBlockByBlock) {
  const int first = AddOpen().fd.get();
  const int second = AddOpen().fd.get();
  ScriptedSelect select;
  select.read = {first, second};
  select.write = {second, first};
  select.except = {first, second};
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(first), ToldWrite(first), ToldExcept(first), ToldRead(second),
                                ToldWrite(second), ToldExcept(second)));
}

TEST_F(SocketSelect, EachSetAloneIsTold) {
  const int fd = AddOpen().fd.get();
  struct Row {
    std::vector<int> read, write, except;
    Told told;
  };
  for (const Row& row : {Row{{fd}, {}, {}, ToldRead(fd)}, Row{{}, {fd}, {}, ToldWrite(fd)},
                         Row{{}, {}, {fd}, ToldExcept(fd)}}) {
    SCOPED_TRACE(::testing::PrintToString(row.told));
    told.clear();
    ScriptedSelect select;
    select.read = row.read;
    select.write = row.write;
    select.except = row.except;
    EXPECT_EQ(CPSIP_Select(), 0);
    EXPECT_THAT(told, ElementsAre(row.told));
  }
}

TEST_F(SocketSelect, All18BlocksAreServedWhereverTheFreeOnesAre) {
  std::vector<Told> expected;
  ScriptedSelect select;
  for (std::size_t at = 0; at != kMaxSockets; ++at)
    (void)AddOpen();
  for (std::size_t at = 0; at != kMaxSockets; ++at) {
    SocCB& cb = Cpsip_SOC_Blocks()[at];
    if (at % 3 == 0) {
      Drop(cb);
      continue;
    }
    select.read.push_back(cb.fd.get());
    expected.push_back(ToldRead(cb.fd.get()));
  }
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_EQ(told, expected);
}

TEST_F(SocketSelect, BlockWithoutASlotIsNotTold) {
  SocCB& cb = AddOpen();
  cb.fdset_slot = -1;
  ScriptedSelect select;
  select.read = {cb.fd.get()};
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(SocketSelect, FreedBlockWhoseDescriptorIsLeftIsNotTold) {
  SocCB& cb = AddOpen();
  Cpsip_SOC_DelSocCB(cb);
  ScriptedSelect select;
  select.read = {cb.fd.get()};
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_EQ(Cpsip_SOC_SetFdsetForSocCB(cb, 0), 0);
  EXPECT_EQ(CPSIP_Select(), 0) << "a slot makes it no block in use";
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(SocketSelect, CallbackThatClosesOnReadIsNotToldOfWrite) {
  SocCB& cb = AddBound();
  Send(cb, cb, "last");
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, true, true), 0);
  const int fd = cb.fd.get();
  on_told = [&](const Told&) {
    int err = 0;
    EXPECT_EQ(Cpsip_SOC_Close(cb, err), 0);
  };
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(fd)));
  EXPECT_EQ(CPSIP_Select(), 0) << "the closed descriptor is in no set";
}

TEST_F(SocketSelect, CallbackThatClosesOnWriteIsNotToldOfExcept) {
  SocCB& cb = AddOpen();
  const int fd = cb.fd.get();
  ScriptedSelect select;
  select.read = select.write = select.except = {fd};
  on_told = [&](const Told& now) {
    if (now.write) cb.fd.reset();
  };
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(fd), ToldWrite(fd)));
}

TEST_F(SocketSelect, CallbackThatFreesItsBlockIsNotToldAgain) {
  SocCB& cb = AddOpen();
  const int fd = cb.fd.get();
  ScriptedSelect select;
  select.read = select.write = select.except = {fd};
  on_told = [&](const Told&) { Cpsip_SOC_DelSocCB(cb); };  // the descriptor stays
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(fd)));
}

TEST_F(SocketSelect, CallbackMayFreeAllBlocks) {
  SocCB& before = AddOpen();
  SocCB& own = AddOpen();
  SocCB& after = AddOpen();
  const int own_fd = own.fd.get();
  ScriptedSelect select;
  select.read = {own_fd, after.fd.get()};
  select.write = {before.fd.get(), own_fd, after.fd.get()};
  on_told = [&](const Told& now) {
    if (now.fd != own_fd) return;
    for (SocCB* const cb : {&before, &own, &after})
      Drop(*cb);
  };
  const int before_fd = before.fd.get();
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldWrite(before_fd), ToldRead(own_fd)));
}

TEST_F(SocketSelect, CallbackThatFreesAnEarlierBlockKeepsNobodyWaiting) {
  // A count of blocks, taken along in the walk, would end it early.
  SocCB& before = AddOpen();
  const int own = AddOpen().fd.get();
  const int after = AddOpen().fd.get();
  ScriptedSelect select;
  select.read = {own, after};
  on_told = [&](const Told& now) {
    if (now.fd == own) Drop(before);
  };
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(own), ToldRead(after)));
}

TEST_F(SocketSelect, SocketThatACallbackOpensIsNotToldInThatPass) {
  // It gets the number of the one that was closed, which was ready.
  SocCB& own = AddOpen();
  SocCB& other = AddOpen();
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(own, true, false, false), 0);
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(other, true, true, true), 0);
  const int own_fd = own.fd.get();
  const int other_fd = other.fd.get();
  ScriptedSelect select;
  select.read = {own_fd, other_fd};
  select.write = select.except = {other_fd};
  on_told = [&](const Told&) {
    Drop(other);
    SocCB& fresh = AddOpen();
    EXPECT_EQ(fresh.fd.get(), other_fd);
    EXPECT_EQ(Cpsip_SOC_ChangeSelSta(fresh, true, false, true), 0);
  };
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(own_fd)));
}

TEST_F(SocketSelect, WhatACallbackTakesOutOfTheSetsIsNotTold) {
  SocCB& cb = AddOpen();
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, true, true), 0);
  ScriptedSelect select;
  select.read = select.write = select.except = {cb.fd.get()};
  on_told = [&](const Told&) { EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, false, true), 0); };
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(cb.fd.get()), ToldExcept(cb.fd.get())));
}

TEST_F(SocketSelect, CallbackMayStartAnew) {
  const int own = AddOpen().fd.get();
  const int after = AddOpen().fd.get();
  ScriptedSelect select;
  select.read = {own, after};
  on_told = [](const Told&) { Cpsip_SOC_Init(); };
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(own)));
}

TEST_F(SocketSelect, CallbackMayRunAPass) {
  const SocCB& cb = AddBound();
  Send(cb, cb, "x");
  on_told = [](const Told&) {
    on_told = nullptr;
    EXPECT_EQ(CPSIP_Select(), 0);
  };
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_THAT(told, ElementsAre(ToldRead(cb.fd.get()), ToldRead(cb.fd.get())));
}

TEST_F(SocketSelect, WithoutASlotReportsAndAsksNothing) {
  struct Row {
    int slot, result;
  };
  ScriptedSelect select;
  for (const Row& row : {Row{-1, -2}, Row{-2, -3}, Row{10, -3}, Row{2147483647, -3}}) {
    SCOPED_TRACE(row.slot);
    Cpsip_SOC_UseFdsetSlot(row.slot);
    int result = 0;
    EXPECT_THAT(Printed([&] { result = CPSIP_Select(); }), IsOneReport());
    EXPECT_EQ(result, row.result);
    fd_set read;
    FD_ZERO(&read);
    FD_SET(77, &read);
    fd_set except = read;
    fd_set write = read;
    EXPECT_THAT(Printed([&] { result = CPSIP_Select_FDs(read, except, write); }), IsOneReport());
    EXPECT_EQ(result, row.result);
    for (const fd_set& set : {read, except, write})
      EXPECT_THAT(In(set), ElementsAre(77)) << "left alone";
  }
  EXPECT_THAT(select.asked, IsEmpty());
}

TEST_F(SocketSelect, LastSlotIsGood) {
  Cpsip_SOC_UseFdsetSlot(9);
  EXPECT_EQ(CPSIP_Select(), 0);
  EXPECT_EQ(StackSets().nfds, 0);
}

TEST_F(SocketSelect, MainLoopGetsCopiesInPlaceOfItsSets) {
  SocCB& cb = AddOpen();
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, false, true), 0);
  fd_set read;
  fd_set except;
  fd_set write;
  for (fd_set* const set : {&read, &except, &write}) {
    FD_ZERO(set);
    FD_SET(1000, set);
  }
  EXPECT_EQ(CPSIP_Select_FDs(read, except, write), cb.fd.get() + 1);
  EXPECT_THAT(In(read), ElementsAre(cb.fd.get()));
  EXPECT_THAT(In(except), ElementsAre(cb.fd.get()));
  EXPECT_THAT(In(write), IsEmpty());
}

TEST_F(SocketSelect, FailureWithAServiceReportsAndTellsNobody) {
  HaveService(true);
  (void)AddBound();
  const Failing failing(SystemCall::select, EBADF);
  int result = 0;
  EXPECT_THAT(Printed([&] { result = CPSIP_Select(); }), IsOneReport());
  EXPECT_EQ(result, -1);
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(SocketSelect, TwentyFailuresInARowAreSurvived) {
  HaveService(true);
  for (int pass = 1; pass <= 20; ++pass) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(FailedPass(), -1);
  }
  EXPECT_EQ(CPSIP_Select(), 0);
}

TEST_F(SocketSelect, GoodPassStartsTheCountAnew) {
  HaveService(true);
  for (int row = 0; row != 3; ++row) {
    SCOPED_TRACE(row);
    for (int pass = 1; pass <= 20; ++pass)
      EXPECT_EQ(FailedPass(), -1);
    EXPECT_EQ(CPSIP_Select(), 0);
  }
}

TEST_F(SocketSelect, InitStartsTheCountAnew) {
  HaveService(true);
  for (int pass = 1; pass <= 20; ++pass)
    EXPECT_EQ(FailedPass(), -1);
  Cpsip_SOC_Init();
  Cpsip_SOC_UseFdsetSlot(0);
  EXPECT_EQ(FailedPass(), -1);
}

TEST_F(SocketSelect, FailuresWithoutAServiceAreNothingReady) {
  (void)AddBound();
  const Failing failing(SystemCall::select, EBADF);
  EXPECT_EQ(Printed([] {
              for (int pass = 0; pass != 100; ++pass)
                EXPECT_EQ(CPSIP_Select(), 0) << "nobody says that there is one";
              HaveService(false);
              for (int pass = 0; pass != 100; ++pass)
                EXPECT_EQ(CPSIP_Select(), 0);
            }),
            "");
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(SocketSelect, FailuresWithoutAServiceDoNotCount) {
  for (int pass = 0; pass != 30; ++pass)
    EXPECT_EQ(FailedPass(), 0);
  HaveService(true);
  for (int pass = 1; pass <= 20; ++pass)
    EXPECT_EQ(FailedPass(), -1);
}

using SocketSelectDeathTest = SocketSelect;

TEST_F(SocketSelectDeathTest, TwentyFirstFailureInARowWithAServiceEndsTheProcess) {
  HaveService(true);
  for (int pass = 1; pass <= 20; ++pass)
    EXPECT_EQ(FailedPass(), -1);
  const Failing failing(SystemCall::select, EBADF);
  EXPECT_EXIT(Dying([] { (void)CPSIP_Select(); }), ::testing::ExitedWithCode(1), kFatalReport);
  HaveService(false);
  EXPECT_EQ(CPSIP_Select(), 0) << "not when the last service has gone";
}

TEST(SocketKeys, InputIsAskedForFor20Ms) {
  ScriptedSelect select;
  EXPECT_EQ(cpsip_kbhit(), 0);
  ASSERT_EQ(select.asked.size(), 1U);
  EXPECT_EQ(select.asked[0].nfds, 1);
  EXPECT_EQ(select.asked[0].wait_us, 20'000);
  EXPECT_THAT(select.asked[0].read, ElementsAre(0));
  EXPECT_THAT(select.asked[0].write, IsEmpty());
  EXPECT_THAT(select.asked[0].except, IsEmpty());
}

TEST(SocketKeys, InputIsTold) {
  ScriptedSelect select;
  select.read = {0};
  EXPECT_EQ(cpsip_kbhit(), 1);
}

TEST(SocketKeys, ErrorIsNoInput) {
  const Failing failing(SystemCall::select, EBADF);
  EXPECT_EQ(cpsip_kbhit(), 0);
}

}  // namespace
}  // namespace hark::test
