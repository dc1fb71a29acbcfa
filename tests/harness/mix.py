"""The records of a drive: how often each type comes."""

from harness import codec
from harness.codec import AttitudeData, GenericData, GnssData, GnssPvt, ImuData

MIX = "100/20/5/5/1 Hz"
MIX_HZ = {ImuData: 100, AttitudeData: 20, GnssPvt: 5, GnssData: 5, GenericData: 1}
RECORDS_A_SECOND = sum(MIX_HZ.values())

# For the feeder.
MIX_OPTIONS = ("--mix", ",".join(str(MIX_HZ[type_]) for type_ in codec.TYPES.values()))

# For records that are all due at once: their order does not matter.
MIX_TYPES = tuple(type_ for type_, rate in MIX_HZ.items() for _ in range(rate))


def drive(rates_hz, seconds, start_ms=5000):
    """The numbered records of types that come at these rates, by their time stamps."""
    records = [
        type_.numbered(start_ms + number * 1000 // rate, number)
        for type_, rate in rates_hz.items()
        for number in range(seconds * rate)
    ]
    return sorted(records, key=lambda record: record.type.stamp(record))
