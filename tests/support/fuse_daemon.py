"""What the test suite's FUSE daemons share: reading their command line and
mounting in the foreground, dying with the process that started them."""

import ctypes
import signal
import sys

from fusepy import FUSE

PR_SET_PDEATHSIG = 1


def arguments(flag, count, usage):
    """The command line as (whether FLAG came first, the COUNT words after it)."""
    words = sys.argv[1:]
    given = words[:1] == [flag]
    if given:
        words = words[1:]
    if len(words) != count:
        sys.exit('usage: ' + usage)
    return given, words


def mount(operations, mountpoint, **options):
    """Mounts until killed. A daemon that outlived its test would leave a mount
    that hangs; one that dies with it leaves one that fails at once."""
    ctypes.CDLL(None, use_errno=True).prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
    FUSE(operations, mountpoint, foreground=True, nothreads=False, **options)
