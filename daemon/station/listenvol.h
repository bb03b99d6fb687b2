// The listen volume of each party, by label. Kept while the daemon runs, not saved. Written and read by the
// panel model.
#pragma once

namespace hark {

// Sets the volume of `name` (its first 10 characters count), in tenths of a dB. Only a volume other than 0
// makes a record; a record of volume 0 is free for another name.
void listenvol_set(const char* name, short volume);

// The volume of `name`, 0 when none was set.
[[nodiscard]] int listenvol_get(const char* name);

// Forgets all volumes.
void listenvol_cleanup();

}  // namespace hark
