#include "log_frames/scanner.h"

#include <algorithm>
#include <cstring>

// As far as a decision looks ahead: a candidate, one that overlaps it and the frame after that.
static constexpr size_t LOOK_AHEAD = 4 * LARGEST_FRAME;

static constexpr uint64_t NO_PLACE = UINT64_MAX;

namespace
{

/// The bytes from the place of a decision on. Those that are missing at its end are missing in the
/// source, too, as long as nothing more than LOOK_AHEAD away is asked for.
struct View
{
    unsigned char const* bytes;
    size_t size;

    View from(size_t at) const { return {bytes + at, size - at}; }
};

/// What follows a candidate, the best first.
enum class eFollower
{
    Frame,
    End,
    Other,
};

}

uint64_t framesAtMost(Damage const& damage)
{
    if (damage.isOneFrame || damage.length == 1)
        return 1;
    return 2 + (damage.length - 2) / SMALLEST_FRAME;
}

template <class Inner, class Outer>
static bool endsWithFrame(unsigned char const* bytes)
{
    if constexpr (FRAME_SIZE<Inner> < FRAME_SIZE<Outer>)
        return loadWord<uint64_t>(bytes + FRAME_SIZE<Outer> - FRAME_SIZE<Inner>) ==
               HEADER_WORD<Inner>;
    return false;
}

// Where in an otherwise intact frame a smaller frame starts that ends with it, 0 if there is none.
// Then the frame was cut off, and the footer belongs to the one after it: sizes that fit by chance
// are more likely than a payload that looks like a header at this very place.
template <class Record>
static size_t startOfFrameWithin(unsigned char const* bytes)
{
    if (endsWithFrame<GnssPvt, Record>(bytes))
        return FRAME_SIZE<Record> - FRAME_SIZE<GnssPvt>;
    if (endsWithFrame<ImuData, Record>(bytes))
        return FRAME_SIZE<Record> - FRAME_SIZE<ImuData>;
    if (endsWithFrame<AttitudeData, Record>(bytes))
        return FRAME_SIZE<Record> - FRAME_SIZE<AttitudeData>;
    if (endsWithFrame<GenericData, Record>(bytes))
        return FRAME_SIZE<Record> - FRAME_SIZE<GenericData>;
    return 0;
}

template <class Record>
static bool hasHeaderAndFooter(unsigned char const* bytes)
{
    return loadWord<uint64_t>(bytes) == HEADER_WORD<Record> &&
           isFooter(bytes + FRAME_SIZE<Record> - FOOTER_SIZE);
}

template <class Record>
static size_t intactFrameSizeOf(unsigned char const* bytes, size_t available)
{
    bool const isIntact = FRAME_SIZE<Record> <= available && hasHeaderAndFooter<Record>(bytes) &&
                          startOfFrameWithin<Record>(bytes) == 0;
    return isIntact ? FRAME_SIZE<Record> : 0;
}

// The size of the intact frame that starts here, 0 if there is none within the available bytes.
//
// The sizes are constants in branches, not looked up: a processor that predicts the branch need not
// wait for the frame's first byte to find the next frame.
static inline size_t intactFrameSize(unsigned char const* bytes, size_t available)
{
    if (available < SMALLEST_FRAME)
        return 0;
    switch (bytes[0]) {
    case RecordType<ImuData>::CODE:
        return intactFrameSizeOf<ImuData>(bytes, available);
    case RecordType<GnssData>::CODE:
        return intactFrameSizeOf<GnssData>(bytes, available);
    case RecordType<GnssPvt>::CODE:
        return intactFrameSizeOf<GnssPvt>(bytes, available);
    case RecordType<AttitudeData>::CODE:
        return intactFrameSizeOf<AttitudeData>(bytes, available);
    case RecordType<GenericData>::CODE:
        return intactFrameSizeOf<GenericData>(bytes, available);
    default:
        return 0;
    }
}

// The same question for a frame that is cut off by another one, which ends where it should.
static size_t startOfFrameWithin(View view)
{
    size_t start = 0;
    if (view.size >= SMALLEST_FRAME && isRecordCode(view.bytes[0]))
        visitRecordType(view.bytes[0] - size_t{1}, [&](auto record) {
            using Record = decltype(record);
            if (FRAME_SIZE<Record> <= view.size && hasHeaderAndFooter<Record>(view.bytes))
                start = startOfFrameWithin<Record>(view.bytes);
        });
    return start;
}

