#include "daemon/qnrlib/qnrserver.h"

#include <cstdio>
#include <cstring>
#include <numeric>

#include "base/fd.h"
#include "base/text.h"
#include "daemon/log/log.h"

namespace hark {

std::string conf_qnr = "/etc/orfe/qnr.conf";
std::string conf_qnr_default;
TimeUs tv_conf_running_changed = 0;
bool tv_conf_running_changed_run = false;
void (*conf_running_load)() = nullptr;

namespace {

UniqueFile open_config(const std::string& path, const std::string& fallback) {
  UniqueFile file = open_file(path, "re");
  if (!file && !fallback.empty()) {
    file = open_file(fallback, "re");
    if (file) syslog(kLogDebug, "using default configuration");
  }
  return file;
}

}  // namespace

void conf_running_changed() {
  tv_conf_running_changed = clock_now();
  tv_conf_running_changed_run = true;
}

void qnr_ext_ver(QNR_SERVER* server, char* buf, std::size_t n) {
  TextWriter out(std::span(buf, n));
  for (QNR_EXT* ext = server->exts; ext != nullptr; ext = ext->next) {
    const std::span<char> rest = out.rest();
    if (ext->ver != nullptr && !rest.empty()) out.advance(ext->ver(ext, rest.data(), rest.size()));
  }
}

int qnr_ext_input(QNR_SERVER* server, const char* line, int client) {
  int result = -1;
  for (QNR_EXT* ext = server->exts; ext != nullptr; ext = ext->next) {
    if (ext->input != nullptr && ext->input(ext, client, &line, 1) >= 0) result = 0;
  }
  return result;
}

void qnr_conf_load(const std::string& path, const std::string& fallback, void (*line)(const char*)) {
  const UniqueFile file = open_config(path, fallback);
  if (!file) {
    syslog(kLogError, "configuration file not found");
    return;
  }
  line("BEGIN");
  std::array<char, kMaxLine> text{};
  while (std::fgets(text.data(), static_cast<int>(text.size()), file.get()) != nullptr) {
    text[std::strcspn(text.data(), "\r\n")] = '\0';
    if (text[0] != '\0') line(text.data());
  }
  if (conf_running_load != nullptr) conf_running_load();
  line("EXE");
  tv_conf_running_changed_run = false;
}

unsigned char CalculateChecksum(std::span<const unsigned char> data) {
  const unsigned sum = std::accumulate(data.begin(), data.end(), 0U);
  return static_cast<unsigned char>(0U - sum);
}

}  // namespace hark
