// The listening socket: why there is none.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tools/harkpanel/listener.h"

namespace hark::panel_gateway {
namespace {

// Leaves the process no further descriptor, as long as this lives.
class NoDescriptors {
 public:
  NoDescriptors() {
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before_), 0);
    rlimit none = before_;
    none.rlim_cur = 0;
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;
  ~NoDescriptors() { (void)::setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_{};
};

// "Bad file descriptor" stood in place of the reason why there is no socket.
TEST(Listener, SocketThatCannotBeMadeHasItsReason) {
  for (const char* host : {"127.0.0.1", "::1"}) {
    SCOPED_TRACE(host);
    control::HostPort at{host, 0};
    std::string error;
    UniqueFd file;
    {
      const NoDescriptors none;
      file = listen_at(at, error);
    }
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(error, std::strerror(EMFILE));
  }
}

TEST(Listener, TakenPortHasItsReason) {
  control::HostPort at{"127.0.0.1", 0};
  std::string error;
  const UniqueFd first = listen_at(at, error);
  ASSERT_TRUE(first.is_open()) << error;
  EXPECT_NE(at.port, 0);
  EXPECT_FALSE(listen_at(at, error).is_open());
  EXPECT_EQ(error, std::strerror(EADDRINUSE));
}

}  // namespace
}  // namespace hark::panel_gateway
