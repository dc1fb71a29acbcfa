"""Commands that become a program and let it meet faults."""

import os

FAULTS = os.environ.get("FAULTS", "./libfaults.so")
FOR_EVER = 10**9


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


def shell(commands):
    """Commands of the shell that come first."""
    return ("sh", "-c", f'{commands} && exec "$@"', "sh")


def closing(descriptors):
    return ("sh", "-c", 'exec "$@" ' + " ".join(f"{fd}>&-" for fd in descriptors), "sh")


def in_namespaces(*names):
    """Namespaces of its own, which root makes as such and others as users of their own."""
    user = () if os.geteuid() == 0 else ("--user", "--map-root-user")
    return ("unshare", *user, *(f"--{name}" for name in names))
