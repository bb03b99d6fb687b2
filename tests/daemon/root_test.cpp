// HARK_ROOT in front of every fixed path, so that a station needs no root and several run side by side.
#include "daemon/root.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "addressing/sources.h"
#include "daemon/daemon_fixture.h"
#include "daemon/log/log.h"
#include "daemon/log/process_files.h"
#include "daemon/settings.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

struct FixedPath {
  std::string* path;
  std::string at_start;
};

class HarkRoot : public testing::Test {
 protected:
  ~HarkRoot() override {
    ::unsetenv("HARK_ROOT");
    for (const FixedPath& fixed : paths)
      *fixed.path = fixed.at_start;
  }
  static void Apply(const char* root) {
    ASSERT_EQ(::setenv("HARK_ROOT", root, 1), 0);
    apply_hark_root();
  }

  // Every path that the program opens, as it stands in a program that has just started.
  std::vector<FixedPath> paths = {
      {&station.ApplicationSettingsFolder, "/etc/Orfe/hark"},
      {&station.harkconfig_file, "/etc/Orfe/hark/harkd.conf"},
      {&harkid_file, "/etc/Orfe/hark/harkid"},
      {&conf_qnr, "/etc/orfe/qnr.conf"},
      {&harksources_file, "/etc/Orfe/hark/hark_sources"},
      {&log_cfgfile, "/etc/Orfe/EngConf/SyslogServerParams.cfg"},
      {&pid_file_folder, "/var/run/"},
      {&uilist_file, "/var/run/uilist"},
      {&harkui_file, "/var/run/harkui"},
  };
};

TEST_F(HarkRoot, UnsetChangesNothing) {
  ::unsetenv("HARK_ROOT");
  apply_hark_root();
  for (const FixedPath& fixed : paths)
    EXPECT_EQ(*fixed.path, fixed.at_start);
}

TEST_F(HarkRoot, EmptyChangesNothing) {
  Apply("");
  for (const FixedPath& fixed : paths)
    EXPECT_EQ(*fixed.path, fixed.at_start);
}

TEST_F(HarkRoot, StandsInFrontOfEveryPath) {
  const TestFolder root;
  Apply(root.path().c_str());
  for (const FixedPath& fixed : paths)
    EXPECT_EQ(*fixed.path, root.path() + fixed.at_start);
}

TEST_F(HarkRoot, RelativeFolderIsMadeAbsolute) {
  const TestFolder root;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(root.path());
  std::filesystem::create_directory("sub");
  Apply("sub");
  std::filesystem::current_path(before);
  EXPECT_EQ(harkid_file, root.File("sub/etc/Orfe/hark/harkid"));
}

TEST_F(HarkRoot, FolderThatDoesNotExistCountsAsItStands) {
  Apply("/no/such/folder");
  EXPECT_EQ(uilist_file, "/no/such/folder/var/run/uilist");
}

TEST_F(HarkRoot, NoFallbackOfTheSettingsIsLeftOutsideIt) { EXPECT_EQ(conf_qnr_default, ""); }

}  // namespace
}  // namespace hark
