#ifndef TESTS_RECORD_LOG_H
#define TESTS_RECORD_LOG_H

#include <memory>
#include <vector>

#include "sample_records.h"
#include "ti_multi_observer.h"

/// The record's type code and the bytes of its memory.
template <class Record>
Bytes entryOf(Record const& record)
{
    Bytes entry = {RecordType<Record>::CODE};
    Bytes const bytes = bytesOf(record);
    entry.insert(entry.end(), bytes.begin(), bytes.end());
    return entry;
}

/// Observes all types and keeps an entry of every record, in the order of arrival.
class RecordLog : public TIMultiObserver<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>
{
public:
    void update(ImuData const& record) override { entries.push_back(entryOf(record)); }
    void update(GnssData const& record) override { entries.push_back(entryOf(record)); }
    void update(GnssPvt const& record) override { entries.push_back(entryOf(record)); }
    void update(AttitudeData const& record) override { entries.push_back(entryOf(record)); }
    void update(GenericData const& record) override { entries.push_back(entryOf(record)); }

    std::vector<Bytes> entries;
};

/// Subscribes the log to the records of one type.
template <class Record, class Observable>
void subscribeTo(Observable& observable, std::shared_ptr<RecordLog> const& log)
{
    observable.subscribe(std::shared_ptr<TIObserver<Record>>(log));
}

template <class Record, class Observable>
void unsubscribeFrom(Observable& observable, std::shared_ptr<RecordLog> const& log)
{
    observable.unsubscribe(std::shared_ptr<TIObserver<Record>>(log));
}

/// A log for each type, subscribed to nothing but that type.
template <class Observable>
std::vector<std::shared_ptr<RecordLog>> logsOfOneTypeEach(Observable& observable)
{
    std::vector<std::shared_ptr<RecordLog>> logs;
    for (int i = 0; i < 5; ++i)
        logs.push_back(std::make_shared<RecordLog>());
    subscribeTo<ImuData>(observable, logs[0]);
    subscribeTo<GnssData>(observable, logs[1]);
    subscribeTo<GnssPvt>(observable, logs[2]);
    subscribeTo<AttitudeData>(observable, logs[3]);
    subscribeTo<GenericData>(observable, logs[4]);
    return logs;
}

/// Expects that the sample of this type has reached its own log, once, and no other.
template <class Record>
void expectOnlyItsOwnLog(std::vector<std::shared_ptr<RecordLog>> const& logs)
{
    for (size_t i = 0; i < logs.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "log of type " << i + 1);
        std::vector<Bytes> expected;
        if (i + 1 == RecordType<Record>::CODE)
            expected.push_back(entryOf(Sample<Record>::RECORD));
        EXPECT_EQ(expected, logs[i]->entries);
    }
}

/// The entries that notifyAllSamples makes in a log subscribed `times` times to every type.
inline std::vector<Bytes> allSampleEntries(int times = 1)
{
    std::vector<Bytes> entries;
    forEachSample([&](auto sample) {
        entries.insert(entries.end(), static_cast<size_t>(times), entryOf(sample.RECORD));
    });
    return entries;
}

/// Notifies the observable's subscribers of the samples of all types.
template <class Observable>
void notifyAllSamples(Observable& observable)
{
    forEachSample([&](auto sample) { observable.notifySubscribers(sample.RECORD); });
}

#endif
