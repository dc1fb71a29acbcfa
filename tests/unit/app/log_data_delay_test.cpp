#include "log_data_delay.h"

#include <deque>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "allocations.h"
#include "record_log.h"
#include "scoped_loop.h"
#include "stepped_clock.h"
#include "subscribe_all.h"
#include "system_doubles.h"
#include "tt_time.h"

static constexpr uint32_t START_MS = 1000;

namespace
{

/// A time and the stamp of the record that was passed on at it, both since the first.
using Delivery = std::pair<uint32_t, uint32_t>;

/// A delay on a stepped clock, and a log of what it passes on.
template <class Record>
class LogDataDelayTest : public testing::Test
{
protected:
    LogDataDelayTest() { makeDelay(); }

    /// Makes a new delay in place of the one before.
    void makeDelay()
    {
        m_delay = std::make_shared<LogDataDelay>(m_loop);
        m_delay->m_onSent = [this] { ++m_sent; };
        subscribe_all(m_log, m_delay);
    }

    void advance(uint32_t ms) { m_clock->advance(m_loop, ms); }

    void update(uint32_t ticks) { m_delay->update(GenericData{ticks, {}}); }

    /// Starts the schedule with a record of this stamp, and forgets it.
    void startAt(uint32_t ticks)
    {
        update(ticks);
        m_log->entries.clear();
        m_sent = 0;
    }

    /// Expects that the stamped record is passed on after exactly `ms` milliseconds.
    void expectAfter(uint32_t ms)
    {
        advance(ms - 1);
        EXPECT_EQ(0, m_sent) << "early";
        advance(1);
        EXPECT_EQ(1, m_sent) << "late";
    }

    ScopedLoop m_loop;
    std::optional<SteppedClock> m_clock{START_MS};
    std::shared_ptr<LogDataDelay> m_delay;
    std::shared_ptr<RecordLog> m_log = std::make_shared<RecordLog>();
    int m_sent = 0;
};

class GenericDelay : public LogDataDelayTest<GenericData>
{
protected:
    /// Lets the delay ask for record after record, and notes when it passes each on.
    std::vector<Delivery>& feed(std::vector<uint32_t> const& stamps)
    {
        m_pending.assign(stamps.begin(), stamps.end());
        m_feedStartMs = tt_time_ms();
        m_delay->m_onSent = [this, first = stamps[0]] {
            m_deliveries.emplace_back(tt_time_ms() - m_feedStartMs, m_asked - first);
            EXPECT_EQ(m_deliveries.size(), m_log->entries.size()) << "asked before passed on";
            next();
        };
        next();
        return m_deliveries;
    }

private:
    void next()
    {
        if (m_pending.empty())
            return;
        m_asked = m_pending.front();
        m_pending.pop_front();
        update(m_asked);
    }

    std::deque<uint32_t> m_pending;
    uint32_t m_asked = 0;
    uint32_t m_feedStartMs = 0;
    std::vector<Delivery> m_deliveries;
};

}

TYPED_TEST_SUITE(LogDataDelayTest, AllRecords);

TYPED_TEST(LogDataDelayTest, passesTheFirstRecordOnAtOnce)
{
    auto const logs = logsOfOneTypeEach(*this->m_delay);
    this->m_delay->update(Sample<TypeParam>::RECORD);
    expectOnlyItsOwnLog<TypeParam>(logs);
    EXPECT_EQ(1, this->m_sent);
    EXPECT_EQ(0U, timerCount(this->m_loop));
}

TYPED_TEST(LogDataDelayTest, holdsARecordUntilItsTime)
{
    this->startAt(ticksOf(Sample<TypeParam>::RECORD) - 250);
    auto const logs = logsOfOneTypeEach(*this->m_delay);

    TypeParam record = Sample<TypeParam>::RECORD;
    this->m_delay->update(record);
    record = {}; // the delay holds a copy
    this->expectAfter(250);
    expectOnlyItsOwnLog<TypeParam>(logs);

    this->advance(100000);
    EXPECT_EQ(1, this->m_sent) << "passed on again";
    EXPECT_EQ(0U, timerCount(this->m_loop));
}

TYPED_TEST(LogDataDelayTest, takesTheFirstRecordsStampForTheStart)
{
    this->m_delay->update(Sample<TypeParam>::RECORD);
    this->m_sent = 0;
    this->update(ticksOf(Sample<TypeParam>::RECORD) + 250);
    this->expectAfter(250);
}

