#ifndef LOG_FRAMES_SCANNER_H
#define LOG_FRAMES_SCANNER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>

#include "log_frames/frame.h"
#include "log_frames/look_ahead.h"

/// Intact frames back to back: as many as lie in the scanner's buffer.
struct Stretch
{
    uint64_t offset;   // of the first one, in the source
    uint64_t count;    // of frames, at least 1
    Frame last;        // the last one of them
    FrameRange frames; // like `last` valid until the scanner's next()
};

/// What is wrong at the start of a damaged region: the first thing that does not fit.
enum class eDamage
{
    Type,     // an unknown type code
    Version,  // not FRAME_VERSION
    Length,   // not the one of the type
    Reserved, // not 0
    Footer,   // not FRAME_FOOTER
    CutOff,   // the source ends within the frame, or the next frame starts
};

/// A region that belongs to no intact frame.
struct Damage
{
    uint64_t offset; // in the source
    uint64_t length; // at least 1
    eDamage reason;
    uint32_t expected; // the value that belongs there, with CutOff the frame's size; 0 with Type
    uint32_t found;    // the value that stands there, with CutOff the bytes that are left
    bool isOneFrame;   // a single frame that still fills its place, or whose end is cut off
    bool endsReplay;   // log_tool -r stops here; it looks at neither length nor reserved
};

/// How many frames can have left their bytes in the region, at most: the end of one, whole ones of
/// the smallest size, the start of one.
uint64_t framesAtMost(Damage const& damage);

/// Reads a log of any length, intact or not, in one pass and constant memory: it yields stretches
/// of intact frames and the damaged regions between them, which together are the whole source. It
/// never changes or prints anything.
///
/// A frame is intact when its header and footer are: twelve constant bytes for each type. An intact
/// frame is skipped whole, whatever its payload looks like, with one exception: if a smaller
/// frame's header stands in it just where that frame would end with it, it was cut off, and the
/// smaller frame counts instead.
///
/// After damage, the next frame is looked for byte by byte, and since a damaged frame's payload may
/// look like a frame:
///
/// - Of candidates that overlap, the best one counts: one that is followed by a frame before one
///   that is followed by the end of the source, that one before any other, the first of equals.
/// - If the damaged frame still fills its place (its header or its footer is right, and after it a
///   frame starts or the source ends), a candidate within it counts only if it is followed by a
///   frame or the end.
///
/// Undecidable, and taken for frames: several frames back to back, or one that ends with the
/// damaged frame, in the payload of a damaged frame; and the start of one frame with the end of
/// another, when a cut between them leaves just the size of the first.
class Scanner
{
public:
    using Event = std::variant<Stretch, Damage>;

    /// Reads from `source`, which must outlive this, in the order of its bytes.
    explicit Scanner(IByteSource& source) : m_log(source) {}

    /// The next stretch or damage, nothing at the end of the source. Throws what the source throws.
    std::optional<Event> next();

    /// How many bytes of the source the events so far have covered.
    uint64_t offset() const { return m_offset; }

private:
    void skip(size_t count);
    std::optional<Stretch> takeFrames();
    Damage takeDamage();
    void skipToNextFrame(uint64_t placeEnd);
    bool skipWithinBuffer(uint64_t placeEnd);

    LookAhead m_log;
    uint64_t m_offset = 0; // of m_log's first byte in the source
};

#endif
