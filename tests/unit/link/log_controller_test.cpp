#include "log_controller.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "child_process.h"
#include "fdloop_udp_con.h"
#include "loopback_peer.h"
#include "sample_records.h"
#include "test_loop.h"

static Bytes const GREETING = {0x68, 0x65, 0x6A, 0x00};
static constexpr int BUDGET = 100;

namespace
{

/// A receiver that notes what it is told and how often it is asked for its address.
class ListeningReceiver : public IUdpReceiver
{
public:
    explicit ListeningReceiver(sockaddr_in const& address) : m_address(address) {}

    bool isReceiverReady() const override { return ready; }
    void received(sockaddr const* from, unsigned char const* data, unsigned int len) override
    {
        memcpy(&sender, from, sizeof sender);
        datagram.assign(data, data + len);
    }
    sockaddr_in const* getReceiverAddress() override
    {
        ++addressesGiven;
        return &m_address;
    }

    bool ready = true;
    int addressesGiven = 0;
    sockaddr_in sender = {};
    Bytes datagram;

private:
    sockaddr_in m_address;
};

/// A device and a connection to it, not open yet.
class LogControllerTest : public testing::Test
{
protected:
    void TearDown() override
    {
        if (m_controller)
            m_controller->tearDown();
    }

    /// Makes a controller that sends to the device and starts it.
    void startSending()
    {
        m_controller = LogControllerFactory(m_connection, m_address).create();
        m_controller->initialize();
        m_device.meet(*m_connection);
    }

    /// Makes a controller that waits for a hello and starts it.
    void startWaiting()
    {
        m_controller = LogControllerFactory(m_connection).create();
        m_controller->initialize();
        m_device.meet(*m_connection);
    }

    /// Makes a controller with a receiver for the test to look into.
    ListeningReceiver& makeListening()
    {
        auto receiver = std::make_unique<ListeningReceiver>(m_device.address());
        ListeningReceiver& listening = *receiver;
        m_controller = std::make_shared<LogController>(m_connection, std::move(receiver));
        return listening;
    }

    void sendGeneric(int count = 1)
    {
        for (int i = 0; i < count; ++i)
            m_controller->send(Sample<GenericData>::RECORD);
    }

    /// Expects so many datagrams of the generic sample, and no more.
    static void expectGeneric(int count, LoopbackPeer& at)
    {
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(toBytes(Sample<GenericData>::PACKET), at.receive()) << i;
        EXPECT_FALSE(at.hasDatagram());
    }

    LoopbackPeer m_device;
    std::shared_ptr<IUdpCon> m_connection = std::make_shared<FdloopUdpCon>(testLoop(), 0);
    std::shared_ptr<sockaddr_in> m_address = std::make_shared<sockaddr_in>(m_device.address());
    std::shared_ptr<ILogController> m_controller;
};

template <class Record>
class SendingController : public LogControllerTest
{};

}

template <class Controller>
static void sendAllSamples(Controller& controller)
{
    forEachSample([&](auto sample) { controller.send(sample.RECORD); });
}

TYPED_TEST_SUITE(SendingController, AllRecords);

TYPED_TEST(SendingController, sendsARecordAsOneDatagram)
{
    this->startSending();
    EXPECT_EQ("", capturedOutput([this] { this->m_controller->send(Sample<TypeParam>::RECORD); }));
    EXPECT_EQ(toBytes(Sample<TypeParam>::PACKET), this->m_device.receive());
    EXPECT_FALSE(this->m_device.hasDatagram());
}

TYPED_TEST(SendingController, dropsARecordBeforeTheHello)
{
    this->startWaiting();
    EXPECT_EQ("", capturedOutput([this] { this->m_controller->send(Sample<TypeParam>::RECORD); }));
    EXPECT_FALSE(this->m_device.hasDatagram());

    this->m_device.send(GREETING);
    this->m_connection->rxDataReady();
    EXPECT_FALSE(this->m_device.hasDatagram()) << "the record was kept";
    this->m_controller->send(Sample<TypeParam>::RECORD);
    EXPECT_EQ(toBytes(Sample<TypeParam>::PACKET), this->m_device.receive());
}

TYPED_TEST(SendingController, asksForTheAddressOncePerDatagram)
{
    ListeningReceiver& receiver = this->makeListening();
    this->m_controller->initialize();

    this->m_controller->send(Sample<TypeParam>::RECORD);
    EXPECT_EQ(1, receiver.addressesGiven);
    receiver.ready = false;
    this->m_controller->send(Sample<TypeParam>::RECORD);
    EXPECT_EQ(1, receiver.addressesGiven);

    EXPECT_EQ(toBytes(Sample<TypeParam>::PACKET), this->m_device.receive());
    EXPECT_FALSE(this->m_device.hasDatagram());
}

