#include "log_tool.h"

#include <csignal>
#include <memory>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "captured_output.h"
#include "child_process.h"
#include "loopback_peer.h"
#include "player.h"
#include "recorder.h"
#include "sample_records.h"
#include "temp_dir.h"
#include "test_loop.h"

namespace
{

/// A mode that notes at its end what the tool's mode is and what the log file holds.
class ProbeMode : public Mode
{
public:
    ProbeMode(LogTool const& tool, bool& replaced, Bytes& file)
        : m_tool(tool),
          m_replaced(replaced),
          m_file(file)
    {}
    ~ProbeMode() override
    {
        m_replaced = dynamic_cast<Recorder*>(m_tool.m_mode.get()) != nullptr;
        m_file = readBytes(m_tool.m_fileName);
    }
    ProbeMode(ProbeMode const&) = delete;
    ProbeMode& operator=(ProbeMode const&) = delete;

private:
    LogTool const& m_tool;
    bool& m_replaced;
    Bytes& m_file;
};

class LogToolTest : public testing::Test
{
protected:
    TempDir m_dir;
    LoopbackPeer m_device;
    std::shared_ptr<sockaddr_in> m_address = std::make_shared<sockaddr_in>(m_device.address());
    LogTool m_tool{testLoop(), m_dir.file("log"), m_address};
};

}

TEST_F(LogToolTest, startsWithoutAModeAndWithAConnection)
{
    EXPECT_FALSE(m_tool.m_stop);
    EXPECT_EQ(m_dir.file("log"), m_tool.m_fileName);
    EXPECT_TRUE(m_tool.m_udpCon);
    EXPECT_EQ(nullptr, m_tool.m_mode);
    EXPECT_EQ(m_address, m_tool.m_address);
    EXPECT_EQ(testLoop(), m_tool.m_loop);
}

TEST_F(LogToolTest, doesNotOpenItsConnection)
{
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the loop has something to wait for";
    std::string const output = capturedOutput([this] { EXPECT_FALSE(m_tool.m_udpCon->close()); });
    ASSERT_GT(output.size(), 8U); // the time
    EXPECT_EQ(" WARNING: FdloopUdpCon::close: not open\n", output.substr(8));
}

TEST_F(LogToolTest, bindsItsConnectionToPortsThatTheSystemChooses)
{
    LogTool const other(testLoop(), m_dir.file("other"), m_address);
    in_port_t ports[2] = {};

    EXPECT_TRUE(m_tool.m_udpCon->open());
    m_device.meet(*m_tool.m_udpCon);
    ports[0] = m_device.sender().sin_port;
    EXPECT_TRUE(other.m_udpCon->open());
    m_device.meet(*other.m_udpCon);
    ports[1] = m_device.sender().sin_port;

    EXPECT_NE(0, ports[0]);
    EXPECT_NE(0, ports[1]);
    EXPECT_NE(ports[0], ports[1]);
    EXPECT_NE(m_device.address().sin_port, ports[0]);
}

TEST_F(LogToolTest, recordsIntoItsFileFromItsConnection)
{
    m_tool.record();
    EXPECT_NE(nullptr, dynamic_cast<Recorder*>(m_tool.m_mode.get()));
    EXPECT_FALSE(m_tool.m_stop);

    m_device.meet(*m_tool.m_udpCon);
    m_device.send(Sample<GnssPvt>::PACKET);
    m_tool.m_udpCon->rxDataReady();
    m_tool.m_mode.reset();
    EXPECT_EQ(sampleFrames<GnssPvt>(), readBytes(m_dir.file("log")));
}

TEST_F(LogToolTest, saysHelloToTheDeviceAtItsAddress)
{
    m_tool.record();
    EXPECT_EQ("send hello\n",
              capturedOutput([this] { static_cast<Recorder&>(*m_tool.m_mode).sendHello(); }));
    EXPECT_EQ((Bytes{0x68, 0x65, 0x6A, 0x00}), m_device.receive());
}

