"""A stream of 20,000 datagrams a second, and what a recorder must make of it."""

import itertools
import time

from harness import codec
from harness.codec import datagram, frame

PER_MS = 20
COUNT = 10000

LOG = codec.numbered_log(7, COUNT)
RECORDS = codec.parse_frames(LOG)
DATAGRAMS = [datagram(record) for record in RECORDS]
FRAMES = [frame(record) for record in RECORDS]

# The kernel's: a recorder that stands still for a moment loses more.
FEW = COUNT // 20


def send_stream(device, datagrams):
    """Sends at the stream's rate, whether anybody takes it or not."""
    start = time.monotonic()
    for at in range(0, len(datagrams), PER_MS):
        time.sleep(max(0, start + at / PER_MS / 1000 - time.monotonic()))
        device.send(*datagrams[at : at + PER_MS])


def check_log(test, log, lost):
    """All of the stream is there and in order, except so many datagrams, for which the kernel had
    no room."""
    test.assertLess(lost, FEW)
    if lost == 0:
        test.assertEqual(len(LOG), len(log))
        test.assertTrue(LOG == log)
        return
    recorded = [frame(record) for record in codec.parse_frames(log)]
    test.assertEqual(COUNT - lost, len(recorded))
    sent = iter(FRAMES)
    test.assertTrue(all(frame_ in sent for frame_ in recorded), "not in the order sent")


def stamped(count, per_ms):
    """Records that are due at a rate."""
    types = itertools.cycle(codec.TYPES.values())
    return [next(types).numbered(number // per_ms, number) for number in range(count)]
