// The table of socket blocks, the sets that their descriptors are in, and the pass over both.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_socket.h"

namespace hark {
namespace {

struct FdSets {
  FdSets() {
    FD_ZERO(&read);
    FD_ZERO(&except);
    FD_ZERO(&write);
  }
  fd_set read, except, write;
};

struct Slot {
  bool used = false;
  FdSets sets;
  int nfds = 0;  // the highest descriptor of the three plus 1
};

struct SocketModule {
  std::array<SocCB, kMaxSockets> blocks;
  std::array<Slot, kFdsetSlots> slots;
  int slot = -1;  // the stack's; -1: none yet
  FdSets ready;   // of the pass at hand: what is still to be told
  unsigned select_failures = 0;
};

// Never destroyed: services and dialogs that go when the process exits still let go of their blocks.
SocketModule& module() {
  static SocketModule& the_module = *new SocketModule;
  return the_module;
}

bool no_service() { return false; }
bool (*g_any_service)() = no_service;

void report(std::uint32_t location = cpapp_here(cpapp_module::cpsip_osa)) { (void)cpapp_uxp(location); }

bool is_slot(int slot) { return slot >= 0 && slot < kFdsetSlots; }

Slot& slot_at(int slot) { return module().slots[static_cast<std::size_t>(slot)]; }

// One above the highest descriptor of the three sets.
int count_fds(const FdSets& sets) {
  int fd = FD_SETSIZE;
  while (fd > 0 && !FD_ISSET(fd - 1, &sets.read) && !FD_ISSET(fd - 1, &sets.except) &&
         !FD_ISSET(fd - 1, &sets.write))
    --fd;
  return fd;
}

// Null, after a report, when there is none: `result` says why.
Slot* stack_slot(int& result) {
  const int slot = module().slot;
  if (is_slot(slot)) return &slot_at(slot);
  report();
  result = slot == -1 ? kSelectNoSlot : kSelectBadSlot;
  return nullptr;
}

int select_failed() {
  if (!g_any_service()) return 0;  // then nobody misses what is not heard
  unsigned& failures = module().select_failures;
  if (failures >= kMaxSelectFailures) cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_osa));
  ++failures;
  report();
  return kSelectFailed;
}

// Every callback may have closed or replaced the block's socket, or freed the block: all is read anew.
void tell(const SocCB& cb, const fd_set& ready, bool read, bool write, bool except) {
  const int fd = cb.fd.get();
  if (cb.callback != nullptr && cb.fdset_slot >= 0 && fdset_has(fd, ready))
    cb.callback(fd, read, write, except);
}

}  // namespace

void Cpsip_SOC_Init() { module() = SocketModule{}; }

void Cpsip_SOC_SetServiceCheck(bool (*any_service)()) {
  g_any_service = any_service != nullptr ? any_service : no_service;
}

SocCB* Cpsip_SOC_AddSocCB(cpsip_serv_cb* owner, cpsip_soc_callback callback, cpsip_transport_kind transport) {
  auto& blocks = module().blocks;
  const auto cb =
      std::find_if(blocks.begin(), blocks.end(), [](const SocCB& one) { return one.callback == nullptr; });
  if (cb == blocks.end() || callback == nullptr) {
    report();
    return nullptr;
  }
  static std::uint64_t lives = 0;
  *cb = SocCB{};
  cb->life = ++lives;
  cb->callback = callback;
  if (Cpsip_SOC_SetFdsetForSocCB(*cb, module().slot) != 0)
    cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_osa));
  cb->owner = owner;
  cb->transport = transport;
  cb->state = kSocMade;
  return &*cb;
}

void Cpsip_SOC_DelSocCB(SocCB& cb) {
  --cb.refcount;
  if (cb.refcount > 0 || cb.callback == nullptr) return;
  if (Cpsip_SOC_ChangeSelSta(cb, false, false, false) != 0) {
    report();
    return;
  }
  const int fd = cb.fd.release();
  cb = SocCB{};
  cb.fd.reset(fd);
}

std::span<SocCB> Cpsip_SOC_Blocks() { return module().blocks; }

int Cpsip_SOC_AddFdsetList(const fd_set& read, const fd_set& except, const fd_set& write) {
  auto& slots = module().slots;
  const auto slot = std::find_if(slots.begin(), slots.end(), [](const Slot& one) { return !one.used; });
  if (slot == slots.end()) return -1;
  slot->used = true;
  slot->sets.read = read;
  slot->sets.except = except;
  slot->sets.write = write;
  slot->nfds = count_fds(slot->sets);
  return static_cast<int>(slot - slots.begin());
}

int Cpsip_SOC_ChangeSelSta(SocCB& cb, bool read, bool write, bool except) {
  if (!is_slot(cb.fdset_slot)) return -1;
  const int fd = cb.fd.get();
  // No set can hold it, and so none does.
  if (fd < 0 || fd >= FD_SETSIZE) return read || write || except ? -1 : 0;
  Slot& slot = slot_at(cb.fdset_slot);
  FdSets& ready = module().ready;
  const auto change = [fd](fd_set& set, fd_set& ready_set, bool in) {
    if (in) {
      FD_SET(fd, &set);
    } else {
      FD_CLR(fd, &set);
      FD_CLR(fd, &ready_set);
    }
  };
  change(slot.sets.read, ready.read, read);
  change(slot.sets.write, ready.write, write);
  change(slot.sets.except, ready.except, except);
  slot.nfds = count_fds(slot.sets);
  return 0;
}

int Cpsip_SOC_SetFdsetForSocCB(SocCB& cb, int slot) {
  if (!is_slot(slot)) return -1;
  cb.fdset_slot = slot;
  return 0;
}

void Cpsip_SOC_UseFdsetSlot(int slot) { module().slot = slot; }

int CPSIP_Select() {
  int result = 0;
  const Slot* const slot = stack_slot(result);
  if (slot == nullptr) return result;
  FdSets& ready = module().ready;
  ready = slot->sets;
  timeval no_wait{};
  const int count = ::select(slot->nfds, &ready.read, &ready.write, &ready.except, &no_wait);
  if (count < 0) return select_failed();
  module().select_failures = 0;
  if (count == 0) return 0;
  for (const SocCB& cb : module().blocks) {
    tell(cb, ready.read, true, false, false);
    tell(cb, ready.write, false, true, false);
    tell(cb, ready.except, false, false, true);
  }
  return 0;
}

int CPSIP_Select_FDs(fd_set& read, fd_set& except, fd_set& write) {
  int result = 0;
  const Slot* const slot = stack_slot(result);
  if (slot == nullptr) return result;
  read = slot->sets.read;
  except = slot->sets.except;
  write = slot->sets.write;
  return slot->nfds;
}

int cpsip_kbhit() {
  constexpr suseconds_t kWaitUs = 20'000;
  timeval wait{.tv_sec = 0, .tv_usec = kWaitUs};
  fd_set input;
  FD_ZERO(&input);
  FD_SET(STDIN_FILENO, &input);
  return ::select(STDIN_FILENO + 1, &input, nullptr, nullptr, &wait) > 0 ? 1 : 0;
}

}  // namespace hark
