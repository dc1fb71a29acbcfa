#include "player.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>

#include "captured_output.h"
#include "child_process.h"
#include "fdloop_handle.h"
#include "fdloop_udp_con.h"
#include "loopback_peer.h"
#include "sample_records.h"
#include "scoped_loop.h"
#include "stepped_clock.h"
#include "temp_dir.h"
#include "test_loop.h"
#include "tt_interrupt.h"

static char const* const END_OF_FILE = "End of file reached\n";
static constexpr uint32_t START_MS = 1000;

/// The log frame of a generic record with this stamp, below 256.
static Bytes genericFrame(unsigned char ticks)
{
    return {0x05,  0x01, 0x14, 0x00, 0x00, 0x00, 0x00, 0x00, // type, version, length, reserved
            ticks, 0x00, 0x00, 0x00,                         // ticks
            0x24,  0x23, 0x22, 0x21, 0x28, 0x27, 0x26, 0x25, // values
            0xD0,  0xC0, 0xB0, 0xA0};                        // footer
}

/// The datagram of the same record.
static Bytes genericPacket(unsigned char ticks)
{
    return {0x05, 0x01, 0x14, 0x00,  0x00, 0x00, 0x00, ticks, // type, marker, length, stamp
            0x00, 0x00, 0x00, ticks,                          // ticks
            0x21, 0x22, 0x23, 0x24,  0x25, 0x26, 0x27, 0x28}; // values
}

