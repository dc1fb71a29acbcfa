"""What carries no noise, per datagram or record of a drive, its types at 100/20/5/5/1 Hz:
instructions in user space, allocations and system calls. They are differences between two lengths:
start and end do not count. scripts/test.sh holds them to the limits (tests/long/cost.py)."""

from harness import codec
from harness.counting import FURTHER_CALLS, count_drive, record_counts, replay_counts
from harness.figures import Figures, arguments
from harness.measuring import BURST
from harness.mix import MIX, MIX_HZ, RECORDS_A_SECOND

TYPES_TEXT = """Instructions in user space for a datagram or record of one type. The floats decide,
for each goes through the XDR routines by itself."""


def drive_rows(tool):
    for name, limits, floor, of_tool in count_drive(10, 30, tool):
        for label, attribute, digits, limit in (
            ("instructions", "instructions", 0, limits.instructions),
            ("allocations", "allocations", 3, limits.allocations),
            ("readings of the clock", "clock_readings", 3, limits.clock_readings),
        ):
            values = (f"{getattr(counts, attribute):.{digits}f}" for counts in (floor, of_tool))
            yield f"{name}: {label}", *values, limit
        for call in sorted(floor.calls | of_tool.calls):
            values = (floor.calls[call], of_tool.calls[call])
            limit = f"{values[0] + FURTHER_CALLS:.3f}"
            yield f"{name}: `{call}`", *(f"{value:.3f}" for value in values), limit


def type_rows(tool):
    total = [0, 0]
    for number, type_ in codec.TYPES.items():
        mix = ",".join("1" if other == number else "0" for other in codec.TYPES)
        costs = (
            record_counts([tool], BURST, 800, 2400, "--mix", mix).instructions,
            replay_counts([tool, "-r"], 1024, 3072, (type_,)).instructions,
        )
        floats = sum(name.startswith("values") for name in type_.fields)
        floats = 0 if type_ is codec.GenericData else floats
        yield f"{type_.name}, {floats} floats", *(f"{cost:.0f}" for cost in costs)
        total = [sum_ + MIX_HZ[type_] * cost for sum_, cost in zip(total, costs)]
    yield f"mean at {MIX}", *(f"{sum_ / RECORDS_A_SECOND:.0f}" for sum_ in total)


def main():
    options = arguments(__doc__)
    figures = Figures("counts", __doc__, is_written=options.is_written)
    figures.table("", ("floor", "tool", "limit"), drive_rows(options.tool))
    figures.write()
    if options.quick:
        return
    figures = Figures("types", TYPES_TEXT, command="counts", is_written=options.is_written)
    columns = (f"recorded, bursts of {BURST}", "replayed, all due")
    figures.table("", columns, type_rows(options.tool))
    figures.write()


if __name__ == "__main__":
    main()
