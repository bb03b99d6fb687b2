// The commands of panels and of a console's key module, and what other programs and subscribers are told of
// them.
#include "daemon/server_private.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/fd.h"
#include "base/text.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/server_cmd.h"
#include "daemon/station/station.h"

namespace hark {

std::string uilist_file = "/var/run/uilist";
std::string harkui_file = "/var/run/harkui";

namespace {

// A console's key module.
struct Module {
  int type;
  int keys;
  int aans;
  const char* extra;  // its own lines in the module file
};

// type, keys, auto-answer, lines in the module file
constexpr std::array<Module, 3> kModules{{
    {1, 20, 1, "SHIFT=1\n"},
    {2, 10, 0, ""},
    {3, 10, 0, "FILMCAP=1\n"},
}};
constexpr int kKeysPerRow = 10;

const Module* find_module(int type) {
  const auto found = std::find_if(kModules.begin(), kModules.end(),
                                  [type](const Module& module) { return module.type == type; });
  return found != kModules.end() ? &*found : nullptr;
}

struct KeyRange {
  long first = 0;
  long last = 0;
};

// Reads "a-b". Kept: a single number means all keys; a panel that wants one key says "5-5".
KeyRange read_keys(const char* value, int nkeys) {
  if (*value == '"') ++value;
  char* end = nullptr;
  KeyRange keys;
  keys.first = std::strtol(value, &end, 0);
  keys.last = nkeys;
  if (*end == '-') {
    keys.last = std::strtol(end + 1, nullptr, 0);
  } else {
    keys.first = 1;
  }
  return keys;
}

void announce_panel(int i) {
  server.slot(i).ui->Notify(kDirtyAll, 0);
  writeuilist();
  uilist_indi('A', i, -1);
}

void attach(const std::string& id, const char* rest, int i) {
  const int fd = reply_fd(i);
  const char* value = qnr_findval(rest, "KEYS");
  const int nkeys = server.model ? server.model->nkeys() : 0;
  const KeyRange keys = value != nullptr ? read_keys(value, nkeys) : KeyRange{};
  if (keys.first < 1 || keys.last > nkeys || keys.last < keys.first) {
    server_resp_single(fd, QNR_ERROR_BADCOMMAND);
    return;
  }
  ConnectionData& data = server.slot(i);
  data.ui.reset();
  const int aans = static_cast<int>(std::clamp<long>(qnr_getl(rest, "AANS", 0), INT_MIN, INT_MAX));
  data.ui = HarkUIProxy::Create(id, static_cast<int>(keys.first), static_cast<int>(keys.last), aans,
                                server.model.get(), harkui_send, i);
  if (!data.ui) {
    server_resp_single(fd, QNR_ERROR_SERVERBUSY);
    return;
  }
  announce_panel(i);
}

void write_module_file(int type, const Module* module) {
  const UniqueFile file = open_file(harkui_file, "wte");
  if (!file) {
    syslog(kLogError, "Can't write /var/run/harkui");
    return;
  }
  if (type != HarkUIProxy::kNoModule) (void)std::fprintf(file.get(), "MODULETYPE=%d\n", type);
  if (module == nullptr) return;
  (void)std::fprintf(file.get(), "NKEYS=%d\nNKEYSPERROW=%d\n%s", module->keys, module->keys / kKeysPerRow,
                     module->extra);
}

// Takes the panel of an earlier module away.
void remove_module(int i, int new_type) {
  ConnectionData& data = server.slot(i);
  uilist_indi('R', i, -1);
  if (data.ui->type == HarkUIProxy::kNoModule || new_type == HarkUIProxy::kNoModule)
    station.harkbonjour_init = true;
  data.ui.reset();
}

void take_module_type(int type, int i) {
  ConnectionData& data = server.slot(i);
  if (!data.ui) {
    if (type == HarkUIProxy::kNoModule) return;
    station.harkbonjour_init = true;
  } else if (data.ui->type == type) {
    return;
  } else {
    remove_module(i, type);
  }
  const Module* module = find_module(type);
  if (module != nullptr) {
    data.ui = HarkUIProxy::Create("1", 1, module->keys, module->aans, server.model.get(), harkui_send, i);
    if (!data.ui) {
      server_resp_single(reply_fd(i), QNR_ERROR_SERVERBUSY);
      return;
    }
    syslog(kLogInfo, "connected Intercom $%d %d keys", type, module->keys);
    data.ui->type = module->type;
    data.ui->Notify(kDirtyAll, 0);
    uilist_indi('A', i, -1);
  } else if (type != HarkUIProxy::kNoModule) {
    syslog(kLogError, "unsupported Intercom type=%d", type);
  }
  writeuilist();
  write_module_file(type, module);
}

}  // namespace

void server_cmd_HARKUI(const char* verb, const char* text, int i) {
  if (*text == '\0') return;
  constexpr std::string_view kObject = "HARKUI#";
  const char* name = starts_with_nocase(text, kObject) ? text + kObject.size() : text;
  const std::size_t id_length = std::strcspn(name, ". ");
  const int fd = reply_fd(i);
  if (name[id_length] == '\0' || i < 0) {
    server_resp_single(fd, QNR_ERROR_BADCOMMAND);
    return;
  }
  if (std::strcmp(verb, "ATTACH") == 0) {
    attach(std::string(name, id_length), name + id_length + 1, i);
  } else if (HarkUIProxy* panel = server.panel(i); panel != nullptr) {
    panel->harkui_receive(text);
  } else {
    server_resp_single(fd, QNR_ERROR_BADCOMMAND);
  }
}

void server_cmd_SURFACE(const char* text, int i) {
  if (i < 0) return;
  constexpr std::string_view kType = " type=";
  if (std::strncmp(text, kType.data(), kType.size()) == 0) {
    const long type = std::strtol(text + kType.size(), nullptr, 0);
    take_module_type(static_cast<int>(std::clamp<long>(type, INT_MIN, INT_MAX)), i);
  } else if (HarkUIProxy* panel = server.panel(i); panel != nullptr) {
    panel->harkui_receive_surface(text);
  }
}

void writeuilist() {
  const UniqueFile file = open_file(uilist_file, "wte");
  if (!file) return;
  for (int i = 0; i < kMaxConnections; ++i) {
    const HarkUIProxy* panel = server.panel(i);
    if (panel == nullptr) continue;
    (void)std::fprintf(file.get(), "HARKUI KEYS:\"%d-%d\" RADDR:\"%s\"\n", panel->first_key(),
                       panel->last_key(), peer_text(server.slot(i).addr).c_str());
  }
}

int uilist_indi(char kind, int i, int fd) {
  for (int slot = 0; slot < kMaxConnections; ++slot) {
    const HarkUIProxy* panel = i == -1 || i == slot ? server.panel(slot) : nullptr;
    if (panel == nullptr) continue;
    LineBuffer text;
    format_text(text, "%s HARKUI#%.*s.FP KEYS:\"%d-%d\" RADDR:\"%s\"\r\n", kind == 'R' ? "remove" : "add",
                HarkUIProxy::kLongestShownId, panel->GetUIID().c_str(), panel->first_key(), panel->last_key(),
                peer_text(server.slot(slot).addr).c_str());
    if (fd == -1) {
      qnrdb_indi(kAllConnections, "HARKUI", -1, text.data());
    } else {
      server_resp_single(fd, text.data());
    }
  }
  return 0;
}

int harkui_send(const char* text, int conn) {
  if (conn < 0 || conn >= kMaxConnections || !server.is_open(conn)) return 0;
  // Text for a panel that is gone is dropped, which is no failure.
  if (server.panel(conn) == nullptr) return 1;
  return server_resp_single(server.socket(conn), text) == 0 ? 1 : 0;
}

int harkui_receive(const char* line, int conn) {
  if (starts_with_nocase(line, "event HARKUI#")) {
    qnrdb_indi(kAllConnections, "HARKUI", -1, line);
  } else {
    server_cmd(line, conn);
  }
  return 1;
}

int harkd_has_autoanswer() {
  int count = 0;
  for (int i = 0; i < kMaxConnections; ++i) {
    const HarkUIProxy* panel = server.panel(i);
    if (panel != nullptr && panel->aans()) ++count;
  }
  return count;
}

int ishwready() {
  for (int i = 0; i < kMaxConnections; ++i) {
    if (server.con_data && server.slot(i).ui && server.slot(i).ui->type != HarkUIProxy::kNoModule) return 1;
  }
  return 0;
}

}  // namespace hark
