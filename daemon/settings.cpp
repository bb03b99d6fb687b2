#include "daemon/settings.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/fd.h"
#include "base/text.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/qnrdb.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/server_cmd.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/qnr_gpio.h"

namespace hark {

QNR_SERVER qnr;
std::string harkid_file = "/etc/Orfe/hark/harkid";

namespace {

constexpr int kGpioPorts = 9;
constexpr std::array<int, 4> sver{1, 3, 6, 4};
constexpr int kNameEscaped = 21;  // room for a name of 10 characters, each escaped
constexpr int kHarkLine = 0;      // lines of the settings file, by index
constexpr int kProgramLine = 1;
constexpr int kPreviewLine = 2;
constexpr int kFirstGpoLine = 3;
constexpr std::size_t kSourcePrefix = std::string_view("SRC 1 ").size();
constexpr std::size_t kHarkPrefix = std::string_view("HARK ").size();

void set_default_gpo_configs() {
  (void)vgpio_gpo_cfg(0, "NAME:\"Main\" CMAP:0800000000");
  for (int port = 1; port < kGpioPorts; ++port) {
    std::array<char, 32> cfg{};
    format_text(cfg, "NAME:\"Aux %d\"", port);
    (void)vgpio_gpo_cfg(port, cfg.data());
  }
}

// "a.b.c.d:5004", or nothing for 0.
std::array<char, 32> source_text(in_addr_t address) {
  std::array<char, 32> text{};
  if (address != 0) format_text(text, "%s:5004", dotted(address).data());
  return text;
}

int program_line(std::span<char> out) {
  std::array<char, kNameEscaped> name{};
  qnr_escape(name.data(), kNameEscaped, station.harkd_alt.data());
  return format_text(out, "SRC 1 PSNM:\"%s\" RTPA:\"%s\"", name.data(),
                     source_text(station.harkd_qnsrcch).data());
}

int preview_line(std::span<char> out) {
  return format_text(out, "SRC 2 RTPA:\"%s\"", source_text(station.harkd_qnprevch).data());
}

// Line `index` without its first `skip` characters, as an object's text.
int line_behind(int index, std::size_t skip, char* buf, std::size_t n) {
  LineBuffer line;
  const int length = harkd_ext_save_config_callback(index, line.data(), line.size());
  if (length < static_cast<int>(skip)) return 0;
  return copy_text(std::span(buf, n), line.data() + skip);
}

// The station's own source: what changed of it, and at the mixer.
void input_program_source(const char* line) {
  harkqnr_cmd(line);
  if (station.bonjour_txt_dirty || station.sipservices_dirty) qnr.changed = true;
  harkqnr_vmix2src(kSubTalk, station.harkd_qnsrcch, station.harkd_alt.data());
}

void input_preview_source(const char* line) {
  if (const char* rtpa = qnr_findval(line + kSourcePrefix, "RTPA")) {
    station.harkd_qnprevch = static_cast<in_addr_t>(qnr_valip(rtpa));
    qnr.changed = true;
  }
  harkqnr_vmix2src(kSubListen, station.harkd_qnprevch, nullptr);
}

void input_hark(const char* line) {
  harkqnr_cmd(line);
  qnr.changed = true;
}

struct Setting {
  std::string_view prefix;
  void (*input)(const char* line);
};

// What the line begins with (case counts), who takes it.
constexpr std::array<Setting, 3> kSettings{{
    {"HARK ", input_hark},
    {"SRC 1 ", input_program_source},
    {"SRC 2 ", input_preview_source},
}};

void load_line(const char* line) { server_cmd(line, kInternalConnection); }

}  // namespace

void harkd_ext_init(int* cons, int count) {
  qnr = QNR_SERVER{};
  qnr.cons = cons;
  qnr.count = count;
  qnr.exts = &qnr_gpio;
  qnr_gpio.next = nullptr;
  qnr_gpio.server = &qnr;
  qnr_gpio.gpi_state.fill(0);
  qnr_gpio.gpo_state.fill(0);
  drv_gpio.ngpi = drv_gpio.ngpo = 0;
  if (vgpio_init(kGpioPorts, nullptr, nullptr, -1) != 0) return;
  drv_gpio.ngpi = drv_gpio.ngpo = kGpioPorts;
  set_default_gpo_configs();
}

int harkd_ext_input(const char* line, int client) {
  for (const Setting& setting : kSettings) {
    if (std::strncmp(line, setting.prefix.data(), setting.prefix.size()) != 0) continue;
    setting.input(line);
    return 0;
  }
  qnr.answered = false;
  if (qnr_ext_input(&qnr, line, client) >= 0 || qnr.answered) return 0;
  return qnrdb_cmd_input(&qnrobjdb, line, client);
}

const char* harkd_ext_ver() {
  static LineBuffer text;
  TextWriter out(text);
  out.append(" SVER:%d.%d.%d.%d HARK:1 NSRC:2", sver[0], sver[1], sver[2], sver[3]);
  const std::span<char> rest = out.rest();
  qnr_ext_ver(&qnr, rest.data(), rest.size());
  return text.data();
}

void harkd_ext_timer() { qnr_gpio_timer(&qnr_gpio); }

bool harkd_ext_config_changed() {
  const bool changed = qnr.changed;
  qnr.changed = false;
  return changed;
}

int harkd_ext_config_load() {
  conf_qnr = harkid_file;
  qnr_conf_load(conf_qnr, conf_qnr_default, load_line);
  qnr.changed = false;  // a load causes no save
  return 0;
}

// Kept: written in place, not by a sibling and a rename, so that the file may be a link or the one writable
// thing in its folder. What a crash in between loses is set again by the next change.
void harkd_ext_config_save() {
  const UniqueFile file = open_file(conf_qnr, "wte");
  if (!file) {
    syslog(kLogError, "configuration save failed");
    return;
  }
  std::array<char, kMaxLine> line{};
  for (int index = 0; harkd_ext_save_config_callback(index, line.data(), line.size()) >= 1; ++index) {
    (void)std::fprintf(file.get(), "%s\n", line.data());
  }
}

int harkd_ext_save_config_callback(int index, char* buf, std::size_t n) {
  const std::span<char> out(buf, n);
  if (index == kHarkLine) return harkqnr_HARK(buf, n);
  if (index == kProgramLine) return program_line(out);
  if (index == kPreviewLine) return preview_line(out);
  const int port = index - kFirstGpoLine;
  if (port < 0 || port >= drv_gpio.ngpo) return -1;
  const char* cfg = drv_gpio.gpo_cfg(port, nullptr);
  return format_text(out, "CFG GPO %d %s", port + 1, cfg != nullptr ? cfg : "");
}

int harkd_ext_HARK_get(char* buf, std::size_t n, int /*index*/) {
  return line_behind(kHarkLine, kHarkPrefix, buf, n);
}

int harkd_ext_SRC_get(char* buf, std::size_t n, int index) {
  return line_behind(index == 0 ? kProgramLine : kPreviewLine, kSourcePrefix, buf, n);
}

int harkd_ext_SET_get(char* buf, std::size_t n, int /*index*/) { return copy_text(std::span(buf, n), " "); }

int harkd_ext_IP_get(char* buf, std::size_t n, int /*index*/) {
  std::array<char, 256> host{};
  const bool known = ::gethostname(host.data(), host.size() - 1) == 0;
  return format_text(std::span(buf, n), "hostname %s", known ? host.data() : "(null)");
}

bool register_objects() {
  struct ObjectDescription {
    const char* name;
    int count;
    QnrObjectGetter get;
  };
  // name, how many (-1: one without an index), its text. "CALL" and "HARKUI" are answered by lists of their
  // own.
  static constexpr std::array<ObjectDescription, 9> qnrdb_obj_desc{{
      {"SET", -1, harkd_ext_SET_get},
      {"IP", -1, harkd_ext_IP_get},
      {"SRC", 2, harkd_ext_SRC_get},
      {"GPI", kGpioPorts, qnr_gpio_GPI_get},
      {"GPO", kGpioPorts, qnr_gpio_GPO_get},
      {"CFG GPO", kGpioPorts, qnr_gpio_CFG_GPO_get},
      {"CALL", -1, nullptr},
      {"HARK", -1, harkd_ext_HARK_get},
      {"HARKUI", -1, nullptr},
  }};
  for (const ObjectDescription& object : qnrdb_obj_desc) {
    if (qnrdb_reg_obj(&qnrobjdb, object.name, object.count, object.get) < 0) return false;
  }
  return true;
}

}  // namespace hark
