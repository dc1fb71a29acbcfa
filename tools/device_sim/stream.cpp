#include "device_sim/stream.h"

#include <algorithm>
#include <utility>

#include "device_sim/random.h"
#include "packet_codec.h"

Stream::Stream(Settings const& settings)
    : m_settings(settings),
      m_vehicle(settings.vehicle),
      m_schedule(settings.schedule)
{}

std::optional<DueRecord> Stream::next()
{
    if (m_window.empty())
        fillWindow();
    if (m_window.empty())
        return std::nullopt;

    DueRecord const record = m_window.front();
    m_window.pop_front();
    ++m_given;
    return record;
}

void Stream::seek(int64_t time, uint64_t sent)
{
    m_window.clear();
    m_schedule.seek(time);
    m_given = sent;
}

void Stream::fillWindow()
{
    uint64_t const size = std::min(m_settings.shuffle, m_settings.count - m_given);

    while (m_window.size() < size) {
        Schedule::Slot const slot = m_schedule.next();
        if (slot.due >= m_settings.duration)
            break;
        visitRecordType(slot.index, [&](auto record) {
            m_vehicle.measure(slot.due, record);
            m_window.push_back({slot.due, slot.index, Datagram::of(encodePacket(record))});
        });
    }
    shuffleWindow();
}

void Stream::shuffleWindow()
{
    for (size_t i = m_window.size(); i > 1; --i) {
        auto const time = static_cast<uint64_t>(m_window[i - 1].due);
        uint64_t const other = mix(mix(m_settings.vehicle.seed ^ i) ^ time) % i;
        std::swap(m_window[i - 1], m_window[static_cast<size_t>(other)]);
    }

    // Records leave out of order by being late: none leaves before it is measured.
    int64_t due = 0;
    for (auto& record : m_window)
        record.due = due = std::max(due, record.due);
}
