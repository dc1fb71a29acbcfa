#include "playback_controller.h"

#include <csignal>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "child_process.h"
#include "fdloop_udp_con.h"
#include "loopback_peer.h"
#include "record_log.h"
#include "sample_records.h"
#include "subscribe_all.h"
#include "test_loop.h"

namespace
{

/// A controller that is handed its datagrams, without a connection.
template <class Record>
class PlaybackControllerTest : public testing::Test
{
protected:
    void receive(Bytes const& packet)
    {
        m_controller.received(nullptr, packet.data(), static_cast<unsigned>(packet.size()));
    }

    PlaybackController m_controller{nullptr};
};

using UnconnectedController = PlaybackControllerTest<GenericData>;

/// A controller on a real connection to a device.
class ConnectedController : public testing::Test
{
protected:
    void SetUp() override
    {
        subscribe_all(m_log, m_controller);
        m_controller->initialize();
        m_device.meet(*m_connection);
    }
    void TearDown() override { m_controller->tearDown(); }

    /// Waits until `count` records have been published.
    bool published(size_t count)
    {
        return runUntil([this, count] { return m_log->entries.size() >= count; });
    }

    LoopbackPeer m_device;
    std::shared_ptr<IUdpCon> m_connection = std::make_shared<FdloopUdpCon>(testLoop(), 0);
    std::shared_ptr<IPlaybackController> m_controller =
        PlaybackControllerFactory(m_connection).create();
    std::shared_ptr<RecordLog> m_log = std::make_shared<RecordLog>();
};

/// Notes the datagrams that it gets.
class ListeningController : public PlaybackController
{
public:
    using PlaybackController::PlaybackController;
    void received(sockaddr const* from, unsigned char const* data, unsigned int len) override
    {
        memcpy(&sender, from, sizeof sender);
        datagram.assign(data, data + len);
    }

    sockaddr_in sender = {};
    Bytes datagram;
};

}

TYPED_TEST_SUITE(PlaybackControllerTest, AllRecords);

TYPED_TEST(PlaybackControllerTest, tellsOnlyTheObserversOfTheDatagramsType)
{
    auto const logs = logsOfOneTypeEach(this->m_controller);

    this->receive(toBytes(Sample<TypeParam>::PACKET));
    expectOnlyItsOwnLog<TypeParam>(logs);
}

TYPED_TEST(PlaybackControllerTest, ignoresWhatFollowsThePayload)
{
    auto const logs = logsOfOneTypeEach(this->m_controller);

    Bytes packet = toBytes(Sample<TypeParam>::PACKET);
    packet.resize(packet.size() + 4, 0xEE);
    this->receive(packet);
    expectOnlyItsOwnLog<TypeParam>(logs);
}

TYPED_TEST(PlaybackControllerTest, unsubscribesFromTheType)
{
    auto const log = std::make_shared<RecordLog>();

    subscribeTo<TypeParam>(this->m_controller, log);
    unsubscribeFrom<TypeParam>(this->m_controller, log);
    this->receive(toBytes(Sample<TypeParam>::PACKET));
    EXPECT_TRUE(log->entries.empty());
}

TYPED_TEST(PlaybackControllerTest, doesNotCallAnObserverThatIsGone)
{
    auto gone = std::make_shared<RecordLog>();
    auto const log = std::make_shared<RecordLog>();

    subscribeTo<TypeParam>(this->m_controller, gone);
    subscribeTo<TypeParam>(this->m_controller, log);
    gone.reset();
    this->receive(toBytes(Sample<TypeParam>::PACKET));
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<TypeParam>::RECORD)}), log->entries);
}

TYPED_TEST(PlaybackControllerTest, panicsOnADatagramShorterThanItsType)
{
    auto const& packet = Sample<TypeParam>::PACKET;
    for (size_t const size : {size_t{8}, packet.size() - 1}) {
        SCOPED_TRACE(size);
        ChildResult const result =
            runInChild([&] { this->receive(Bytes(packet.data(), packet.data() + size)); });
        EXPECT_EQ(SIGABRT, result.signal());
        EXPECT_EQ("Panic: *** ASSERT in playback_controller at 28\n", result.output);
    }
}

TEST_F(UnconnectedController, panicsOnADatagramShorterThanAHeader)
{
    Bytes const datagrams[] = {{}, {0x68, 0x65, 0x6A, 0x00}, {1, 1, 36, 0, 0, 0, 0}, {9, 1, 8, 0}};
    for (Bytes const& datagram : datagrams) {
        SCOPED_TRACE(testing::PrintToString(datagram));
        ChildResult const result = runInChild([&] { receive(datagram); });
        EXPECT_EQ(SIGABRT, result.signal());
        EXPECT_EQ("Panic: *** ASSERT in playback_controller at 22\n", result.output);
    }
}

TEST_F(UnconnectedController, ignoresUnknownTypesSilently)
{
    auto const log = std::make_shared<RecordLog>();
    subscribe_all(log, &m_controller);

    EXPECT_EQ("", capturedOutput([this] {
                  for (unsigned type = 0; type < 256; ++type) {
                      if (type >= 1 && type <= 5)
                          continue;
                      for (size_t const size : {8U, 20U, 104U, 1600U}) {
                          Bytes datagram(size, 0xEE);
                          datagram[0] = static_cast<unsigned char>(type);
                          receive(datagram);
                      }
                  }
              }));
    EXPECT_TRUE(log->entries.empty());
}