TYPED_TEST(LogDataDelayTest, unsubscribesFromTheType)
{
    unsubscribeFrom<TypeParam>(*this->m_delay, this->m_log);
    this->m_delay->update(Sample<TypeParam>::RECORD);
    EXPECT_TRUE(this->m_log->entries.empty());
    EXPECT_EQ(1, this->m_sent);
}

TYPED_TEST(LogDataDelayTest, dropsTheHeldRecordAtItsEnd)
{
    this->startAt(ticksOf(Sample<TypeParam>::RECORD) - 250);
    this->m_delay->update(Sample<TypeParam>::RECORD);
    EXPECT_EQ(1U, timerCount(this->m_loop));

    this->m_delay.reset();
    EXPECT_EQ(0U, timerCount(this->m_loop));
    this->advance(250);
    EXPECT_TRUE(this->m_log->entries.empty());
    EXPECT_EQ(0, this->m_sent);
}

TYPED_TEST(LogDataDelayTest, throwsRatherThanWaitForeverWithoutMemory)
{
    this->startAt(0);

    NoMemory const noMemory;
    EXPECT_THROW(this->update(1), std::bad_alloc);
}

TYPED_TEST(LogDataDelayTest, needsNobodyToAskForTheNextRecord)
{
    this->m_delay->m_onSent = {};
    this->update(ticksOf(Sample<TypeParam>::RECORD) - 250);
    this->m_delay->update(Sample<TypeParam>::RECORD);
    this->advance(250);
    EXPECT_EQ(2U, this->m_log->entries.size());
}

TEST_F(GenericDelay, passesRecordsOfOneStampOnAtOnceInTheirOrder)
{
    std::vector<Bytes> expected;
    for (uint32_t i = 0; i < 5; ++i) {
        GenericData const record = {7, {i, 0}};
        expected.push_back(entryOf(record));
        m_delay->update(record);
    }
    EXPECT_EQ(expected, m_log->entries);
    EXPECT_EQ(5, m_sent);
}

TEST_F(GenericDelay, keepsTheDistanceOfEachRecordFromTheFirst)
{
    auto const& deliveries = feed({5000, 5100, 5100, 6000, 6001});
    EXPECT_EQ((std::vector<Delivery>{{0, 0}}), deliveries);
    for (int i = 0; i < 1001; ++i)
        advance(1);
    EXPECT_EQ((std::vector<Delivery>{{0, 0}, {100, 100}, {100, 100}, {1000, 1000}, {1001, 1001}}),
              deliveries);
}

TEST_F(GenericDelay, takesTheScheduleUpAgainAfterALateRecord)
{
    auto const& deliveries = feed({0, 100, 200, 300});
    advance(150);
    advance(49);
    EXPECT_EQ((std::vector<Delivery>{{0, 0}, {150, 100}}), deliveries);
    advance(1);
    advance(99);
    EXPECT_EQ((std::vector<Delivery>{{0, 0}, {150, 100}, {200, 200}}), deliveries);
    advance(1);
    EXPECT_EQ((std::vector<Delivery>{{0, 0}, {150, 100}, {200, 200}, {300, 300}}), deliveries);
}

TEST_F(GenericDelay, sendsOverdueRecordsBackToBack)
{
    auto const& deliveries = feed({0, 100, 200, 700, 701});
    advance(700);
    EXPECT_EQ((std::vector<Delivery>{{0, 0}, {700, 100}, {700, 200}, {700, 700}}), deliveries);
    advance(1);
    EXPECT_EQ(5U, deliveries.size());
}

TEST_F(GenericDelay, holdsARecordThatIsAMillisecondAway)
{
    startAt(0);
    advance(99);
    update(100);
    EXPECT_EQ(0, m_sent);
    advance(1);
    EXPECT_EQ(1, m_sent);
    update(100);
    EXPECT_EQ(2, m_sent);
}

TEST_F(GenericDelay, passesRecordsStampedBeforeTheFirstOnAtOnce)
{
    auto const& deliveries = feed({1000, 999, 0, 500, 1000, 1001, 10, 1002});
    uint32_t const minus1 = 0U - 1;
    EXPECT_EQ((std::vector<Delivery>{{0, 0}, {0, minus1}, {0, 0U - 1000}, {0, 0U - 500}, {0, 0}}),
              deliveries);
    advance(1);
    EXPECT_EQ(7U, deliveries.size()) << "the schedule was moved";
    advance(1);
    EXPECT_EQ(8U, deliveries.size());
}

