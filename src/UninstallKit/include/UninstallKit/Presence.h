#pragma once
// Whether a path is there: present, missing, or unknown. A path on a disk
// that is not mounted now, or one that can't be looked at, can't say: it is
// unknown, not missing, so nothing is offered for removal because its disk
// was unplugged.

#include <string>

namespace tessel {

enum class Presence { present, missing, unknown };

// Under /Volumes, /media/USER, /run/media/USER or /mnt, a path whose disk's
// folder is no mount point now is unknown.
Presence presenceOf(const std::string& path);

} // namespace tessel
