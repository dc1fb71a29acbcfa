#ifndef LOG_FRAMES_FRAME_H
#define LOG_FRAMES_FRAME_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "log_frames/frame_layout.h"

inline void makeValid(AttitudeData& record)
{
    normalizeFlags(record);
}
template <class Record>
void makeValid(Record&)
{}

/// An intact frame where it lies in somebody's memory; as long as that is valid, so is this.
class Frame
{
public:
    explicit Frame(unsigned char const* bytes) : m_bytes(bytes) {}

    /// In the list of record types.
    size_t index() const { return m_bytes[0] - size_t{1}; }
    unsigned char const* bytes() const { return m_bytes; }
    size_t size() const { return FRAME_SIZES[index()]; }
    unsigned char const* payload() const { return m_bytes + HEADER_SIZE; }

    template <class Record>
    bool holds() const
    {
        return index() == INDEX_OF<Record>;
    }

    /// The record, if holds<Record>(). Its flags are valid whatever the bytes are.
    template <class Record>
    Record record() const
    {
        Record record;
        memcpy(&record, payload(), sizeof record);
        makeValid(record);
        return record;
    }

    /// The record's time stamp, by which it is paced.
    uint32_t ticks() const
    {
        if (!holds<GnssData>())
            return loadWord<uint32_t>(payload());
        return std::max(loadWord<uint32_t>(payload() + offsetof(GnssData, pvt)),
                        loadWord<uint32_t>(payload() + offsetof(GnssData, dop)));
    }

private:
    unsigned char const* m_bytes;
};

/// Intact frames back to back, to visit with a range for.
class FrameRange
{
public:
    class Iterator
    {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Frame;
        using difference_type = ptrdiff_t;
        using pointer = void;
        using reference = Frame;

        explicit Iterator(unsigned char const* bytes) : m_bytes(bytes) {}

        Frame operator*() const { return Frame(m_bytes); }
        Iterator& operator++()
        {
            m_bytes += Frame(m_bytes).size();
            return *this;
        }
        bool operator==(Iterator const& other) const { return m_bytes == other.m_bytes; }
        bool operator!=(Iterator const& other) const { return m_bytes != other.m_bytes; }

    private:
        unsigned char const* m_bytes;
    };

    FrameRange(unsigned char const* begin, unsigned char const* end) : m_begin(begin), m_end(end) {}

    Iterator begin() const { return Iterator(m_begin); }
    Iterator end() const { return Iterator(m_end); }
    unsigned char const* bytes() const { return m_begin; }
    size_t size() const { return static_cast<size_t>(m_end - m_begin); } // in bytes

private:
    unsigned char const* m_begin;
    unsigned char const* m_end;
};

#endif
