#include "callctl/fake_links.h"

#include "routing/qncpptt.h"
#include "routing/qnrifb.h"

namespace hark {

FakeLinks fake_links;

int qnrifb_set(int port, const char* url, const char* addr) {
  const auto text = [](const char* value) { return value != nullptr ? "<" + std::string(value) + ">" : "-"; };
  fake_links.commands.push_back("ifb " + std::to_string(port) + " " + text(url) + " " + text(addr));
  return fake_links.ifb_result;
}

int qnrifb_selectevents(fd_set& /*readable*/, fd_set& /*writable*/) { return -1; }

void qnrifb_processevents(const fd_set& /*readable*/, const fd_set& /*writable*/, TimeUs /*now*/) {}

int qncpptt_initialize() { return 0; }

int qncpptt_set(int port, std::uint32_t dst, std::uint32_t src) {
  fake_links.commands.push_back("ptt " + std::to_string(port) + " " + std::to_string(dst) + " " +
                                std::to_string(src));
  return 0;
}

int qncpptt_clr(int port) {
  fake_links.commands.push_back("ptt clear " + std::to_string(port));
  return 0;
}

int qncpptt_selectevents(fd_set& /*set*/) { return -1; }

void qncpptt_processevents(const fd_set& /*readable*/, TimeUs /*now*/) {}

}  // namespace hark
