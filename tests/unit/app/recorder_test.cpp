#include "recorder.h"

#include <cstdio>
#include <memory>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "fdloop_udp_con.h"
#include "loopback_peer.h"
#include "sample_records.h"
#include "stepped_clock.h"
#include "temp_dir.h"
#include "test_loop.h"

static Bytes const HELLO = {0x68, 0x65, 0x6A, 0x00};
static Bytes const UNKNOWN_DATAGRAM(8, 0); // counted, but not recorded

namespace
{

/// Prints a line when its time has come.
class LineAfter
{
public:
    LineAfter(unsigned ms, char const* line)
        : m_line(line),
          m_timer(fdloop_timer_add(testLoop(), ms, print, this))
    {}
    ~LineAfter()
    {
        if (!isPrinted())
            fdloop_timer_del(testLoop(), m_timer);
    }
    LineAfter(LineAfter const&) = delete;
    LineAfter& operator=(LineAfter const&) = delete;

    bool isPrinted() const { return !m_line; }

private:
    static int print(void* data)
    {
        auto* const self = static_cast<LineAfter*>(data);
        puts(self->m_line);
        self->m_line = nullptr;
        return 0;
    }

    char const* m_line; // null once printed
    _fdloop_timer_t* m_timer;
};

class RecorderTest : public testing::Test
{
protected:
    void TearDown() override { stopRecording(); }

    void startRecording()
    {
        clearDatagramCount();
        m_recorder =
            std::make_unique<Recorder>(testLoop(), m_dir.file("log"), m_connection, m_address);
        m_device.meet(*m_connection);
    }
    void stopRecording() { m_recorder.reset(); }

    /// All connections of a process share the count of datagrams that triggers hellos.
    void clearDatagramCount()
    {
        FdloopUdpCon other(testLoop(), 0);
        EXPECT_TRUE(other.open());
        bool called = false;
        other.setPeriodicRxCallBack([&called](auto...) { called = true; }, 1);
        m_device.meet(other);
        m_device.send(UNKNOWN_DATAGRAM);
        other.rxDataReady();
        EXPECT_TRUE(called);
    }

    /// Lets the connection read `count` datagrams without running the loop's timers.
    void receiveDatagrams(int count)
    {
        for (int i = 0; i < count; ++i)
            m_device.send(UNKNOWN_DATAGRAM);
        m_connection->rxDataReady();
    }

    void expectHellos(int count)
    {
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(HELLO, m_device.receive());
        EXPECT_FALSE(m_device.hasDatagram());
    }

    Bytes logFile() const { return readBytes(m_dir.file("log")); }

    TempDir m_dir;
    LoopbackPeer m_device;
    std::shared_ptr<IUdpCon> m_connection = std::make_shared<FdloopUdpCon>(testLoop(), 0);
    std::shared_ptr<sockaddr_in> m_address = std::make_shared<sockaddr_in>(m_device.address());
    std::unique_ptr<Recorder> m_recorder;
};

}

// The loop runs due timers in the order of their times, however late it is.
TEST_F(RecorderTest, saysHelloToASilentDeviceAfterASecond)
{
    LineAfter const before(900, "0.9 s");
    EXPECT_EQ("0.9 s\ntimeout: send hello\n1.1 s\n", capturedOutput([this] {
                  startRecording();
                  LineAfter const after(1100, "1.1 s");
                  EXPECT_TRUE(runUntil([&after] { return after.isPrinted(); }));
              }));
    expectHellos(1);
}

TEST_F(RecorderTest, saysHelloToASilentDeviceEverySecondAndRecordsNothing)
{
    EXPECT_EQ("timeout: send hello\ntimeout: send hello\n", capturedOutput([this] {
                  startRecording();
                  for (int i = 0; i < 2; ++i) {
                      EXPECT_TRUE(runUntilReadable(m_device.fd()));
                      EXPECT_EQ(HELLO, m_device.receive());
                  }
              }));
    stopRecording();
    EXPECT_EQ(Bytes(), logFile());
}

