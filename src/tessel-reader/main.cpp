// tessel-reader: the reader process of the scan engine. The app and the tool
// start it beside themselves to read folders and files on file systems that
// may stop answering (see DiskScanKit/ReaderHelper.h); it is not for people
// to run. Its standard input is the socket it answers on.

#include <signal.h>

#include "DiskScanKit/ReaderService.h"

int main() {
    // A socket whose other end is gone answers EPIPE; the reader then ends quietly.
    signal(SIGPIPE, SIG_IGN);
    return tessel::ReaderService::serve(0);
}