TEST_F(LogControllerTest, stampsGnssDataWithTheLaterSection)
{
    struct
    {
        uint32_t pvt;
        uint32_t dop;
        Bytes header; // and the source
    } const cases[] = {
        {0x11121314, 0x21222324, {2, 1, 104, 0, 0x21, 0x22, 0x23, 0x24, 0x31, 0x32, 0x33, 0x34}},
        {0x21222324, 0x11121314, {2, 1, 104, 0, 0x21, 0x22, 0x23, 0x24, 0x31, 0x32, 0x33, 0x34}},
        {0, 0x01020304, {2, 1, 104, 0, 0x01, 0x02, 0x03, 0x04, 0x31, 0x32, 0x33, 0x34}},
        {0, 0, {2, 1, 104, 0, 0, 0, 0, 0, 0x31, 0x32, 0x33, 0x34}},
    };
    startSending();
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pvt << " " << c.dop);
        GnssData record = Sample<GnssData>::RECORD;
        record.source = static_cast<eGnssSource>(0x31323334);
        record.pvt.ticks = c.pvt;
        record.dop.ticks = c.dop;
        m_controller->send(record);

        Bytes datagram = m_device.receive();
        EXPECT_EQ(104U, datagram.size());
        datagram.resize(c.header.size());
        EXPECT_EQ(c.header, datagram);
    }
}

TEST_F(LogControllerTest, sendsEveryRecordToItsAddressWhateverArrives)
{
    LoopbackPeer stranger;
    startSending();
    for (int i = 0; i < BUDGET + 1; ++i) {
        stranger.sendTo(m_device.sender(), GREETING);
        forEachSample([this](auto sample) { m_device.send(sample.PACKET); });
        m_connection->rxDataReady();
        sendGeneric();
    }
    expectGeneric(BUDGET + 1, m_device);
    EXPECT_FALSE(stranger.hasDatagram());
}

TEST_F(LogControllerTest, sendsAHundredRecordsPerHelloToItsLastSender)
{
    LoopbackPeer first;
    LoopbackPeer second;
    startWaiting();
    for (LoopbackPeer* const greeter : {&first, &second, &first, &first}) {
        sendGeneric(2);
        greeter->sendTo(m_device.sender(), GREETING);
        m_connection->rxDataReady();
        sendGeneric(BUDGET + 1);
        expectGeneric(BUDGET, *greeter);
    }
    EXPECT_FALSE(first.hasDatagram());
    EXPECT_FALSE(second.hasDatagram());
    EXPECT_FALSE(m_device.hasDatagram());
}

TEST_F(LogControllerTest, getsTheHelloThroughTheLoop)
{
    startWaiting();
    m_device.send(GREETING);
    EXPECT_TRUE(runUntil([this] {
        sendGeneric();
        return m_device.hasDatagram();
    }));
    sendGeneric(BUDGET);
    expectGeneric(BUDGET, m_device);
}

TEST_F(LogControllerTest, forwardsEachDatagramWithItsSender)
{
    ListeningReceiver& receiver = makeListening();
    m_controller->initialize();
    m_device.meet(*m_connection);

    m_device.send(Bytes{0x21, 0x22, 0x23});
    EXPECT_TRUE(runUntil([&receiver] { return !receiver.datagram.empty(); }));
    EXPECT_EQ((Bytes{0x21, 0x22, 0x23}), receiver.datagram);
    EXPECT_EQ(AF_INET, receiver.sender.sin_family);
    EXPECT_EQ(m_device.address().sin_port, receiver.sender.sin_port);
    EXPECT_EQ(m_device.address().sin_addr.s_addr, receiver.sender.sin_addr.s_addr);
}

TEST_F(LogControllerTest, getsNothingAfterTearDown)
{
    startWaiting();
    m_device.send(GREETING);
    m_controller->tearDown();

    EXPECT_EQ(1, fdloop_run(testLoop())) << "the loop still waits for something";
    m_connection->rxDataReady();
    sendGeneric();
    EXPECT_FALSE(m_device.hasDatagram());
}

TEST_F(LogControllerTest, keepsItsReceiverAfterTearDown)
{
    startWaiting();
    m_device.send(GREETING);
    m_connection->rxDataReady();
    m_controller->tearDown();

    sendGeneric(BUDGET + 1);
    expectGeneric(BUDGET, m_device);
}

