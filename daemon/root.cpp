#include "daemon/root.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "daemon/log/log.h"
#include "daemon/log/process_files.h"
#include "daemon/qnrlib/qnrserver.h"
#include "daemon/server.h"
#include "daemon/settings.h"
#include "daemon/station/station.h"

namespace hark {

void apply_hark_root() {
  const char* root = std::getenv("HARK_ROOT");
  if (root == nullptr || *root == '\0') return;
  std::error_code error;
  const std::string absolute = std::filesystem::absolute(root, error).string();
  std::array<char, PATH_MAX> resolved{};
  const std::string folder = ::realpath(root, resolved.data()) != nullptr ? resolved.data() : absolute;
  for (std::string* path :
       {&station.ApplicationSettingsFolder, &station.harkconfig_file, &harkid_file, &conf_qnr,
        &harksources_file, &table_file, &log_cfgfile, &pid_file_folder, &uilist_file, &harkui_file}) {
    path->insert(0, folder);
  }
}

}  // namespace hark
