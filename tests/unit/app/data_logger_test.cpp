#include "data_logger.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "playback_observable.h"
#include "record_log.h"
#include "subscribe_all.h"

namespace
{

/// Keeps an entry for every record that it is given to send.
class SentRecords : public ILogController
{
public:
    void initialize() override { ++startsAndStops; }
    void tearDown() override { ++startsAndStops; }
    void send(ImuData const& record) override { entries.push_back(entryOf(record)); }
    void send(GnssData const& record) override { entries.push_back(entryOf(record)); }
    void send(GnssPvt const& record) override { entries.push_back(entryOf(record)); }
    void send(AttitudeData const& record) override { entries.push_back(entryOf(record)); }
    void send(GenericData const& record) override { entries.push_back(entryOf(record)); }

    int startsAndStops = 0;
    std::vector<Bytes> entries;
};

template <class Record>
class DataLoggerTest : public testing::Test
{};

}

TYPED_TEST_SUITE(DataLoggerTest, AllRecords);

TYPED_TEST(DataLoggerTest, hasTheControllerSendTheRecord)
{
    auto const controller = std::make_shared<SentRecords>();
    DataLogger logger;
    TIObserver<TypeParam>& observer = logger;

    logger.setController(controller);
    EXPECT_TRUE(controller->entries.empty());
    observer.update(Sample<TypeParam>::RECORD);
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<TypeParam>::RECORD)}), controller->entries);
}

TEST(DataLogger, passesOnEachRecordThatItObservesOnce)
{
    auto const controller = std::make_shared<SentRecords>();
    auto const logger = std::make_shared<DataLogger>();
    PlaybackObservable observable;

    logger->setController(controller);
    subscribe_all(std::shared_ptr<IDataLogger>(logger), &observable);
    notifyAllSamples(observable);
    EXPECT_EQ(allSampleEntries(), controller->entries);
}

TEST(DataLogger, sendsToTheLastControllerOnlyAndReleasesTheOneBefore)
{
    auto const first = std::make_shared<SentRecords>();
    auto const second = std::make_shared<SentRecords>();
    DataLogger logger;

    logger.setController(first);
    logger.update(Sample<ImuData>::RECORD);
    logger.setController(second);
    logger.update(Sample<GnssPvt>::RECORD);

    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<ImuData>::RECORD)}), first->entries);
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<GnssPvt>::RECORD)}), second->entries);
    EXPECT_EQ(1, first.use_count());
    EXPECT_EQ(2, second.use_count());
}

TEST(DataLogger, keepsAControllerThatIsSetAgain)
{
    auto const controller = std::make_shared<SentRecords>();
    DataLogger logger;

    logger.setController(controller);
    logger.setController(controller);
    EXPECT_EQ(2, controller.use_count());
    logger.update(Sample<ImuData>::RECORD);
    EXPECT_EQ(1U, controller->entries.size());
}

TEST(DataLogger, releasesTheControllerThatIsRemoved)
{
    auto controller = std::make_shared<SentRecords>();
    std::weak_ptr<SentRecords> const observed = controller;
    DataLogger logger;

    logger.setController(controller);
    controller.reset();
    EXPECT_FALSE(observed.expired());
    logger.removeController();
    EXPECT_TRUE(observed.expired());
}

TEST(DataLogger, releasesItsControllerAtItsEnd)
{
    auto const controller = std::make_shared<SentRecords>();
    {
        DataLogger logger;
        logger.setController(controller);
        EXPECT_EQ(2, controller.use_count());
    }
    EXPECT_EQ(1, controller.use_count());
}

TEST(DataLogger, doesNothingWhenNoControllerIsRemoved)
{
    auto const controller = std::make_shared<SentRecords>();
    DataLogger logger;

    logger.removeController();
    logger.removeController();
    logger.setController(controller);
    logger.update(Sample<ImuData>::RECORD);
    EXPECT_EQ(1U, controller->entries.size());
}

TEST(DataLogger, neitherStartsNorStopsTheController)
{
    auto const controller = std::make_shared<SentRecords>();
    {
        DataLogger logger;
        logger.setController(controller);
        logger.update(Sample<ImuData>::RECORD);
        logger.removeController();
        logger.setController(controller);
    }
    EXPECT_EQ(0, controller->startsAndStops);
}
