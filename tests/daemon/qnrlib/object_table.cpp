#include "object_table.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "base/text.h"

namespace hark {
namespace {

std::array<int, kMaxConnections> g_connections;
std::vector<std::string> g_sent;
std::vector<std::string> g_heard;
std::vector<std::string> g_lists;

constexpr int kFirstSocket = 100;  // the socket of connection 0; only a number here

std::string Shown(const char* text) {
  std::string shown(text);
  shown.erase(std::remove(shown.begin(), shown.end(), '\r'), shown.end());
  std::replace(shown.begin(), shown.end(), '\n', '|');
  return shown;
}

std::string Client(int fd) { return std::to_string(fd - kFirstSocket); }

int RecordSend(int fd, const char* text) {
  g_sent.push_back(Client(fd) + ":" + Shown(text));
  return 0;
}
void RecordCalls(int fd) { g_lists.push_back("CALL " + Client(fd)); }
void RecordPanels(int fd) { g_lists.push_back("HARKUI " + Client(fd)); }
void RecordModel(const char* text) { g_heard.push_back(Shown(text)); }

int BlankText(char* buf, std::size_t n, int) { return copy_text({buf, n}, " "); }
int HostText(char* buf, std::size_t n, int) { return copy_text({buf, n}, "hostname studio"); }
int PinsText(char* buf, std::size_t n, int) { return copy_text({buf, n}, "hhhhh"); }
int NameText(char* buf, std::size_t n, int index) { return format_text({buf, n}, "NAME:\"Aux %d\"", index); }
int NoText(char*, std::size_t, int) { return 0; }

}  // namespace

ObjectTable::ObjectTable() {
  g_connections.fill(-1);
  g_sent.clear();
  g_heard.clear();
  g_lists.clear();
  qnrdb_cleanup(&qnrobjdb);
  qnrdb_hooks = {.connections = g_connections,
                 .send = RecordSend,
                 .call_status = RecordCalls,
                 .panel_list = RecordPanels,
                 .model_receive = RecordModel};
  EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "SET", -1, BlankText), 0);
  EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "IP", -1, HostText), 1);
  EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "GPI", 9, PinsText), 2);
  EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "GPO", 9, PinsText), 12);
  EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "CFG GPO", 2, NameText), 22);
  EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "CALL", -1, nullptr), 25);
  EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "HARKUI", -1, nullptr), 26);
  EXPECT_EQ(qnrdb_reg_obj(&qnrobjdb, "QUIET", 2, NoText), 27);
}

ObjectTable::~ObjectTable() {
  qnrdb_cleanup(&qnrobjdb);
  qnrdb_hooks = {};
}

void ObjectTable::Connect(int client) {
  g_connections.at(static_cast<std::size_t>(client)) = kFirstSocket + client;
}
void ObjectTable::Disconnect(int client) { g_connections.at(static_cast<std::size_t>(client)) = -1; }

std::vector<std::string> ObjectTable::Sent() { return std::exchange(g_sent, {}); }
std::vector<std::string> ObjectTable::Heard() { return std::exchange(g_heard, {}); }
std::vector<std::string> ObjectTable::ListsAsked() { return std::exchange(g_lists, {}); }

std::vector<std::string> ObjectTable::SubscriptionsOf(int client) {
  std::vector<std::string> rows;
  for (const QnrObject& object : qnrobjdb.objs) {
    if ((object.subs >> client & 1U) == 0) continue;
    rows.push_back(std::string(object.name.data()) + " " + std::to_string(object.index));
  }
  return rows;
}

}  // namespace hark
