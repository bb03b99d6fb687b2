#include "routing/routing_fixture.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "addressing/harkurl.h"
#include "addressing/sources.h"
#include "base/text.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/harkqnr_gpio.h"
#include "routing/qnr_gpio.h"
#include "routing/vgpio.h"

namespace hark {

Asked asked;

namespace {

constexpr int kPorts = 9;

void note_volume(int dst, long volume) {
  asked.volume.push_back(std::to_string(dst) + " " + std::to_string(volume));
}

int note_input(const char* line, int client) {
  EXPECT_EQ(client, kInternalConnection);
  asked.input.emplace_back(line);
  return 0;
}

void note_remote(int kind, const harkurl_info* info, char wish) {
  asked.remote.push_back(std::to_string(kind) + " " + std::string(info->url, info->url_len) + " " + wish);
}

int send_text(int fd, const char* text) {
  return ::send(fd, text, std::strlen(text), MSG_NOSIGNAL) < 0 ? -1 : 0;
}

int get_word(char* buf, std::size_t n, int index) {
  return format_text(std::span(buf, n), index < 0 ? "own" : "own%d", index);
}

int get_settings(char* buf, std::size_t n, int /*index*/) {
  LineBuffer line{};
  harkqnr_HARK(line.data(), line.size());
  return copy_text(std::span(buf, n), line.data() + std::strlen("HARK "));
}

struct ObjectRow {
  const char* name;
  int count;
  QnrObjectGetter get;
};
// The station's objects in their order; those of other folders stand for themselves.
constexpr std::array<ObjectRow, 9> kObjects{{{"SET", -1, get_word},
                                             {"IP", -1, get_word},
                                             {"SRC", 2, get_word},
                                             {"GPI", kPorts, qnr_gpio_GPI_get},
                                             {"GPO", kPorts, qnr_gpio_GPO_get},
                                             {"CFG GPO", kPorts, qnr_gpio_CFG_GPO_get},
                                             {"CALL", -1, nullptr},
                                             {"HARK", -1, get_settings},
                                             {"HARKUI", -1, nullptr}}};

}  // namespace

RoutingTest::RoutingTest() {
  station_reset();
  asked = {};
  harkqnr_hooks = {note_volume, [](const char* addr) { asked.console.emplace_back(addr); }, note_input};
  harkqnr_gpio_hooks = {note_remote, [](bool mute) { asked.speaker.emplace_back(mute ? "mute" : "open"); }};
  harkqnr_gpio_clear_events();
}

RoutingTest::~RoutingTest() {
  harkqnr_gpio_clear_events();
  harkqnr_hooks = {};
  harkqnr_gpio_hooks = {};
  station_reset();
}

SubscriberTest::SubscriberTest() {
  connections_.fill(-1);
  for (std::size_t i = 0; i < clients_.size(); ++i)
    connections_[i] = clients_[i].fd();
  qnrdb_hooks = {connections_, send_text, nullptr, nullptr,
                 [](const char* text) { asked.model.emplace_back(text); }};
  (void)qnrdb_cleanup(&qnrobjdb);
  for (const ObjectRow& row : kObjects)
    EXPECT_GE(qnrdb_reg_obj(&qnrobjdb, row.name, row.count, row.get), 0);
  EXPECT_EQ(vgpio_init(kPorts, nullptr, nullptr, -1), 0);
  drv_gpio.ngpi = drv_gpio.ngpo = kPorts;
  server_.cons = connections_.data();
  server_.count = kMaxConnections;
  server_.exts = &qnr_gpio;
  qnr_gpio.server = &server_;
  qnr_gpio.gpi_state.fill(0);
  qnr_gpio.gpo_state.fill(0);
}

SubscriberTest::~SubscriberTest() {
  qnr_gpio.server = nullptr;
  vgpio_cleanup();
  drv_gpio.ngpi = drv_gpio.ngpo = 0;
  (void)qnrdb_cleanup(&qnrobjdb);
  qnrdb_hooks = {};
}

int SubscriberTest::Contacts(const std::string& line, int client) {
  const std::array<const char*, 1> lines{line.c_str()};
  return qnr_gpio_input(&qnr_gpio, client, lines.data(), 1);
}

int SubscriberTest::Input(int client, const std::string& line) {
  return Contacts(line, client) >= 0 ? 0 : qnrdb_cmd_input(&qnrobjdb, line.c_str(), client);
}

void SubscriberTest::Pass() { qnr_gpio_timer(&qnr_gpio); }

void SubscriberTest::Subscribe(int client, const std::string& what) {
  ASSERT_EQ(qnrdb_cmd_input(&qnrobjdb, ("SUB " + what).c_str(), client), 0);
  (void)Text(client);
}

SourceFile::SourceFile(const std::string& text)
    : path_(std::filesystem::temp_directory_path() / ("hark_sources." + std::to_string(::getpid()))),
      before_(harksources_file) {
  std::ofstream(path_) << text;
  harksources_file = path_.string();
}

SourceFile::~SourceFile() {
  harksources_file = before_;
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

}  // namespace hark
