#include "log_kit/time_shift.h"

#include <cstdlib>
#include <map>
#include <optional>

#include "log_kit/stamps.h"
#include "log_kit/timed_frames.h"
#include "log_kit/utc_clock.h"

namespace
{

/// A sample of what is in a log: its records with the smallest hashes. Logs that share records
/// share many of these, wherever they are in the logs, and the sample has the same size for any
/// log.
class Sample
{
public:
    struct Place
    {
        int64_t time;
        bool isUnique; // no other record of the log has the same content
    };

    void add(uint64_t hash, int64_t time)
    {
        if (m_places.size() == SIZE && hash > m_places.rbegin()->first)
            return;
        auto const [place, isNew] = m_places.try_emplace(hash, Place{time, true});
        if (!isNew)
            place->second.isUnique = false;
        if (m_places.size() > SIZE)
            m_places.erase(std::prev(m_places.end()));
    }

    std::map<uint64_t, Place> const& places() const { return m_places; }

private:
    static constexpr size_t SIZE = 4096;

    std::map<uint64_t, Place> m_places; // by hash
};

struct Survey
{
    Sample sample;
    UtcClock clock;
    std::optional<int64_t> first;
    int64_t latest = 0;
};

}

// Of all but the stamps.
static uint64_t contentHash(Frame frame)
{
    FrameCopy copy(frame);
    clearStamps(copy);
    uint64_t hash = frame.index();
    size_t const words = (frame.size() - HEADER_SIZE - FOOTER_SIZE) / sizeof(uint32_t);
    for (size_t i = 0; i < words; ++i) {
        hash = (hash ^ copy.word<uint32_t>(i * sizeof(uint32_t))) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 32;
    }
    return hash;
}

static Survey survey(std::string const& file, Progress& progress)
{
    TimedFrames frames(file);
    progress.start(file, frames.input().size());
    Survey survey;
    while (auto const timed = frames.next()) {
        progress.at(frames.offset());
        if (!timed->hasTime)
            continue;
        survey.sample.add(contentHash(timed->frame), timed->time);
        survey.clock.add(timed->frame, timed->time);
        if (!survey.first)
            survey.first = survey.latest = timed->time;
        survey.latest = std::max(survey.latest, timed->time);
    }
    return survey;
}

// The shift that most records of both samples show; nothing if it is not most of them.
static std::optional<int64_t> shiftByContent(Sample const& a, Sample const& b)
{
    std::map<int64_t, size_t> votes;
    size_t total = 0;
    for (auto const& [hash, place] : a.places()) {
        auto const other = b.places().find(hash);
        if (!place.isUnique || other == b.places().end() || !other->second.isUnique)
            continue;
        ++votes[other->second.time - place.time];
        ++total;
    }
    for (auto const& [shift, count] : votes)
        if (2 * count > total)
            return shift;
    return std::nullopt;
}

TimeShift findTimeShift(std::string const& a, std::string const& b, Progress& progress)
{
    Survey const ofA = survey(a, progress);
    Survey const ofB = survey(b, progress);
    if (auto const shift = shiftByContent(ofA.sample, ofB.sample))
        return {*shift, eShiftSource::Content};
    if (ofA.clock.isSet() && ofB.clock.isSet())
        return {*ofB.clock.timeOf(0) - *ofA.clock.timeOf(0), eShiftSource::Utc};
    if (!ofA.first || !ofB.first || (*ofA.first <= ofB.latest && *ofB.first <= ofA.latest))
        return {0, eShiftSource::Overlap};
    return {*ofB.first - *ofA.first, eShiftSource::Start};
}
