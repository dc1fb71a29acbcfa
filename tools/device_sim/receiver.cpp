#include "device_sim/receiver.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "device_sim/comparison.h"
#include "device_sim/simulation_time.h"
#include "packet_codec.h"

static int64_t stampDifference(uint32_t later, uint32_t earlier)
{
    return static_cast<int32_t>(later - earlier); // the device's counter wraps
}

Receiver::Receiver(std::optional<RecordSequence> expected) : m_expected(std::move(expected)) {}

void Receiver::StampOrder::add(uint32_t stamp)
{
    if (hasLatest && stampDifference(stamp, latest) < 0) {
        ++outOfOrder;
        return;
    }
    hasLatest = true;
    latest = stamp;
}

void Receiver::received(unsigned char const* data, size_t size, int64_t time)
{
    ++m_datagrams;

    bool isRecord = false;
    visitRecordType(size == 0 ? RECORD_TYPE_COUNT : data[0] - size_t{1}, [&](auto record) {
        using Record = decltype(record);
        if (size != packetSize<Record>())
            return;
        // Encoding the decoded record again checks the header and the flags, too.
        record = decodePacket<Record>(data);
        if (memcmp(encodePacket(record).data(), data, size) != 0)
            return;
        isRecord = true;
        receivedRecord(INDEX_OF<Record>, ticksOf(record), time);
        if (m_expected)
            m_received.add(INDEX_OF<Record>, data, size);
    });
    if (!isRecord)
        ++m_other;
}

void Receiver::receivedRecord(size_t index, uint32_t stamp, int64_t time)
{
    if (!m_hasFirst) {
        m_hasFirst = true;
        m_firstStamp = stamp;
        m_firstTime = time;
    }
    int64_t const due = stampDifference(stamp, m_firstStamp) * NS_PER_MS;
    int64_t const lateness = (time - m_firstTime - due) / NS_PER_US;

    using Limits = std::numeric_limits<int32_t>;
    auto const value =
        static_cast<int32_t>(std::clamp(lateness, int64_t{Limits::min()}, int64_t{Limits::max()}));
    m_lateness.push_back(value);
    m_latenessOfType[index].push_back(value);
    m_order.add(stamp);
    m_orderOfType[index].add(stamp);
}

static std::optional<Lateness> summarise(std::vector<int32_t> values)
{
    static constexpr double US_PER_MS = 1000.0;

    if (values.empty())
        return std::nullopt;
    std::sort(values.begin(), values.end());
    auto const ranked = [&](size_t percent) {
        return values[(values.size() - 1) * percent / 100] / US_PER_MS;
    };
    return Lateness{ranked(0), ranked(50), ranked(99), ranked(100)};
}

static void addDifferences(Received& received, Differences const& differences)
{
    received.missing = differences.missing;
    received.unexpected = differences.unexpected;
    received.outOfOrder = differences.outOfOrder;
}

ReceivedReport Receiver::report() const
{
    ReceivedReport report;
    report.hellos = m_hellos;
    report.other = m_other;
    report.overflows = m_overflows;

    for (size_t i = 0; i < RECORD_TYPE_COUNT; ++i) {
        report.types[i].count = m_latenessOfType[i].size();
        report.types[i].outOfOrder = m_orderOfType[i].outOfOrder;
        report.types[i].lateness = summarise(m_latenessOfType[i]);
    }
    report.total.count = m_lateness.size();
    report.total.outOfOrder = m_order.outOfOrder;
    report.total.lateness = summarise(m_lateness);

    auto const tenth = static_cast<ptrdiff_t>((m_lateness.size() + 9) / 10);
    report.firstTenth = summarise({m_lateness.begin(), m_lateness.begin() + tenth});
    report.lastTenth = summarise({m_lateness.end() - tenth, m_lateness.end()});

    if (m_expected) {
        Comparison const comparison = compare(*m_expected, m_received);
        for (size_t i = 0; i < RECORD_TYPE_COUNT; ++i)
            addDifferences(report.types[i], comparison.types[i]);
        addDifferences(report.total, comparison.total);
    }
    return report;
}

bool ReceivedReport::isAsExpected() const
{
    return total.missing.value_or(0) == 0 && total.unexpected.value_or(0) == 0 &&
           total.outOfOrder == 0 && other == 0;
}
