// Descriptors are closed once and by their owner, and no descriptor outside of what select(2) can hold gets
// near a set.
#include "base/fd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace hark {
namespace {

bool IsOpen(int fd) { return ::fcntl(fd, F_GETFD) != -1; }

int OpenSome() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }

TEST(UniqueFd, HoldsNothingAtFirst) {
  const UniqueFd fd;
  EXPECT_FALSE(fd.is_open());
  EXPECT_EQ(fd.get(), -1);
}

TEST(UniqueFd, HoldsDescriptorZero) {
  UniqueFd fd(0);
  EXPECT_TRUE(fd.is_open());
  EXPECT_EQ(fd.release(), 0);
}

TEST(UniqueFd, ClosesAtItsEnd) {
  const int raw = OpenSome();
  {
    const UniqueFd fd(raw);
    EXPECT_TRUE(fd.is_open());
    EXPECT_EQ(fd.get(), raw);
    EXPECT_TRUE(IsOpen(raw));
  }
  EXPECT_FALSE(IsOpen(raw));
}

TEST(UniqueFd, ReleaseGivesAwayWithoutClosing) {
  const int raw = OpenSome();
  {
    UniqueFd fd(raw);
    EXPECT_EQ(fd.release(), raw);
    EXPECT_FALSE(fd.is_open());
  }
  EXPECT_TRUE(IsOpen(raw));
  ::close(raw);
}

TEST(UniqueFd, ResetClosesTheOldAndTakesTheNew) {
  const int first = OpenSome();
  const int second = OpenSome();
  UniqueFd fd(first);
  fd.reset(second);
  EXPECT_FALSE(IsOpen(first));
  EXPECT_EQ(fd.get(), second);
  fd.reset();
  EXPECT_FALSE(IsOpen(second));
  EXPECT_FALSE(fd.is_open());
}

TEST(UniqueFd, ResetOfNothingTwiceIsHarmless) {
  UniqueFd fd;
  fd.reset();
  fd.reset();
  EXPECT_EQ(fd.get(), -1);
}

TEST(UniqueFd, MovingLeavesOneOwner) {
  const int raw = OpenSome();
  UniqueFd from(raw);
  UniqueFd to(std::move(from));
  EXPECT_EQ(to.get(), raw);
  EXPECT_FALSE(from.is_open());  // that it is empty is the point
  EXPECT_TRUE(IsOpen(raw));
}

TEST(UniqueFd, MoveAssignmentClosesWhatTheTargetHeld) {
  const int held = OpenSome();
  const int given = OpenSome();
  UniqueFd target(held);
  UniqueFd source(given);
  target = std::move(source);
  EXPECT_FALSE(IsOpen(held));
  EXPECT_EQ(target.get(), given);
  EXPECT_TRUE(IsOpen(given));
}

TEST(UniqueFd, MoveAssignmentToItselfKeepsTheDescriptor) {
  const int raw = OpenSome();
  UniqueFd fd(raw);
  UniqueFd& same = fd;
  fd = std::move(same);
  EXPECT_EQ(fd.get(), raw);
  EXPECT_TRUE(IsOpen(raw));
}

class FdSet : public ::testing::Test {
 protected:
  FdSet() { FD_ZERO(&set_); }
  fd_set set_;
  int highest_ = -1;
};

TEST_F(FdSet, AddedDescriptorIsInTheSetAndRaisesTheHighest) {
  EXPECT_TRUE(fdset_add(5, set_, highest_));
  EXPECT_TRUE(fdset_has(5, set_));
  EXPECT_EQ(highest_, 5);
  EXPECT_TRUE(fdset_add(3, set_, highest_));
  EXPECT_TRUE(fdset_has(3, set_));
  EXPECT_EQ(highest_, 5);
}

TEST_F(FdSet, HasOnlyWhatWasAdded) {
  ASSERT_TRUE(fdset_add(5, set_, highest_));
  EXPECT_FALSE(fdset_has(4, set_));
  EXPECT_FALSE(fdset_has(6, set_));
}

TEST_F(FdSet, HoldsTheFirstAndTheLastDescriptorOfASet) {
  for (const int fd : {0, FD_SETSIZE - 1}) {
    SCOPED_TRACE(fd);
    EXPECT_TRUE(fdset_add(fd, set_, highest_));
    EXPECT_TRUE(fdset_has(fd, set_));
    EXPECT_EQ(highest_, fd);
  }
}

TEST_F(FdSet, LeavesOutWhatASetCannotHold) {
  for (const int fd : {-1, -2, FD_SETSIZE, FD_SETSIZE + 1, 1 << 30}) {
    SCOPED_TRACE(fd);
    EXPECT_FALSE(fdset_add(fd, set_, highest_));
    EXPECT_FALSE(fdset_has(fd, set_));
    EXPECT_EQ(highest_, -1);
  }
}

TEST(SetNonblocking, MakesAnEmptyPipeAnswerAtOnce) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  const UniqueFd read_end(ends[0]);
  const UniqueFd write_end(ends[1]);
  EXPECT_TRUE(set_nonblocking(read_end.get()));
  char c = 0;
  EXPECT_EQ(::read(read_end.get(), &c, 1), -1);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(::fcntl(write_end.get(), F_GETFL) & O_NONBLOCK, 0) << "the other end stays as it was";
}

TEST(SetNonblocking, RefusesWhatIsNoDescriptor) {
  EXPECT_FALSE(set_nonblocking(-1));
  const int closed = OpenSome();
  ::close(closed);
  EXPECT_FALSE(set_nonblocking(closed));
}

}  // namespace
}  // namespace hark
