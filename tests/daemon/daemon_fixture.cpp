#include "daemon/daemon_fixture.h"

#include <arpa/inet.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "daemon/settings.h"
#include "daemon/station/station.h"

namespace hark {

TestFolder::TestFolder() {
  path_ = (std::filesystem::temp_directory_path() / "harkd-unit-XXXXXX").string();
  if (::mkdtemp(path_.data()) == nullptr) std::abort();
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void TestFolder::Write(const std::string& name, const std::string& text) const {
  std::ofstream(File(name), std::ios::binary) << text;
}

std::string TestFolder::Read(const std::string& name) const {
  std::ifstream in(File(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool TestFolder::Exists(const std::string& name) const { return std::filesystem::exists(File(name)); }

TestFiles::TestFiles(const TestFolder& folder)
    : uilist_(uilist_file), harkui_(harkui_file), harkid_(harkid_file), conf_qnr_(conf_qnr) {
  uilist_file = folder.File("uilist");
  harkui_file = folder.File("harkui");
  harkid_file = folder.File("harkid");
}

TestFiles::~TestFiles() {
  uilist_file = uilist_;
  harkui_file = harkui_;
  harkid_file = harkid_;
  conf_qnr = conf_qnr_;
}

DaemonTest::DaemonTest() {
  std::signal(SIGPIPE, SIG_IGN);  // as the daemon does first of all
  station_reset();
  server.con_data = std::make_unique<ConnectionData[]>(kMaxConnections);
  server.model = HarkUIProxyShared::Create(station.hark_nkeys, folder.path(), harkui_receive, -1);
  qnrdb_hooks.connections = server.cons;
  qnrdb_hooks.send = server_resp_single;
}

DaemonTest::~DaemonTest() {
  server_cleanup();
  server.model.reset();
  qnrdb_hooks = {};
  (void)qnrdb_cleanup(&qnrobjdb);
  station_reset();
}

LineSocket& DaemonTest::Open(int i) {
  auto& peer = peers_[static_cast<std::size_t>(i)];
  peer = std::make_unique<LineSocket>();
  server.socket(i) = peer->ReleaseFd();
  sockaddr_in& addr = server.slot(i).addr;
  addr.sin_family = AF_INET;
  addr.sin_port = htons(5000);
  addr.sin_addr.s_addr = htonl(0x0A000001U + static_cast<unsigned>(i));
  return *peer;
}

HarkUIProxy& DaemonTest::Attach(int i, const std::string& id, int first, int last, int aans) {
  server.slot(i).ui = HarkUIProxy::Create(id, first, last, aans, server.model.get(), harkui_send, i);
  return *server.slot(i).ui;
}

}  // namespace hark
