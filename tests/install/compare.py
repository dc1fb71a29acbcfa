"""Fails unless a log holds all that the device has sent, and nothing else.

    compare.py <log> <dump of the device>
"""

import pathlib
import sys

from harness import codec


def main(log, dump):
    sent = codec.parse_dump(dump.read_bytes())
    if not sent or log.read_bytes() != codec.recording(sent):
        sys.exit(f"{log} is not what was sent")
    print(f"{log.name}: all of {len(sent)} records")


if __name__ == "__main__":
    main(*map(pathlib.Path, sys.argv[1:]))