// Whether these bytes, the source's last ones, are the start of a frame that its end has cut off.
static bool isCutOffFrame(View view)
{
    if (view.size >= HEADER_SIZE)
        return frameSizeByHeader(view.bytes) > view.size;
    if (view.size == 0 || !isRecordCode(view.bytes[0]))
        return false;
    uint64_t const header = HEADER_WORDS[view.bytes[0] - 1U];
    return memcmp(view.bytes, &header, view.size) == 0;
}

static eFollower followerOf(View view, size_t frameSize)
{
    View const rest = view.from(frameSize);
    if (intactFrameSize(rest.bytes, rest.size) != 0)
        return eFollower::Frame;
    return rest.size == 0 || isCutOffFrame(rest) ? eFollower::End : eFollower::Other;
}

// What all headers have in common, in one comparison: most bytes of a damaged region fail it.
static bool mayBeHeader(unsigned char const* bytes)
{
    static constexpr uint64_t MASK = 0xFFFFFFFFFF00FF00; // without type and low byte of length
    static_assert((HEADER_WORD<ImuData> & MASK) == (HEADER_WORD<GnssData> & MASK));
    return (loadWord<uint64_t>(bytes) & MASK) == (HEADER_WORD<ImuData> & MASK);
}

// Whether a frame seems to start here, intact or not, or the source ends.
static bool isBoundary(View view)
{
    if (view.size == 0 || replayedFrameSize(view.bytes, view.size) != 0)
        return true;
    return view.size >= HEADER_SIZE ? frameSizeByHeader(view.bytes) != 0 : isCutOffFrame(view);
}

// How much of its place the damaged frame that starts here still fills: all of it, or all up to
// where the end of the source or the next frame cuts it off. 0 if that cannot be told.
static size_t damagedFrameSize(View view)
{
    if (isCutOffFrame(view))
        return view.size;
    if (size_t const start = startOfFrameWithin(view))
        return start;

    size_t const byHeader = view.size >= HEADER_SIZE ? frameSizeByHeader(view.bytes) : 0;
    if (byHeader != 0 && byHeader <= view.size && isBoundary(view.from(byHeader)))
        return byHeader;

    size_t smallest = 0;
    for (size_t const size : FRAME_SIZES) {
        bool const isShorter = smallest == 0 || size < smallest;
        if (isShorter && size <= view.size && isFooter(view.bytes + size - FOOTER_SIZE) &&
            isBoundary(view.from(size)))
            smallest = size;
    }
    return smallest;
}

static void setReason(Damage& damage, eDamage reason, size_t expected, size_t found)
{
    damage.reason = reason;
    damage.expected = static_cast<uint32_t>(expected);
    damage.found = static_cast<uint32_t>(found);
}

// Finds the first thing in the frame that does not fit. `view` starts with no intact frame.
static void explain(View view, Damage& damage)
{
    FrameHeader header = {};
    memcpy(&header, view.bytes, std::min(view.size, sizeof header));

    if (!isRecordCode(header.type))
        return setReason(damage, eDamage::Type, 0, header.type);
    size_t const size = FRAME_SIZES[header.type - 1U];
    if (isCutOffFrame(view))
        return setReason(damage, eDamage::CutOff, size, view.size);
    if (size_t const start = startOfFrameWithin(view))
        return setReason(damage, eDamage::CutOff, size, start);
    if (header.version != FRAME_VERSION)
        return setReason(damage, eDamage::Version, FRAME_VERSION, header.version);
    if (header.length != size - FOOTER_SIZE)
        return setReason(damage, eDamage::Length, size - FOOTER_SIZE, header.length);
    if (header.reserved != 0)
        return setReason(damage, eDamage::Reserved, 0, header.reserved);
    setReason(damage, eDamage::Footer, FRAME_FOOTER,
              loadWord<uint32_t>(view.bytes + size - FOOTER_SIZE));
}

