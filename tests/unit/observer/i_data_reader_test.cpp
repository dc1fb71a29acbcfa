#include "i_data_reader.h"

#include <memory>

#include <gtest/gtest.h>

#include "record_log.h"
#include "subscribe_all.h"

namespace
{

/// Has the samples for stored records.
class SampleReader : public IDataReader
{
public:
    bool readData() override
    {
        notifyAllSamples(m_observable);
        return true;
    }
};

template <class Record>
class IDataReaderTest : public testing::Test
{
protected:
    SampleReader m_reader;
    std::shared_ptr<RecordLog> m_log = std::make_shared<RecordLog>();
};

}

TYPED_TEST_SUITE(IDataReaderTest, AllRecords);

TYPED_TEST(IDataReaderTest, subscribesToThePublisherOfTheType)
{
    subscribeTo<TypeParam>(this->m_reader, this->m_log);
    EXPECT_TRUE(this->m_reader.readData());
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<TypeParam>::RECORD)}), this->m_log->entries);
}

TYPED_TEST(IDataReaderTest, unsubscribesFromThePublisherOfTheType)
{
    subscribeTo<TypeParam>(this->m_reader, this->m_log);
    unsubscribeFrom<TypeParam>(this->m_reader, this->m_log);
    this->m_reader.readData();
    EXPECT_TRUE(this->m_log->entries.empty());
}

TEST(IDataReader, canBeLinkedWhole)
{
    auto const reader = std::make_shared<SampleReader>();
    std::shared_ptr<IDataReader> const interface = reader;
    auto const log = std::make_shared<RecordLog>();

    subscribe_all(log, interface);
    interface->readData();
    EXPECT_EQ(allSampleEntries(), log->entries);

    unsubscribe_all(log, interface);
    log->entries.clear();
    interface->readData();
    EXPECT_TRUE(log->entries.empty());
}

TEST(IDataReader, doesNotKeepItsObserversAlive)
{
    SampleReader reader;
    auto const log = std::make_shared<RecordLog>();

    subscribeTo<ImuData>(reader, log);
    EXPECT_EQ(1, log.use_count());
}
