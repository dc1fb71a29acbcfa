"""What log_tool takes of a 32-bit ARM board, measured in an emulator. Time means nothing there;
instructions, system calls and touched pages are the program's own. Resident are the pages in memory
while it records, those of shared libraries included; the start ends with the first wait for the
device, and most of it is the dynamic linker's."""

from harness import emulated
from harness.emulated import BINARIES, BURSTS, CALLS, DATAGRAMS, unknown_calls
from harness.figures import Figures, arguments


def rows():
    yield "stripped size, KiB", *(f"{emulated.size(name) / 1024:.0f}" for name in BINARIES)
    yield "resident while recording, KiB", *map(emulated.resident_kib, BINARIES)
    instructions, calls = zip(*map(emulated.start_costs, BINARIES))
    yield "instructions from start to the first wait", *(f"{count:,}" for count in instructions)
    yield "system calls from start to the first wait", *calls


def main():
    options = arguments(__doc__)
    figures = Figures("footprint", __doc__, is_written=options.is_written)
    figures.table("", [f"`{name}`" for name in BINARIES], rows())
    counts = [emulated.steady_calls(burst) for burst in BURSTS]
    known = [text for text, _ in CALLS]
    names = known + sorted(set().union(*map(unknown_calls, counts)))
    figures.table(
        f"system calls for {DATAGRAMS:,} records, `log_tool`",
        [f"{burst} at a time" for burst in BURSTS],
        ((name, *(count[name] for count in counts)) for name in names),
    )
    figures.write()


if __name__ == "__main__":
    main()
