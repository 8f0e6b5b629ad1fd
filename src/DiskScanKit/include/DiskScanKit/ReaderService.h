#pragma once
// The reader process's side: the small program "tessel-reader" does nothing
// but this. It reads folders and files on the scan engine's behalf where they
// may stop answering, so that a read the kernel never returns from holds up a
// process that can be left behind, not the app or the tool.

namespace tessel::ReaderService {

// Answers what comes in on `socket` until the other side closes it, and
// returns the exit status: 0 at a clean end, 1 when the stream broke.
int serve(int socket);

} // namespace tessel::ReaderService