/// The bytes, `count` times.
static Bytes operator*(size_t count, Bytes const& bytes)
{
    Bytes all;
    all.reserve(count * bytes.size());
    for (size_t i = 0; i < count; ++i)
        all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

namespace
{

class PlayerTest : public testing::Test
{
protected:
    void TearDown() override { stopReplay(); }

    /// Starts the replay of a log that holds the given bytes.
    void startReplay(Bytes const& log)
    {
        writeBytes(m_dir.file("log"), log);
        startReplayOfTheLog();
    }
    void startReplayOfTheLog()
    {
        m_player = std::make_unique<Player>(testLoop(), m_dir.file("log"), m_connection, m_address,
                                            [this] {
                                                ++m_completed;
                                                m_sentAtCompletion = m_device.hasDatagram();
                                                return true;
                                            });
    }
    void stopReplay() { m_player.reset(); }

    void expectDatagrams(std::vector<Bytes> const& expected)
    {
        for (Bytes const& datagram : expected)
            EXPECT_EQ(datagram, m_device.receive());
        EXPECT_FALSE(m_device.hasDatagram());
    }

    TempDir m_dir;
    LoopbackPeer m_device;
    std::shared_ptr<IUdpCon> m_connection = std::make_shared<FdloopUdpCon>(testLoop(), 0);
    std::shared_ptr<sockaddr_in> m_address = std::make_shared<sockaddr_in>(m_device.address());
    std::unique_ptr<Player> m_player;
    int m_completed = 0;
    bool m_sentAtCompletion = false;
};

/// With a stopped clock, so that no record becomes due by itself.
class SteppedPlayer : public PlayerTest
{
protected:
    void advance(uint32_t ms) { m_clock.advance(testLoop(), ms); }

    SteppedClock m_clock{START_MS};
};

/// Counts the records that it is given to send, and notes how deep in the stack that happens.
class StackProbe : public IUdpCon
{
public:
    bool open() override { return true; }
    bool close() override { return true; }
    bool transmit(sockaddr_in const*, unsigned char const*, unsigned int) override
    {
        ++count;
        frames.insert(__builtin_frame_address(0));
        if (onTransmit)
            onTransmit();
        return true;
    }
    void setRxCallBack(
        std::function<void(sockaddr const*, unsigned char const*, unsigned int)> const&) override
    {}
    void setBindGuard(std::shared_ptr<WaitPoint>) override {}
    void setPeriodicRxCallBack(
        std::function<void(sockaddr const*, unsigned char const*, unsigned int)> const&,
        unsigned int) override
    {}
    void rxDataReady() override {}

    size_t count = 0;
    std::set<void*> frames;
    std::function<void()> onTransmit;
};

}

/// Runs `action` in a thread with a stack of this size.
static void runOnStackOf(size_t size, std::function<void()> action)
{
    pthread_attr_t attributes;
    pthread_t thread = {};
    pthread_attr_init(&attributes);
    EXPECT_EQ(0, pthread_attr_setstacksize(&attributes, size));
    ASSERT_EQ(0, pthread_create(
                     &thread, &attributes,
                     [](void* data) -> void* {
                         (*static_cast<std::function<void()>*>(data))();
                         return nullptr;
                     },
                     &action));
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST_F(SteppedPlayer, completesAtOnceWithoutARecord)
{
    EXPECT_EQ(END_OF_FILE, capturedOutput([this] { startReplay({}); }));
    EXPECT_EQ(1, m_completed);
    expectDatagrams({});
    EXPECT_EQ(0U, timerCount(testLoop()));
}

// Each sample is stamped before the one in front of it.
TEST_F(SteppedPlayer, sendsRecordsOfAllTypesInTheOrderOfTheLog)
{
    EXPECT_EQ(END_OF_FILE, capturedOutput([this] {
                  startReplay(
                      sampleFrames<GnssPvt, GnssData, GenericData, AttitudeData, ImuData>());
              }));
    expectDatagrams({toBytes(Sample<GnssPvt>::PACKET), toBytes(Sample<GnssData>::PACKET),
                     toBytes(Sample<GenericData>::PACKET), toBytes(Sample<AttitudeData>::PACKET),
                     toBytes(Sample<ImuData>::PACKET)});
    EXPECT_EQ(1, m_completed);
}

TEST_F(SteppedPlayer, sendsALogOfOneStampBeforeItIsConstructed)
{
    startReplay(3 * genericFrame(7));
    EXPECT_EQ(1, m_completed);
    EXPECT_TRUE(m_sentAtCompletion);
    expectDatagrams({genericPacket(7), genericPacket(7), genericPacket(7)});
}

TEST_F(SteppedPlayer, sendsEachRecordInItsTimeAndCompletesAfterTheLast)
{
    startReplay(genericFrame(0) + genericFrame(100) + genericFrame(100) + genericFrame(250));
    expectDatagrams({genericPacket(0)});
    advance(99);
    expectDatagrams({});
    advance(1);
    expectDatagrams({genericPacket(100), genericPacket(100)});
    advance(149);
    expectDatagrams({});
    EXPECT_EQ(0, m_completed);

    EXPECT_EQ(END_OF_FILE, capturedOutput([this] { advance(1); }));
    EXPECT_EQ(1, m_completed);
    EXPECT_TRUE(m_sentAtCompletion);
    expectDatagrams({genericPacket(250)});

    advance(100000);
    EXPECT_EQ(1, m_completed);
    expectDatagrams({});
}

TEST_F(SteppedPlayer, endsAtTheFirstFrameThatCannotBeRead)
{
    Bytes unknown = genericFrame(7);
    Bytes otherVersion = unknown;
    Bytes wrongFooter = unknown;
    unknown[0] = 6;
    otherVersion[1] = 2;
    wrongFooter[20] = wrongFooter[21] = wrongFooter[22] = wrongFooter[23] = 0;
    struct
    {
        char const* name;
        Bytes end;
        char const* output;
    } const cases[] = {
        {"unknown type", unknown + genericFrame(7), ""},
        {"other version", otherVersion + genericFrame(7), "Illegal frame header version 2"},
        {"wrong footer", wrongFooter + genericFrame(7),
         "Illegal frame header footer 0could not read frame content, return false\n"},
        {"frame cut short",
         {0x05, 0x01, 0x14, 0x00, 0x00, 0x00, 0x00, 0x00, 0x07},
         "End of file reached\ncould not read frame content, return false\n"},
        {"header cut short", {0x05, 0x01, 0x14}, "End of file reached\n"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        m_connection = std::make_shared<FdloopUdpCon>(testLoop(), 0);
        m_completed = 0;
        EXPECT_EQ(c.output, capturedOutput([&] { startReplay(2 * genericFrame(7) + c.end); }));
        EXPECT_EQ(1, m_completed);
        expectDatagrams({genericPacket(7), genericPacket(7)});
        stopReplay();
    }
}

TEST_F(SteppedPlayer, sendsAnyByteOfAFlagAsAFlag)
{
    Bytes frame = toBytes(Sample<AttitudeData>::FRAME);
    Bytes packet = toBytes(Sample<AttitudeData>::PACKET);
    Bytes const flags[] = {{0x02, 0x80, 0xFF, 0x00}, {0x01, 0x01, 0x01, 0x00}};
    std::copy(flags[0].begin(), flags[0].end(), frame.end() - 8);
    std::copy(flags[1].begin(), flags[1].end(), packet.end() - 4);

    startReplay(sampleFrames<AttitudeData>() + frame);
    expectDatagrams({toBytes(Sample<AttitudeData>::PACKET), packet});
}

TEST_F(SteppedPlayer, neverSendsTheRecordThatIsHeldAtItsEnd)
{
    startReplay(genericFrame(0) + genericFrame(100));
    EXPECT_EQ(1U, timerCount(testLoop()));
    stopReplay();

    EXPECT_EQ(0U, timerCount(testLoop()));
    advance(100);
    expectDatagrams({genericPacket(0)});
    EXPECT_EQ(0, m_completed);
}

TEST_F(SteppedPlayer, leavesNothingBehindInTheLoop)
{
    startReplay(genericFrame(0) + genericFrame(100));
    stopReplay();

    EXPECT_EQ(1, fdloop_run(testLoop())) << "the loop still waits for something";
    EXPECT_EQ(1, m_connection.use_count());
    EXPECT_EQ(1, m_address.use_count());
}

TEST_F(SteppedPlayer, goesOnWhenARecordCannotBeSent)
{
    m_address->sin_port = 0;
    std::string const output =
        capturedOutput([this] { startReplay(genericFrame(0) + genericFrame(100)); });
    ASSERT_GT(output.size(), 8U); // the time
    EXPECT_EQ("   DEBUG: UdpSocket::transmit: sendto failed errno 22: Invalid argument",
              output.substr(8, 71));

    m_address->sin_port = m_device.address().sin_port;
    advance(100);
    expectDatagrams({genericPacket(100)});
    EXPECT_EQ(1, m_completed);
}

TEST_F(SteppedPlayer, throwsWhenTheLogCannotBeOpened)
{
    std::string const name = m_dir.file("missing");
    try {
        Player const player(testLoop(), name, m_connection, m_address, [this] {
            ++m_completed;
            return true;
        });
        ADD_FAILURE() << "nothing thrown";
    } catch (std::system_error const& e) {
        EXPECT_EQ("LogFile: failed to open file " + name + ": No such file or directory", e.what());
    }
    EXPECT_EQ(0, m_completed);
    EXPECT_EQ(1, m_connection.use_count());
    EXPECT_EQ(1, m_address.use_count());
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the connection is open";
}

TEST_F(SteppedPlayer, cannotCompleteWithoutACompletion)
{
    writeBytes(m_dir.file("log"), genericFrame(0));
    EXPECT_THROW(Player(testLoop(), m_dir.file("log"), m_connection, m_address, {}),
                 std::bad_function_call);
    EXPECT_EQ(1, m_connection.use_count());
    EXPECT_EQ(1, m_address.use_count());
    expectDatagrams({genericPacket(0)});
}

TEST_F(SteppedPlayer, usesNoMoreStackForManyRecordsThanForOne)
{
    static constexpr size_t COUNT = 1000;
    auto const probe = std::make_shared<StackProbe>();
    m_connection = probe;

    startReplay(COUNT * genericFrame(7) + COUNT * genericFrame(8));
    EXPECT_EQ(COUNT, probe->count);
    EXPECT_EQ(1U, probe->frames.size());

    probe->frames.clear();
    advance(1);
    EXPECT_EQ(2 * COUNT, probe->count);
    EXPECT_EQ(2U, probe->frames.size()) << "one for the record of the timer, one for all others";
    EXPECT_EQ(1, m_completed);
}

TEST_F(SteppedPlayer, replaysALargeLogOfOneStampOnASmallStack)
{
    static constexpr size_t COUNT = 200000;
    Bytes const log = COUNT * genericFrame(7);

    ChildResult const result = runInChild([&] {
        auto const probe = std::make_shared<StackProbe>();
        m_connection = probe;
        runOnStackOf(128 * size_t{1024}, [&] { startReplay(log); });
        printf("%zu records, completed %d\n", probe->count, m_completed);
    });
    EXPECT_EQ(0, result.exitCode());
    EXPECT_EQ("End of file reached\n200000 records, completed 1\n", result.output);
}

TEST_F(SteppedPlayer, stopsBetweenDueRecordsForASignalThatEndsTheRun)
{
    ChildResult const result = runInChild([this] {
        auto const probe = std::make_shared<StackProbe>();
        m_connection = probe;
        tt_interrupt_catch(SIGUSR1);
        probe->onTransmit = [&probe] {
            if (probe->count == 10)
                raise(SIGUSR1);
        };
        startReplay(600 * genericFrame(7));
        printf("%zu records, completed %d\n", probe->count, m_completed);
    });
    EXPECT_EQ(0, result.exitCode());
    EXPECT_EQ("10 records, completed 0\n", result.output);
}

// As from a pipe that gives no more: it is CTRL-C that ends the run, not the log.
TEST_F(SteppedPlayer, doesNotCompleteWhenASignalEndsARead)
{
    ChildResult const result = runInChild([this] {
        ASSERT_EQ(0, mkfifo(m_dir.file("log").c_str(), 0600));
        tt_interrupt_catch(SIGUSR1);
        onceAsleep([](pid_t reader) { kill(reader, SIGUSR1); });
        startReplayOfTheLog();
        printf("completed %d\n", m_completed);
    });
    EXPECT_EQ(0, result.exitCode());
    EXPECT_EQ("File read failed res 0, errno 4\ncompleted 0\n", result.output);
}

TEST_F(PlayerTest, isDrivenByTheLoop)
{
    startReplay(genericFrame(0) + genericFrame(20) + genericFrame(60));
    EXPECT_EQ(0, m_completed);
    EXPECT_TRUE(runUntil([this] { return m_completed > 0; }));
    EXPECT_EQ(1, m_completed);
    expectDatagrams({genericPacket(0), genericPacket(20), genericPacket(60)});
}