TEST_F(LogControllerTest, goesOnWhenARecordCannotBeSent)
{
    m_controller = LogControllerFactory(m_connection, m_address).create();
    EXPECT_EQ("<time>   DEBUG: UdpSocket::transmit: sendto failed errno 9: Bad file descriptor"
              "<time>   DEBUG: UdpCon::transmit: sendto failed errno 9",
              withoutTimes(capturedOutput([this] { sendGeneric(); })));

    m_controller->initialize();
    EXPECT_EQ("", capturedOutput([this] { sendGeneric(); }));
    expectGeneric(1, m_device);
}

TEST_F(LogControllerTest, sendsNothingWhenTheConnectionCannotBeOpened)
{
    ChildResult const result = runInChild([this] {
        auto const taken = std::make_shared<FdloopUdpCon>(testLoop(), ntohs(m_address->sin_port));
        LogController controller(taken, std::make_unique<ListeningReceiver>(*m_address));
        controller.initialize();
        controller.send(Sample<GenericData>::RECORD);
    });
    EXPECT_EQ(0, result.exitCode());
    EXPECT_EQ("<time>   ERROR: bind: bind failed errno 98"
              "<time>   DEBUG: UdpSocket::transmit: sendto failed errno 9: Bad file descriptor"
              "<time>   DEBUG: UdpCon::transmit: sendto failed errno 9",
              withoutTimes(result.output));
    EXPECT_FALSE(m_device.hasDatagram());
}

TEST_F(LogControllerTest, doesNothingWithoutAConnection)
{
    auto receiver = std::make_unique<ListeningReceiver>(m_device.address());
    ListeningReceiver const& listening = *receiver;
    LogController controller(nullptr, std::move(receiver));

    EXPECT_EQ("", capturedOutput([&controller] {
                  controller.initialize();
                  sendAllSamples(controller);
                  controller.tearDown();
                  controller.tearDown();
              }));
    EXPECT_EQ(0, listening.addressesGiven);
}

TEST_F(LogControllerTest, neitherOpensNorSendsWithoutAReceiver)
{
    LogController controller(m_connection, nullptr);

    EXPECT_EQ("", capturedOutput([&controller] {
                  controller.initialize();
                  sendAllSamples(controller);
              }));
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the connection is open";
    EXPECT_EQ("<time> WARNING: FdloopUdpCon::close: not open\n",
              withoutTimes(capturedOutput([&controller] { controller.tearDown(); })));
}

TEST_F(LogControllerTest, waitsForAHelloWhenItsAddressIsNull)
{
    m_controller = LogControllerFactory(m_connection, nullptr).create();
    m_controller->initialize();
    m_device.meet(*m_connection);
    sendGeneric();
    EXPECT_FALSE(m_device.hasDatagram());

    m_device.send(GREETING);
    m_connection->rxDataReady();
    sendGeneric(BUDGET + 1);
    expectGeneric(BUDGET, m_device);
}

// A connection complains when it is closed without having been opened.
TEST_F(LogControllerTest, leavesTheConnectionAloneWhenMadeAndDestroyed)
{
    EXPECT_EQ("", capturedOutput([this] {
                  LogControllerFactory(m_connection, m_address).create().reset();
                  LogControllerFactory(m_connection).create().reset();
              }));
    EXPECT_EQ(1, m_connection.use_count());
    EXPECT_EQ(1, m_address.use_count());
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the connection is open";
}

TEST_F(LogControllerTest, isANewOneWithEveryCallOfTheFactory)
{
    LogControllerFactory const factory(m_connection, m_address);
    long const owners = m_connection.use_count();
    long const addressOwners = m_address.use_count();

    auto const first = factory.create();
    auto const second = factory.create();
    EXPECT_NE(first, second);
    EXPECT_EQ(1, first.use_count());
    EXPECT_EQ(owners + 2, m_connection.use_count());
    EXPECT_EQ(addressOwners + 2, m_address.use_count());
}

TEST_F(LogControllerTest, hasItsOwnReceiver)
{
    LogControllerFactory const factory(m_connection);
    m_controller = factory.create();
    auto const other = factory.create();
    m_controller->initialize();
    m_device.meet(*m_connection);
    m_device.send(GREETING);
    m_connection->rxDataReady();

    other->send(Sample<ImuData>::RECORD);
    EXPECT_FALSE(m_device.hasDatagram());
    sendGeneric();
    expectGeneric(1, m_device);
}
