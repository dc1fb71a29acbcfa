#ifndef DEVICE_SIM_RECEIVER_H
#define DEVICE_SIM_RECEIVER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "device_sim/expected_log.h"
#include "record_list.h"

/// How early (negative) or late records came, in ms. The first record counts as on time.
struct Lateness
{
    double min;
    double median;
    double percentile99;
    double max;
};

struct Received
{
    uint64_t count = 0;
    std::optional<uint64_t> missing;    // with an expected log only
    std::optional<uint64_t> unexpected; // with an expected log only
    uint64_t outOfOrder = 0; // against the expected log, without one against the latest time stamp
    std::optional<Lateness> lateness; // of at least one record
};

struct ReceivedReport
{
    PerType<Received> types;
    Received total;
    std::optional<Lateness> firstTenth; // of all records in the order of arrival
    std::optional<Lateness> lastTenth;
    uint64_t hellos = 0;
    uint64_t other = 0;     // neither a hello nor exactly a record's datagram
    uint64_t overflows = 0; // came in and were lost here

    /// Whether the expected log came: complete, in order and nothing else.
    bool isAsExpected() const;
};

/// Keeps the statistics of what a replay sends to the device, a few bytes per datagram.
class Receiver
{
public:
    /// Without an expected log contents are not compared.
    explicit Receiver(std::optional<RecordSequence> expected);

    /// `time` is in ns of any one clock.
    void received(unsigned char const* data, size_t size, int64_t time);
    void receivedHello() { ++m_hellos; }
    void setOverflows(uint32_t overflows) { m_overflows = overflows; }

    /// Counts all datagrams except hellos.
    uint64_t datagrams() const { return m_datagrams; }

    ReceivedReport report() const;

private:
    // The order by time stamps, of all records or of one type.
    struct StampOrder
    {
        bool hasLatest = false;
        uint32_t latest = 0;
        uint64_t outOfOrder = 0;

        void add(uint32_t stamp);
    };

    void receivedRecord(size_t index, uint32_t stamp, int64_t time);

    std::optional<RecordSequence> m_expected;
    RecordSequence m_received; // filled only with an expected log
    uint64_t m_datagrams = 0;
    uint64_t m_other = 0;
    uint64_t m_hellos = 0;
    uint64_t m_overflows = 0;

    bool m_hasFirst = false;
    uint32_t m_firstStamp = 0;
    int64_t m_firstTime = 0;
    std::vector<int32_t> m_lateness;                // us, in the order of arrival
    PerType<std::vector<int32_t>> m_latenessOfType; // us
    StampOrder m_order;
    PerType<StampOrder> m_orderOfType;
};

#endif