TEST_F(UnconnectedController, doesNothingWhenStartedAndStopped)
{
    EXPECT_EQ("", capturedOutput([this] {
                  m_controller.initialize();
                  m_controller.tearDown();
                  m_controller.tearDown();
              }));
}

TEST_F(UnconnectedController, publishesBeforeItReturnsOncePerSubscription)
{
    auto const first = std::make_shared<RecordLog>();
    auto const second = std::make_shared<RecordLog>();

    subscribeTo<GenericData>(m_controller, first);
    subscribeTo<GenericData>(m_controller, second);
    subscribeTo<GenericData>(m_controller, first);
    receive(toBytes(Sample<GenericData>::PACKET));
    EXPECT_EQ(2U, first->entries.size());
    EXPECT_EQ(1U, second->entries.size());
}

TEST_F(ConnectedController, publishesWhatTheDeviceSends)
{
    forEachSample([this](auto sample) { m_device.send(sample.PACKET); });
    EXPECT_TRUE(published(5));
    EXPECT_EQ(allSampleEntries(), m_log->entries);
}

TEST_F(ConnectedController, acceptsDatagramsFromAnySender)
{
    LoopbackPeer const stranger;

    stranger.sendTo(m_device.sender(), Sample<GnssPvt>::PACKET);
    EXPECT_TRUE(published(1));
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<GnssPvt>::RECORD)}), m_log->entries);
}

TEST_F(ConnectedController, goesOnAfterADatagramOfUnknownType)
{
    m_device.send(Bytes(8, 0));
    m_device.send(Bytes(20, 6));
    m_device.send(Sample<ImuData>::PACKET);
    EXPECT_TRUE(published(1));
    EXPECT_EQ((std::vector<Bytes>{entryOf(Sample<ImuData>::RECORD)}), m_log->entries);
}

TEST_F(ConnectedController, neverDeliversWhatIsStillQueuedAfterTearDown)
{
    m_device.send(Sample<ImuData>::PACKET);
    m_controller->tearDown();

    EXPECT_EQ(1, fdloop_run(testLoop())) << "the loop still waits for something";
    m_connection->rxDataReady();
    EXPECT_TRUE(m_log->entries.empty());
}

TEST_F(ConnectedController, letsTheConnectionSendAfterTearDown)
{
    m_controller->tearDown();
    m_device.meet(*m_connection);
}

TEST(PlaybackController, forwardsEachDatagramWithItsSender)
{
    LoopbackPeer device;
    auto const connection = std::make_shared<FdloopUdpCon>(testLoop(), 0);
    ListeningController controller(connection);

    controller.initialize();
    device.meet(*connection);
    device.send(Bytes{0x21, 0x22, 0x23});
    EXPECT_TRUE(runUntil([&] { return !controller.datagram.empty(); }));
    EXPECT_EQ((Bytes{0x21, 0x22, 0x23}), controller.datagram);
    EXPECT_EQ(device.address().sin_port, controller.sender.sin_port);
    EXPECT_EQ(device.address().sin_addr.s_addr, controller.sender.sin_addr.s_addr);
    controller.tearDown();
}

// A connection complains when it is closed without having been opened.
TEST(PlaybackController, leavesTheConnectionAloneWhenMadeAndDestroyed)
{
    auto const connection = std::make_shared<FdloopUdpCon>(testLoop(), 0);

    EXPECT_EQ("", capturedOutput([&] { PlaybackController const controller(connection); }));
    EXPECT_EQ(1, connection.use_count());
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the connection is open";
}

TEST(PlaybackController, receivesNothingWhenTheConnectionCannotBeOpened)
{
    LoopbackPeer const device;
    ChildResult const result = runInChild([&device] {
        int const taken = ntohs(device.address().sin_port);
        PlaybackController controller(std::make_shared<FdloopUdpCon>(testLoop(), taken));
        controller.initialize();
    });
    EXPECT_EQ(0, result.exitCode());
    EXPECT_EQ("<time>   ERROR: bind: bind failed errno 98", withoutTimes(result.output));
}

TEST(PlaybackControllerFactory, makesANewControllerWithEveryCall)
{
    auto const connection = std::make_shared<FdloopUdpCon>(testLoop(), 0);
    PlaybackControllerFactory factory(connection);
    long const owners = connection.use_count();

    auto const first = factory.create();
    auto const second = factory.create();
    EXPECT_NE(first, second);
    EXPECT_EQ(1, first.use_count());
    EXPECT_EQ(owners + 2, connection.use_count());
}

TEST(PlaybackControllerFactory, makesControllersWithTheirOwnSubscribers)
{
    PlaybackControllerFactory factory(nullptr);
    auto const first = std::dynamic_pointer_cast<PlaybackController>(factory.create());
    auto const second = std::dynamic_pointer_cast<PlaybackController>(factory.create());
    auto const log = std::make_shared<RecordLog>();
    auto const& packet = Sample<GenericData>::PACKET;

    ASSERT_TRUE(first && second);
    subscribe_all(log, first);
    second->received(nullptr, packet.data(), packet.size());
    EXPECT_TRUE(log->entries.empty());
    first->received(nullptr, packet.data(), packet.size());
    EXPECT_EQ(1U, log->entries.size());
}
