#!/usr/bin/python3
"""A FUSE file system that stops answering where a test wants it to.

    hanging_fs.py [--top-hangs] MOUNTPOINT

Mounts, in the foreground, a small tree held in memory:

    /plain/notes.txt      4 KiB, answers
    /plain/deeper/a.txt   4 KiB, answers
    /quiet/               its listing never answers
    /files/a.bin          1 MiB, answers
    /files/b.bin          1 MiB, the same bytes as a.bin, answers
    /files/stuck.bin      1 MiB, reads at or past 64 KiB never answer

With --top-hangs, looking at the mount's top folder itself never answers
either, as with a network share that is gone: even listing the folder that
holds the mount point then hangs, unless the lister leaves the mount point alone.

Every file is read with direct_io, so each read the program makes reaches
this daemon as it was made, with no readahead past it. A request that never
answers waits on an event that is never set: the daemon's other threads go on
answering. The daemon dies with the process that started it, so a test that
crashes leaves a mount that fails at once (ENOTCONN) rather than one that hangs.
"""

import errno
import stat
import threading
import time

from fusepy import FuseOSError, Operations

import fuse_daemon

MIB = 1 << 20
ANSWERED_BYTES = 64 * 1024
NEVER = threading.Event()

FOLDERS = {'/': ['plain', 'quiet', 'files'], '/plain': ['notes.txt', 'deeper'], '/plain/deeper': ['a.txt'],
           '/quiet': ['never-seen.txt'], '/files': ['a.bin', 'b.bin', 'stuck.bin']}


def pattern(seed, size):
    block = bytes((seed * 31 + i * 7) % 251 for i in range(4096))
    return (block * (size // 4096 + 1))[:size]


FILES = {'/plain/notes.txt': pattern(1, 4096), '/plain/deeper/a.txt': pattern(2, 4096),
         '/quiet/never-seen.txt': pattern(3, 4096), '/files/a.bin': pattern(4, MIB),
         '/files/b.bin': pattern(4, MIB), '/files/stuck.bin': pattern(5, MIB)}


class Hanging(Operations):
    def __init__(self, top_hangs):
        self.started = time.time()
        self.top_hangs = top_hangs

    def getattr(self, path, fh=None):
        if path == '/' and self.top_hangs:
            NEVER.wait()
        times = dict(st_atime=self.started, st_mtime=self.started, st_ctime=self.started)
        if path in FOLDERS:
            return dict(st_mode=stat.S_IFDIR | 0o755, st_nlink=2, st_size=0, st_blocks=0, **times)
        if path in FILES:
            size = len(FILES[path])
            return dict(st_mode=stat.S_IFREG | 0o644, st_nlink=1, st_size=size, st_blocks=size // 512, **times)
        raise FuseOSError(errno.ENOENT)

    def readdir(self, path, fh):
        if path == '/quiet':
            NEVER.wait()
        return ['.', '..'] + FOLDERS[path]

    def open(self, path, flags):
        if path not in FILES:
            raise FuseOSError(errno.ENOENT)
        return 0

    def read(self, path, size, offset, fh):
        if path == '/files/stuck.bin' and offset >= ANSWERED_BYTES:
            NEVER.wait()
        return FILES[path][offset:offset + size]

    def statfs(self, path):
        return dict(f_bsize=4096, f_frsize=4096, f_blocks=1024, f_bfree=512, f_bavail=512, f_files=16, f_ffree=8,
                    f_namemax=255)


def main():
    top_hangs, (mountpoint,) = fuse_daemon.arguments('--top-hangs', 1, 'hanging_fs.py [--top-hangs] MOUNTPOINT')
    fuse_daemon.mount(Hanging(top_hangs), mountpoint, direct_io=True, fsname='tessel-hanging')


if __name__ == '__main__':
    main()