TEST_F(RecorderTest, saysHelloAgainOnceTheLastOneIs900MillisecondsOld)
{
    static constexpr uint32_t START_MS = 5000;
    static constexpr uint32_t PERIOD_MS = 1000;

    for (uint32_t const age : {899U, 900U}) {
        SCOPED_TRACE(age);
        SteppedClock clock(START_MS);
        std::string const output = capturedOutput([&] {
            startRecording();
            clock.advance(testLoop(), PERIOD_MS - age);
            m_recorder->sendHello();
            clock.advance(testLoop(), age); // now the timer's period is over
            stopRecording();
        });
        EXPECT_EQ(age < 900 ? "send hello\n" : "send hello\ntimeout: send hello\n", output);
        expectHellos(age < 900 ? 1 : 2);
    }
}

TEST_F(RecorderTest, saysHelloAfterEveryFiftiethDatagram)
{
    startRecording();
    EXPECT_EQ("", capturedOutput([this] { receiveDatagrams(49); }));
    expectHellos(0);

    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ("send hello\n", capturedOutput([this] { receiveDatagrams(1); }));
        expectHellos(1);
        EXPECT_EQ("", capturedOutput([this] { receiveDatagrams(49); }));
        expectHellos(0);
    }
}

TEST_F(RecorderTest, saysHelloOncePerFiftyDatagramsOfABurst)
{
    startRecording();
    EXPECT_EQ("send hello\nsend hello\n", capturedOutput([this] { receiveDatagrams(149); }));
    expectHellos(2);
}

TEST_F(RecorderTest, needsNoTimeoutWhileTheDeviceStreams)
{
    int greetings = 0;
    std::string const output = capturedOutput([&] {
        startRecording();
        LineAfter const end(1100, "1.1 s"); // the hello timer has run once by then
        receiveDatagrams(50);
        EXPECT_TRUE(runUntil([&] {
            while (m_device.hasDatagram()) {
                EXPECT_EQ(HELLO, m_device.receive());
                ++greetings;
                for (int i = 0; i < 50; ++i)
                    m_device.send(UNKNOWN_DATAGRAM);
            }
            return end.isPrinted();
        }));
    });
    EXPECT_GT(greetings, 1);

    EXPECT_EQ(std::string::npos, output.find("timeout: "));
    EXPECT_EQ(0U, output.find("send hello\nsend hello\n"));
}

TEST_F(RecorderTest, recordsOneFramePerDatagram)
{
    capturedOutput([this] {
        startRecording();
        forEachSample([this](auto sample) { m_device.send(sample.PACKET); });
        for (int i = 5; i < 50; ++i)
            m_device.send(UNKNOWN_DATAGRAM);
        EXPECT_TRUE(runUntilReadable(m_device.fd()));
    });
    expectHellos(1);
    stopRecording();

    EXPECT_EQ(292U, logFile().size());
    EXPECT_EQ((sampleFrames<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>()), logFile());
}

TEST_F(RecorderTest, emptiesTheFile)
{
    writeBytes(m_dir.file("log"), {1, 2, 3});
    startRecording();
    EXPECT_EQ(Bytes(), logFile());
}

TEST_F(RecorderTest, throwsWhenTheFileCannotBeOpened)
{
    std::string const name = m_dir.file("missing/log");
    try {
        Recorder const recorder(testLoop(), name, m_connection, m_address);
        ADD_FAILURE() << "nothing thrown";
    } catch (std::system_error const& e) {
        EXPECT_EQ("LogFile: failed to open file " + name + ": No such file or directory", e.what());
    }
    EXPECT_EQ(1, m_connection.use_count());
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the loop still waits for something";
}

TEST_F(RecorderTest, leavesNothingBehindInTheLoop)
{
    startRecording();
    m_device.send(Sample<ImuData>::PACKET);
    stopRecording();

    EXPECT_EQ(1, fdloop_run(testLoop())) << "the loop still waits for something";
    EXPECT_EQ(1, m_connection.use_count());
    EXPECT_EQ(1, m_address.use_count());
    EXPECT_EQ(Bytes(), logFile()) << "recorded after the end";
}

TEST_F(RecorderTest, goesOnWhenAHelloCannotBeSent)
{
    startRecording();
    m_address->sin_port = 0;
    EXPECT_EQ("<time>   DEBUG: UdpSocket::transmit: sendto failed errno 22: Invalid argument"
              "<time>   DEBUG: UdpCon::transmit: sendto failed errno 22"
              "send hello\n",
              withoutTimes(capturedOutput([this] { m_recorder->sendHello(); })));

    m_address->sin_port = m_device.address().sin_port;
    EXPECT_EQ("send hello\n", capturedOutput([this] { m_recorder->sendHello(); }));
    expectHellos(1);
}
