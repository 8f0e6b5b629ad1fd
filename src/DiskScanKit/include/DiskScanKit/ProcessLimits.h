#pragma once

namespace tessel {

// A scan keeps a folder open until all its subfolders are opened relative to
// it; on a deep tree that can outgrow the usual soft limit of 1024
// descriptors. Raises the soft limit to the hard one, once, at start-up.
void raiseOpenFileLimit();

} // namespace tessel
