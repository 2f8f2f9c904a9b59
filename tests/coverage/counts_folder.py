"""Makes a folder for counts that processes of all users add to.

Each adds to files that another has made, with whatever umask: the folder says how they are made,
as only its default access list outweighs that. Without such lists (an unusual file system) the
folder is open to all the same.
"""
import os
import struct
import sys

VERSION, ALL, NOBODY = 2, 7, 0xFFFFFFFF
OWNER, GROUP, OTHERS = 0x01, 0x04, 0x20

folder = sys.argv[1]
os.chmod(folder, 0o777)  # and not sticky: there nobody may open another's file to add to it
entries = b"".join(struct.pack("<HHI", who, ALL, NOBODY) for who in (OWNER, GROUP, OTHERS))
try:
    os.setxattr(folder, "system.posix_acl_default", struct.pack("<I", VERSION) + entries)
except OSError as problem:
    print(f"coverage: {folder}: {problem.strerror}; counts of other users may be lost",
          file=sys.stderr)
