// The list of stations that this daemon has heard of, by discovery or by their calls. Every change is written
// at once to a file with the layout of the operator's file of sources, so that other programs, or the
// resolver while discovery is down, can read it.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

#include "base/clock.h"

struct _DNSServiceRef_t;  // of dns_sd.h

namespace hark {

inline constexpr std::string_view kLocalDomain = "local.";

struct harkresolvtable_entry {
  std::string name;                        // service instance name, which is the station's label
  std::string domain;                      // DNS-SD domain, "local." as a rule
  std::string host;                        // host name from the service's resolve; empty: none
  std::string alt;                         // alternate text; empty: none
  std::uint32_t trgl = 0;                  // trigger level plus one, 0 if unknown
  in_addr_t rtpa = 0;                      // address of the station's audio, network order; 0: unknown
  std::uint16_t port = 0;                  // the station's control port, host order; 0: unknown
  std::string url;                         // empty: unknown
  bool learned = false;                    // known by its calls or by having been asked for, not discovered
  _DNSServiceRef_t* resolver = nullptr;    // the running resolve of the service; discovery's, null if none
  _DNSServiceRef_t* addr_query = nullptr;  // the running query for its host's address; likewise
  TimeUs addr_time = 0;                    // start of the last address query
  TimeUs lookup_time = 0;                  // start of the last resolve of the service
  bool watched = false;    // discovery's: both are in the select set of this pass, if they run
  std::uint64_t walk = 0;  // discovery's: the last walk over the table in which they were served
};

// Newest first. Entries stay where they are in memory until they are removed.
using harkresolvtable = std::list<harkresolvtable_entry>;

// The stations heard of.
extern harkresolvtable harkd_dynamicsources;

// Path of the file. Writable for deployments and tests; empty: no file is written.
extern std::string table_file;

// `text` as a line of the file can hold it: control characters become "?".
[[nodiscard]] std::string table_text(std::string_view text);
// The same of a name, in which what would be read as a comment, a quoted name or an address becomes "?" too.
[[nodiscard]] std::string table_name(std::string_view name);

// Called first when an entry is freed, for what belongs to the entry elsewhere; it must not change the table.
// Filled by discovery.
extern void (*bonjour_harkresolvtable_free_entry_callback)(harkresolvtable_entry& entry);

// The entry of `name` in `domain` (empty: in any), made and written to the file if there is none. Valid until
// it is removed.
harkresolvtable_entry& harkresolvtable_add(harkresolvtable& table, std::string_view name,
                                           std::string_view domain);

// The entry of `name` in "local.", made as one that is known by a call or a question alone if there is none.
// There are at most 1000 of all: the oldest such entry goes for a new one, so that ever new names fill
// neither memory nor file. Valid until it is removed.
harkresolvtable_entry& harkresolvtable_learn(harkresolvtable& table, std::string_view name);

// Removes the entry with exactly this name and domain, if there is one, and writes the file.
void harkresolvtable_remove(harkresolvtable& table, std::string_view name, std::string_view domain);

// The entry with exactly this name and domain, or null.
[[nodiscard]] harkresolvtable_entry* harkresolvtable_lookup(harkresolvtable& table, std::string_view name,
                                                            std::string_view domain);

// Calls the hook and frees the entry; the file is not written.
void harkresolvtable_free_entry(harkresolvtable& table, harkresolvtable::iterator entry);

// Writes the file. What cannot be written is said on standard error, and the file stays old.
void harkresolvtable_write(const harkresolvtable& table);

}  // namespace hark
