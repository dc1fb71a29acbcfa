#include "subscribe_all.h"

#include <memory>

#include <gtest/gtest.h>

#include "allocations.h"
#include "i_data_reader.h"
#include "playback_observable.h"
#include "record_log.h"
#include "ti_multi_observer.h"

namespace
{

/// Notes the type codes of the calls made on it and whether each got an observer.
struct CallSequence
{
    template <class Record>
    void subscribe(std::shared_ptr<TIObserver<Record>> const& observer)
    {
        subscribed.push_back(RecordType<Record>::CODE);
        gotObserver = gotObserver && observer;
    }
    template <class Record>
    void unsubscribe(std::shared_ptr<TIObserver<Record>> const& observer)
    {
        unsubscribed.push_back(RecordType<Record>::CODE);
        gotObserver = gotObserver && observer;
    }

    Bytes subscribed;
    Bytes unsubscribed;
    bool gotObserver = true;
};

/// Observes in silence, and takes no memory for it.
class SilentObserver : public TIMultiObserver<GenericData, AttitudeData, ImuData, GnssPvt, GnssData>
{
public:
    void update(GenericData const&) override {}
    void update(AttitudeData const&) override {}
    void update(ImuData const&) override {}
    void update(GnssPvt const&) override {}
    void update(GnssData const&) override {}
};

class SubscribeAllTest : public testing::Test
{
protected:
    /// What a notification takes to call one observer tells how many entries there are with it.
    void expectNoEntryLeft()
    {
        auto const only = std::make_shared<SilentObserver>();
        subscribe_all(only, m_observable);
        unsigned const before = allocationCount(2 * sizeof only);
        notifyAllSamples(*m_observable);
        EXPECT_EQ(before, allocationCount(2 * sizeof only)) << "an entry is left";
    }

    std::shared_ptr<PlaybackObservable> m_observable = std::make_shared<PlaybackObservable>();
    std::shared_ptr<RecordLog> m_log = std::make_shared<RecordLog>();
};

}

// GenericData, AttitudeData, ImuData, GnssData, GnssPvt
static Bytes const CALL_ORDER = {5, 4, 1, 2, 3};

TEST_F(SubscribeAllTest, linksAllTypesInAFixedOrder)
{
    auto const calls = std::make_shared<CallSequence>();

    subscribe_all(m_log, calls);
    EXPECT_EQ(CALL_ORDER, calls->subscribed);
    EXPECT_EQ(Bytes(), calls->unsubscribed);
    EXPECT_TRUE(calls->gotObserver);
    EXPECT_EQ(1, m_log.use_count());
}

TEST_F(SubscribeAllTest, unlinksAllTypesInTheSameOrder)
{
    auto const calls = std::make_shared<CallSequence>();

    unsubscribe_all(m_log, calls);
    EXPECT_EQ(CALL_ORDER, calls->unsubscribed);
    EXPECT_EQ(Bytes(), calls->subscribed);
    EXPECT_TRUE(calls->gotObserver);
    EXPECT_EQ(1, m_log.use_count());
}

TEST_F(SubscribeAllTest, deliversEachTypeToItsUpdateOnce)
{
    subscribe_all(m_log, m_observable);
    notifyAllSamples(*m_observable);
    EXPECT_EQ(allSampleEntries(), m_log->entries);
}

TEST_F(SubscribeAllTest, deliversTwiceAfterTwoCallsUntilOneUnsubscription)
{
    subscribe_all(m_log, m_observable);
    subscribe_all(m_log, m_observable);
    notifyAllSamples(*m_observable);
    EXPECT_EQ(allSampleEntries(2), m_log->entries);

    unsubscribe_all(m_log, m_observable);
    m_log->entries.clear();
    notifyAllSamples(*m_observable);
    EXPECT_TRUE(m_log->entries.empty());
}

TEST_F(SubscribeAllTest, changesNothingWhenAStrangerIsUnsubscribed)
{
    subscribe_all(m_log, m_observable);
    unsubscribe_all(std::make_shared<RecordLog>(), m_observable);
    notifyAllSamples(*m_observable);
    EXPECT_EQ(allSampleEntries(), m_log->entries);
}

TEST_F(SubscribeAllTest, endsWithTheObserver)
{
    std::weak_ptr<RecordLog> const life = m_log;

    subscribe_all(m_log, m_observable);
    m_log.reset();
    EXPECT_TRUE(life.expired());

    notifyAllSamples(*m_observable);
    expectNoEntryLeft();
}

TEST_F(SubscribeAllTest, leavesEntriesOfNoObserverToTheNextRecords)
{
    subscribe_all(std::shared_ptr<RecordLog>(), m_observable);
    notifyAllSamples(*m_observable);
    expectNoEntryLeft();
}
