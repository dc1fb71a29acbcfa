#include <memory>

#include <gtest/gtest.h>

#include "playback_observable.h"
#include "record_log.h"
#include "ti_multi_observable.h"

namespace
{

template <class Record>
class PlaybackObservableTest : public testing::Test
{
protected:
    PlaybackObservable m_observable;
};

}

TYPED_TEST_SUITE(PlaybackObservableTest, AllRecords);

TYPED_TEST(PlaybackObservableTest, tellsOnlyTheObserversOfTheRecordsType)
{
    auto const logs = logsOfOneTypeEach(this->m_observable);

    this->m_observable.notifySubscribers(Sample<TypeParam>::RECORD);
    expectOnlyItsOwnLog<TypeParam>(logs);
}

TYPED_TEST(PlaybackObservableTest, unsubscribesFromOneTypeOnly)
{
    auto const logs = logsOfOneTypeEach(this->m_observable);

    for (auto const& log : logs)
        unsubscribeFrom<TypeParam>(this->m_observable, log);
    notifyAllSamples(this->m_observable);
    for (size_t i = 0; i < logs.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(i + 1 == RecordType<TypeParam>::CODE ? 0U : 1U, logs[i]->entries.size());
    }
}

TEST(PlaybackObservable, letsAnObserverOfSeveralTypesLiveAsOneObject)
{
    auto log = std::make_shared<RecordLog>();
    std::shared_ptr<TIObserver<ImuData>> const imu = log;
    std::shared_ptr<TIObserver<GenericData>> const generic = log;

    EXPECT_EQ(3, log.use_count());
    imu->update(Sample<ImuData>::RECORD);
    generic->update(Sample<GenericData>::RECORD);
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<ImuData>::RECORD),
                                  entryOf(Sample<GenericData>::RECORD)}),
              log->entries);
}

TEST(PlaybackObservable, leavesItsObserversAloneWhenDestroyed)
{
    auto const log = std::make_shared<RecordLog>();
    {
        PlaybackObservable observable;
        subscribeTo<GnssData>(observable, log);
        subscribeTo<GnssPvt>(observable, log);
        EXPECT_EQ(1, log.use_count());
    }
    EXPECT_EQ(1, log.use_count());
    EXPECT_TRUE(log->entries.empty());
}

TEST(PlaybackObservable, publishesThroughTheBaseOfATypeToo)
{
    PlaybackObservable observable;
    auto const log = std::make_shared<RecordLog>();
    TObservable<GnssPvt>& base = observable;

    base.subscribe(log);
    base.notifySubscribers(Sample<GnssPvt>::RECORD);
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<GnssPvt>::RECORD)}), log->entries);
}

TEST(TMultiObservable, servesFewerTypesAsWell)
{
    TMultiObservable<ImuData, GnssData, GnssPvt, GenericData> observable;
    auto const log = std::make_shared<RecordLog>();

    subscribeTo<ImuData>(observable, log);
    subscribeTo<GenericData>(observable, log);
    observable.notifySubscribers(Sample<GnssData>::RECORD);
    observable.notifySubscribers(Sample<GenericData>::RECORD);
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<GenericData>::RECORD)}), log->entries);
}