TEST_F(LogToolTest, endsTheModeBeforeWhenTheNewOneIsInPlace)
{
    bool replaced = false;
    Bytes file;
    writeBytes(m_dir.file("log"), {1, 2, 3});
    m_tool.m_mode = std::make_unique<ProbeMode>(m_tool, replaced, file);

    m_tool.record();
    EXPECT_TRUE(replaced);
    EXPECT_EQ(Bytes(), file) << "the new mode had not opened the file";
}

TEST_F(LogToolTest, keepsTheModeBeforeWhenTheFileCannotBeOpened)
{
    bool replaced = false;
    Bytes file;
    auto mode = std::make_unique<ProbeMode>(m_tool, replaced, file);
    Mode const* const before = mode.get();
    m_tool.m_mode = std::move(mode);
    m_tool.m_fileName = m_dir.file("missing/log");

    EXPECT_THROW(m_tool.record(), std::system_error);
    EXPECT_EQ(before, m_tool.m_mode.get());
    EXPECT_THROW(m_tool.play(), std::system_error);
    EXPECT_EQ(before, m_tool.m_mode.get());
    EXPECT_FALSE(m_tool.m_stop);
    m_tool.m_mode.reset();
}

TEST_F(LogToolTest, playsItsFileThroughItsConnectionAndStops)
{
    Bytes later = sampleFrames<GenericData>();
    later[8] = static_cast<unsigned char>(later[8] + 20); // ms
    Bytes log = sampleFrames<GenericData>();
    log.insert(log.end(), later.begin(), later.end());
    writeBytes(m_dir.file("log"), log);

    m_tool.play();
    EXPECT_NE(nullptr, dynamic_cast<Player*>(m_tool.m_mode.get()));
    EXPECT_FALSE(m_tool.m_stop);
    EXPECT_EQ(toBytes(Sample<GenericData>::PACKET), m_device.receive());

    EXPECT_EQ("End of file reached\n",
              capturedOutput([this] { EXPECT_TRUE(runUntil([this] { return m_tool.m_stop; })); }));
    EXPECT_EQ((Bytes{0x05, 0x01, 0x14, 0x00, 0x11, 0x12, 0x13, 0x28, 0x11, 0x12,
                     0x13, 0x28, 0xF1, 0xF2, 0xF3, 0xF4, 0x35, 0x36, 0x37, 0x38}),
              m_device.receive());
    EXPECT_TRUE(m_tool.m_mode);
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the connection is not closed";
}

TEST_F(LogToolTest, stopsAtOnceWhenThereIsNothingToPlay)
{
    writeBytes(m_dir.file("log"), {});
    EXPECT_EQ("End of file reached\n", capturedOutput([this] { m_tool.play(); }));
    EXPECT_TRUE(m_tool.m_stop);
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the connection is not closed";
    EXPECT_FALSE(m_device.hasDatagram());
}

TEST_F(LogToolTest, dropsTheHeldRecordWhenTheReplayEndsEarly)
{
    writeBytes(m_dir.file("log"), sampleFrames<ImuData, GenericData>()); // 74 hours apart
    m_tool.play();
    EXPECT_EQ(toBytes(Sample<ImuData>::PACKET), m_device.receive());
    m_tool.m_mode.reset();
    EXPECT_FALSE(m_tool.m_stop);
    EXPECT_EQ(1, fdloop_run(testLoop())) << "the loop still waits for something";
}

TEST_F(LogToolTest, panicsWithoutAnAddress)
{
    struct
    {
        char const* name;
        void (LogTool::*start)();
        char const* output;
    } const cases[] = {
        {"play", &LogTool::play, "Panic: *** ASSERT in log_tool at 20\n"},
        {"record", &LogTool::record, "Panic: *** ASSERT in log_tool at 28\n"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        ChildResult const result = runInChild([&] {
            LogTool tool(testLoop(), m_dir.file("log"), nullptr);
            (tool.*c.start)();
        });
        EXPECT_EQ(SIGABRT, result.signal());
        EXPECT_EQ(c.output, result.output);
        EXPECT_FALSE(std::filesystem::exists(m_dir.file("log")));
    }
}
