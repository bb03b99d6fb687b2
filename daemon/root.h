// HARK_ROOT: a folder that stands in front of every fixed path, so that a station runs without root, and
// several on one machine.
#pragma once

namespace hark {

// Puts the environment's HARK_ROOT, when it is set, in front of every fixed path. Once, before any path is
// used. A relative folder is made absolute, since a daemon leaves its folder.
void apply_hark_root();

}  // namespace hark