// The better of this candidate and those that overlap it; never worse than the first one.
// `boundary` is where a damaged frame ends that fills its place; beyond all of them without one.
static size_t bestCandidate(View view, size_t first, uint64_t boundary)
{
    size_t best = first;
    size_t bestEnd = first + intactFrameSize(view.bytes + first, view.size - first);
    eFollower bestFollower = followerOf(view.from(first), bestEnd - first);

    for (size_t at = first + 1; at < bestEnd; ++at) {
        size_t const size = intactFrameSize(view.bytes + at, view.size - at);
        if (size == 0)
            continue;
        eFollower const follower = followerOf(view.from(at), size);
        if (follower < bestFollower || (follower == bestFollower && at == boundary)) {
            best = at;
            bestEnd = at + size;
            bestFollower = follower;
        }
    }
    return best;
}

void Scanner::skip(size_t count)
{
    m_log.skip(count);
    m_offset += count;
}

std::optional<Scanner::Event> Scanner::next()
{
    m_log.require(LOOK_AHEAD);
    if (m_log.available() == 0)
        return std::nullopt;
    if (auto const stretch = takeFrames())
        return *stretch;
    return takeDamage();
}

std::optional<Stretch> Scanner::takeFrames()
{
    unsigned char const* const begin = m_log.bytes();
    unsigned char const* const end = begin + m_log.available();
    unsigned char const* p = begin;
    unsigned char const* last = begin;
    uint64_t count = 0;

    while (size_t const size = intactFrameSize(p, static_cast<size_t>(end - p))) {
        last = p;
        ++count;
        p += size;
    }
    if (count == 0)
        return std::nullopt;

    Stretch const stretch = {m_offset, count, Frame(last), FrameRange(begin, p)};
    skip(stretch.frames.size());
    return stretch;
}

Damage Scanner::takeDamage()
{
    View const view = {m_log.bytes(), m_log.available()};
    Damage damage = {};
    damage.offset = m_offset;
    explain(view, damage);

    size_t const place = damagedFrameSize(view);
    size_t const replayed = replayedFrameSize(view.bytes, view.size);
    size_t const whole = view.size >= HEADER_SIZE ? frameSizeByHeader(view.bytes) : 0;

    skipToNextFrame(place == 0 ? NO_PLACE : m_offset + place); // view is not valid any more
    damage.length = m_offset - damage.offset;
    damage.isOneFrame = damage.length == place;
    damage.endsReplay = replayed < damage.length;
    bool const isHeaderRight = damage.reason == eDamage::Footer || damage.reason == eDamage::CutOff;
    if (isHeaderRight && damage.length < whole)
        setReason(damage, eDamage::CutOff, whole, static_cast<size_t>(damage.length));
    return damage;
}

void Scanner::skipToNextFrame(uint64_t placeEnd)
{
    bool isFound = false;
    while (!isFound && m_offset != placeEnd) {
        m_log.require(LOOK_AHEAD);
        if (m_log.available() == 0)
            return;
        isFound = skipWithinBuffer(placeEnd);
    }
}

// Goes on to the next frame that counts, to the end of the place or to where more bytes are needed
// to decide. Returns whether it is a frame.
bool Scanner::skipWithinBuffer(uint64_t placeEnd)
{
    View const view = {m_log.bytes(), m_log.available()};
    uint64_t const leftOfPlace = placeEnd - m_offset; // huge without a place
    size_t const decidable = m_log.isAtEnd() ? view.size : view.size - LOOK_AHEAD + 1;
    size_t const end = static_cast<size_t>(std::min<uint64_t>(decidable, leftOfPlace));

    for (size_t at = 0; at < end; ++at) {
        if (view.size - at < SMALLEST_FRAME || !mayBeHeader(view.bytes + at) ||
            intactFrameSize(view.bytes + at, view.size - at) == 0)
            continue;
        size_t const best = bestCandidate(view, at, leftOfPlace);
        View const frame = view.from(best);
        if (placeEnd != NO_PLACE && best < leftOfPlace &&
            followerOf(frame, intactFrameSize(frame.bytes, frame.size)) == eFollower::Other)
            continue;
        skip(static_cast<size_t>(std::min<uint64_t>(best, leftOfPlace)));
        return true;
    }
    skip(end);
    return false;
}
