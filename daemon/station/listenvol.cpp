#include "daemon/station/listenvol.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <forward_list>

namespace hark {
namespace {

constexpr std::size_t kNameLength = 10;

struct ListenVolume {
  std::array<char, kNameLength> name{};  // not terminated when full
  std::int16_t volume = 0;               // tenths of a dB
};
std::forward_list<ListenVolume> g_listenvol_data;

void set_name(ListenVolume& record, const char* name) {
  record.name.fill('\0');
  std::memcpy(record.name.data(), name, strnlen(name, kNameLength));
}

ListenVolume* listenvol_lookup(const char* name, bool create) {
  ListenVolume* unused = nullptr;
  for (ListenVolume& record : g_listenvol_data) {
    if (std::strncmp(record.name.data(), name, kNameLength) == 0) return &record;
    if (record.volume == 0) unused = &record;
  }
  if (!create) return nullptr;
  if (unused == nullptr) unused = &g_listenvol_data.emplace_front();
  set_name(*unused, name);
  return unused;
}

}  // namespace

void listenvol_set(const char* name, short volume) {
  ListenVolume* record = listenvol_lookup(name, volume != 0);
  if (record != nullptr) record->volume = volume;
}

int listenvol_get(const char* name) {
  const ListenVolume* record = listenvol_lookup(name, false);
  return record != nullptr ? record->volume : 0;
}

void listenvol_cleanup() { g_listenvol_data.clear(); }

}  // namespace hark
