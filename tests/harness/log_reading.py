"""What `log_kit info` must say of a log without damage, computed from its records alone, in the
simplest way and all in memory."""

import math
import statistics
from collections import Counter
from datetime import datetime, timezone

from harness import codec
from harness.codec import AttitudeData, GnssData, GnssPvt, ImuData

ROUND = 1 << 32
FIX_TEXTS = {0: "NO", 1: "Dead reckoning", 2: "Time only", 3: "2D", 4: "3D"}
BACK_LIMIT = 2000
WRAP_LIMIT = 600000


def unwrapped(records):
    """The time of each record, and the counter's jumps as (kind, number, from, to)."""
    times = []
    jumps = []
    before = None
    for number, record in enumerate(records):
        ticks = record.type.stamp(record)
        if before is None:
            time = ticks
        elif before <= ticks:
            time += ticks - before
        elif before - ticks <= BACK_LIMIT:
            jumps.append(("back", number, before, ticks))
            time -= before - ticks
        elif ticks + ROUND - before <= WRAP_LIMIT:
            jumps.append(("wrap", number, before, ticks))
            time += ticks + ROUND - before
        else:
            jumps.append(("restart", number, before, ticks))
            time = max(times)
        times.append(time)
        before = ticks
    return times, jumps


def pvt_of(record):
    """The PVT section's fields by name, None without one."""
    prefix = {GnssPvt: "", GnssData: "pvt."}.get(record.type)
    if prefix is None or (record.type is GnssData and record["pvt.ticks"] == 0):
        return None
    return {name: record[prefix + name] for name in codec.PVT_FIELDS}


def is_implausible(record):
    if record.type in (ImuData, AttitudeData):
        values = (record[name] for name in record.type.fields if name.startswith("values"))
        return any(not math.isfinite(codec.bits_float(value)) for value in values)
    pvt = pvt_of(record)
    return pvt is not None and (
        not is_on_earth(pvt)
        or any(
            abs(pvt[name]) > 1e6
            for name in ("velocityNorth", "velocityEast", "velocityDown", "groundSpeed")
        )
    )


def is_on_earth(pvt):
    return abs(pvt["latitude"]) <= 90e7 and abs(pvt["longitude"]) <= 180e7


def utc_text(seconds):
    return datetime.fromtimestamp(seconds, timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")


def rate(times, first, latest):
    """Of the type's records in whole windows of a second."""
    windows = (latest - first) // 1000
    if not times or windows == 0:
        return {"min": None, "median": None, "max": None}
    counter = Counter((time - first) // 1000 for time in times)
    counts = [counter[window] for window in range(windows)]
    return {"min": min(counts), "median": statistics.median(counts), "max": max(counts)}


def gaps_of(type_, stamped, first, latest):
    """Of a type's records, given as (time, ticks)."""
    if len(stamped) < 2:
        return []
    times = [time for time, _ in stamped]
    usual = statistics.median(b - a for a, b in zip(times, times[1:]))
    limit = max(500, 5 * usual)
    edges = [(first, None), *stamped, (latest, None)]
    return [
        (a, {"type": type_.name, "after_ticks": x, "before_ticks": y, "seconds": (b - a) / 1000})
        for (a, x), (b, y) in zip(edges, edges[1:])
        if b - a > limit
    ]


def fix_shares(pvts):
    """Of (time, fix code), a list for each record type."""
    times = Counter()
    for series in pvts:
        held = 1000
        for (a, fix), (b, _) in zip(series, series[1:]):
            held = min(max(b - a, 0), 5000)
            times[FIX_TEXTS.get(fix, "Unknown")] += held
        if series:
            times[FIX_TEXTS.get(series[-1][1], "Unknown")] += held
    total = sum(times.values())
    return {fix: time / total for fix, time in times.items() if time}


def replay(records):
    """Duration of a replay, and the first record that it sends more than 2 s late."""
    stamps = [record.type.stamp(record) for record in records]
    latest = stamps[0]
    late = None
    for number, ticks in enumerate(stamps):
        latest = max(latest, ticks)
        if late is None and latest - ticks > 2000:
            late = number
    return {"duration_s": (latest - stamps[0]) / 1000, "back_to_back_from_frame": late}


def expected_info(file, log):
    records = codec.parse_frames(log)
    sizes = [record.type.size + len(codec.FOOTER) for record in records]
    offsets = [0]
    for size in sizes:
        offsets.append(offsets[-1] + size)
    times, jumps = unwrapped(records)
    first, latest = times[0], max(times)
    stamped = list(zip(times, (record.type.stamp(record) for record in records)))

    types = {}
    gaps = []
    for type_ in codec.TYPES.values():
        mine = [stamp for stamp, record in zip(stamped, records) if record.type is type_]
        types[type_.name] = {
            "count": len(mine),
            "bytes": len(mine) * (type_.size + len(codec.FOOTER)),
            "first_ticks": mine[0][1] if mine else None,
            "last_ticks": mine[-1][1] if mine else None,
            "rate_hz": rate([time for time, _ in mine], first, latest),
        }
        gaps += gaps_of(type_, mine, first, latest)
    gaps.sort(key=lambda gap: gap[0])

    sections = [(t, r.type, pvt_of(r)) for t, r in zip(times, records) if pvt_of(r)]
    pvts = [pvt for _, _, pvt in sections]
    utcs = [p["utcTime"] for p in pvts if p["fixType"] in (1, 2, 3, 4) and p["utcTime"] > 0]
    places = [p for p in pvts if p["fixType"] in (1, 3, 4) and is_on_earth(p)]
    latitudes = [p["latitude"] / 1e7 for p in places]
    longitudes = [p["longitude"] / 1e7 for p in places]
    satellites = [p["satelliteCount"] for p in pvts]
    return {
        "file": file,
        "bytes": len(log),
        "frames": len(records),
        "clean": True,
        "types": types,
        "time": {
            "first_ticks": stamped[0][1],
            "last_ticks": stamped[-1][1],
            "duration_s": (latest - first) / 1000,
            "utc_start": utc_text(utcs[0]) if utcs else None,
            "utc_end": utc_text(utcs[-1]) if utcs else None,
        },
        "gaps": [gap for _, gap in gaps],
        "jumps": [
            {"kind": kind, "frame": number, "offset": offsets[number], "from": a, "to": b}
            for kind, number, a, b in jumps
        ],
        "gnss": {
            "fix": fix_shares(
                [
                    [(time, pvt["fixType"]) for time, type_, pvt in sections if type_ is wanted]
                    for wanted in (GnssData, GnssPvt)
                ]
            ),
            "satellites": {
                "min": min(satellites, default=None),
                "median": statistics.median(satellites) if satellites else None,
                "max": max(satellites, default=None),
            },
            "bounding_box": {
                "south": min(latitudes, default=None),
                "west": min(longitudes, default=None),
                "north": max(latitudes, default=None),
                "east": max(longitudes, default=None),
            },
            "last_position": {
                "latitude": latitudes[-1] if places else None,
                "longitude": longitudes[-1] if places else None,
                "altitude_m": places[-1]["altitude"] / 1000 if places else None,
            },
        },
        "implausible": sum(map(is_implausible, records)),
        "replay": replay(records),
    }
