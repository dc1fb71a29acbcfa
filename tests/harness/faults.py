"""Commands that become a program and let it meet faults."""

import os
import subprocess

from harness.places import FAULTS, SHIFTED_CLOCK

FOR_EVER = 10**9
NUMBERED = 0  # an error whose number tells which call it was
FIRST_NUMBER = 1000


def preloading(**variables):
    """With faults.cpp ahead of the C library; its variables without their prefix."""
    return (
        "env",
        f"LD_PRELOAD={FAULTS}",
        "ASAN_OPTIONS=verify_asan_link_order=0",  # what it checks for are allocators
        *(f"FAULT_{name.upper()}={value}" for name, value in variables.items()),
    )


def failing(call, error, first=1, count=FOR_EVER, seen="seen"):
    """Calls that fail; the file `seen` holds a byte for each."""
    return preloading(call=call, errno=int(error), first=first, count=count, seen=seen)


def interrupting(microseconds):
    """A signal again and again."""
    return preloading(alarm_us=microseconds)


def stalling(milliseconds, seen):
    """A disk on which the first write takes so long; the file `seen` tells that it has begun."""
    return preloading(stall_ms=milliseconds, seen=seen)


def receiving_slowly(microseconds):
    """Every datagram takes at least so long."""
    return preloading(slow_us=microseconds)


def shifted(ms_to_wrap):
    """The program's clock wraps so long after its start."""
    return ("env", f"LD_PRELOAD={SHIFTED_CLOCK}", f"MS_TO_WRAP={ms_to_wrap}")


def shell(commands):
    """Commands of the shell that come first."""
    return ("sh", "-c", f'{commands} && exec "$@"', "sh")


def closing(descriptors):
    return ("sh", "-c", 'exec "$@" ' + " ".join(f"{fd}>&-" for fd in descriptors), "sh")


def redirecting(output):
    return ("sh", "-c", 'exec "$@" >' + output, "sh")


def in_namespace(test, name, trial=("true",)):
    """In a namespace of its own. Skips the test where none is to be had in which the trial, a
    command, succeeds: in a container, for example."""
    user = () if os.geteuid() == 0 else ("--user", "--map-root-user")
    command = ("unshare", *user, f"--{name}")
    result = subprocess.run([*command, *trial], capture_output=True, check=False)
    if result.returncode != 0:
        test.skipTest(f"no {name} namespace to be had: {result.stderr.decode().strip()}")
    return command
