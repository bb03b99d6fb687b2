#include "daemon/log/process_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "base/fd.h"
#include "base/text.h"

namespace hark {

std::string pid_file_folder = "/var/run/";

namespace {

// "/var/run/%s.pid" has always been held in 32 bytes. Kept for the name's part of it, so that a program of a
// long name finds its file under the same, cut name at removal.
constexpr std::size_t kPidPathSize = 32;
constexpr std::size_t kFixedFolderLength = std::string_view("/var/run/").size();

std::string pid_path(const char* name) {
  std::string_view base(name);
  const auto slash = base.rfind('/');
  if (slash != std::string_view::npos) base.remove_prefix(slash + 1);
  std::array<char, kPidPathSize - kFixedFolderLength> file{};
  format_text(file, "%.*s.pid", static_cast<int>(base.size()), base.data());
  return pid_file_folder + file.data();
}

}  // namespace

void create_pid_file(const char* name) {
  const UniqueFile file = open_file(pid_path(name), "wte");
  if (file) (void)std::fprintf(file.get(), "%d\n", static_cast<int>(::getpid()));
}

void remove_pid_file(const char* name) { (void)::unlink(pid_path(name).c_str()); }

int get_filetime(const char* path, long* mtime) {
  if (mtime == nullptr) return -1;
  struct stat info {};
  if (::stat(path, &info) != 0) return errno;
  *mtime = info.st_mtime;
  return 0;
}

}  // namespace hark
