#!/usr/bin/python3
"""A FUSE file system that shows a folder as it is, for measuring what reading
through a reader process costs on a FUSE mount that answers.

    fuse_passthrough.py [--uncached] SOURCE MOUNTPOINT

With --uncached the kernel keeps no names, attributes or pages of it, so every
look-up and read reaches the daemon, as with a remote that can't cache.

Runs in the foreground with Debian's python3-fusepy, and dies with the process
that started it. Read-only: every call is the system call of the same name on
SOURCE's path.
"""

import errno
import os
import sys

from fusepy import FuseOSError, Operations

# The daemon's command line and mounting, shared with the tests' FUSE file system.
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'tests', 'support'))
import fuse_daemon  # noqa: E402

STAT_FIELDS = ('st_mode', 'st_ino', 'st_nlink', 'st_uid', 'st_gid', 'st_size', 'st_blocks', 'st_atime', 'st_mtime',
               'st_ctime')


class Passthrough(Operations):
    def __init__(self, source):
        self.source = source

    def real(self, path):
        return os.path.join(self.source, path.lstrip('/'))

    def getattr(self, path, fh=None):
        try:
            status = os.lstat(self.real(path))
        except OSError as error:
            raise FuseOSError(error.errno)
        return {field: getattr(status, field) for field in STAT_FIELDS}

    def readdir(self, path, fh):
        try:
            return ['.', '..'] + os.listdir(self.real(path))
        except OSError as error:
            raise FuseOSError(error.errno)

    def readlink(self, path):
        return os.readlink(self.real(path))

    def open(self, path, flags):
        if flags & (os.O_WRONLY | os.O_RDWR):
            raise FuseOSError(errno.EROFS)
        try:
            return os.open(self.real(path), os.O_RDONLY)
        except OSError as error:
            raise FuseOSError(error.errno)

    def read(self, path, size, offset, fh):
        return os.pread(fh, size, offset)

    def release(self, path, fh):
        os.close(fh)

    def statfs(self, path):
        status = os.statvfs(self.real(path))
        return {key: getattr(status, key) for key in ('f_bavail', 'f_bfree', 'f_blocks', 'f_bsize', 'f_favail',
                                                      'f_ffree', 'f_files', 'f_flag', 'f_frsize', 'f_namemax')}


def main():
    uncached, (source, mountpoint) = fuse_daemon.arguments('--uncached', 2,
                                                           'fuse_passthrough.py [--uncached] SOURCE MOUNTPOINT')
    caching = dict(entry_timeout=0, attr_timeout=0, negative_timeout=0, direct_io=True) if uncached else {}
    fuse_daemon.mount(Passthrough(os.path.abspath(source)), mountpoint, ro=True, fsname='tessel-passthrough', **caching)


if __name__ == '__main__':
    main()
