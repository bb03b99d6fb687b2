// The DNS-SD seam answers as a station does whose DNS-SD daemon cannot be reached.
#include "addressing/harkbonjour.h"

#include <gtest/gtest.h>

namespace hark {
namespace {

TEST(Harkbonjour, StartFailsSoThatTheMainLoopBacksOff) {
  EXPECT_NE(harkbonjour_initialize(0, 4013, nullptr), 0);
  EXPECT_NE(harkbonjour_initialize(2, 4013, "Studio A"), 0);
}

TEST(Harkbonjour, NoSocketIsWatched) {
  fd_set set;
  FD_ZERO(&set);
  EXPECT_EQ(harkbonjour_addfdset(set), -1);
  for (int fd = 0; fd < FD_SETSIZE; ++fd)
    ASSERT_FALSE(FD_ISSET(fd, &set)) << fd;
}

TEST(Harkbonjour, TextRecordIsTakenAndCleanupMayBeRepeated) {
  EXPECT_EQ(harkbonjour_set_TXT("Main", 3, 0), 0);
  harkbonjour_cleanup();
  harkbonjour_cleanup();
}

}  // namespace
}  // namespace hark