TEST_F(GenericDelay, passesEverythingOnAtOnceOnceTheDevicesClockHasWrapped)
{
    auto const& deliveries = feed({0xFFFFFFF0, 0xFFFFFFFF, 0, 100, 100000});
    advance(14);
    EXPECT_EQ(1U, deliveries.size());
    advance(1);
    EXPECT_EQ((std::vector<Delivery>{{0, 0}, {15, 15}, {15, 16}, {15, 116}, {15, 100016}}),
              deliveries);
}

TEST_F(GenericDelay, schedulesStampsOfTheWholeRange)
{
    startAt(0x7FFFFF00);
    update(0x80000100);
    expectAfter(0x200);
}

TEST_F(GenericDelay, pacesGnssDataByTheLaterSection)
{
    struct
    {
        uint32_t pvt;
        uint32_t dop;
    } const cases[] = {{5100, 5250}, {5250, 5100}, {0, 5250}, {5250, 0}, {5250, 5250}};
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pvt << " " << c.dop);
        makeDelay();
        startAt(5000);
        GnssData record = Sample<GnssData>::RECORD;
        record.pvt.ticks = c.pvt;
        record.dop.ticks = c.dop;
        m_delay->update(record);
        expectAfter(250);
        EXPECT_EQ((std::vector<Bytes>{entryOf(record)}), m_log->entries);
    }
}

TEST_F(GenericDelay, replacesAHeldRecordByTheNextOne)
{
    startAt(0);
    update(100);
    m_delay->update(Sample<ImuData>::RECORD); // due in 4.7 hours
    update(200);
    expectAfter(200);
    EXPECT_EQ((std::vector<Bytes>{entryOf(GenericData{200, {}})}), m_log->entries);
    EXPECT_EQ(0U, timerCount(m_loop));
}

TEST_F(GenericDelay, letsOnSentReplaceItselfWhileItRuns)
{
    auto const captured = std::make_shared<int>(0);
    int replaced = 0;
    m_delay->m_onSent = [this, captured, &replaced] {
        m_delay->m_onSent = [&replaced] { ++replaced; };
        ++*captured; // still there
    };
    update(0);
    update(0);
    EXPECT_EQ(1, *captured);
    EXPECT_EQ(1, replaced);
    EXPECT_EQ(1, captured.use_count());
}

TEST_F(GenericDelay, copiesAHeldRecordOnceIntoTheTimer)
{
    startAt(0);
    GnssData record = Sample<GnssData>::RECORD;
    record.pvt.ticks = 10;
    record.dop.ticks = 10;
    unsigned const before = allocationCount(sizeof record);
    m_delay->update(record);
    EXPECT_EQ(before + 1, allocationCount(sizeof record));
    advance(10);
    EXPECT_EQ(1, m_sent);
    EXPECT_EQ((std::vector<Bytes>{entryOf(record)}), m_log->entries);
}

TEST_F(GenericDelay, keepsTheScheduleWhenItsOwnClockWraps)
{
    m_clock.reset();
    m_clock.emplace(0xFFFFFFF0U);
    auto const& deliveries = feed({0, 10, 100, 150, 150, 160, 300});
    for (int i = 0; i < 170; ++i)
        advance(1);
    ASSERT_EQ(6U, deliveries.size());
    EXPECT_EQ((Delivery{10, 10}), deliveries[1]);
    EXPECT_EQ((Delivery{100, 100}), deliveries[2]);
    EXPECT_EQ((Delivery{150, 150}), deliveries[3]);
    // One that is due already waits for the loop's next pass.
    EXPECT_EQ((Delivery{151, 150}), deliveries[4]);
    EXPECT_EQ((Delivery{160, 160}), deliveries[5]);

    advance(200);
    EXPECT_EQ((Delivery{370, 300}), deliveries.back());
}

TEST_F(GenericDelay, isNeverEarlyInTheLoop)
{
    m_clock.reset();
    auto const& deliveries = feed({5000, 5020, 5020, 5060});
    EXPECT_EQ(1U, deliveries.size());
    EXPECT_EQ(1, fdloop_loop(m_loop)) << "not ended by the lack of anything to wait for";
    for (Delivery const& delivery : deliveries)
        EXPECT_GE(delivery.first, delivery.second);
    EXPECT_EQ((std::vector<Bytes>{entryOf(GenericData{5000, {}}), entryOf(GenericData{5020, {}}),
                                  entryOf(GenericData{5020, {}}), entryOf(GenericData{5060, {}})}),
              m_log->entries);
}
