// The floor of replaying: it does log_tool's work at the cost of a buffered read and one sendto per
// record. All records go out at once; with --paced in front of the other arguments each goes out on
// its millisecond, by the rule of log_tool's loop.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>

#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>

#include "bare_codec.h"
#include "command_line.h"
#include "log_frames/input_file.h"
#include "log_frames/replay_reader.h"
#include "packet_codec.h"
#include "tt_time.h"

struct Pace
{
    bool isKept;
    std::optional<uint32_t> firstTicks;
    uint32_t startMs;
    uint32_t wokenMs;
};

struct Replay
{
    int fd;
    sockaddr_in device;
    Pace pace;
};

// A wait counts from the reading of the clock at the last wake-up, since the loop has one reading
// for all timers of a pass. Work since then makes the record late if the clock has moved on
// meanwhile.
static void waitUntilDue(Pace& pace, uint32_t ticks)
{
    if (!pace.firstTicks) {
        pace.firstTicks = ticks;
        pace.startMs = tt_time_ms();
        pace.wokenMs = pace.startMs;
    }
    int64_t const due = int64_t{ticks} - int64_t{*pace.firstTicks};
    if (due <= int64_t{tt_time_ms_elapsed(pace.startMs)})
        return;

    while (true) {
        int64_t const wait = due - int64_t{pace.wokenMs - pace.startMs};
        if (wait < 1)
            return;
        timeval limit = {};
        limit.tv_sec = static_cast<time_t>(wait / 1000);
        limit.tv_usec = static_cast<suseconds_t>(wait % 1000 * 1000);
        select(0, nullptr, nullptr, nullptr, &limit);
        pace.wokenMs = tt_time_ms();
    }
}

template <class Record>
static void replayRecord(Replay& replay, Record const& record)
{
    static auto const HEADER = encodePacket(Record{});
    static constexpr size_t STAMP_AT = 4;

    uint32_t const ticks = ticksOf(record);
    auto packet = HEADER;
    BareWriter(packet.data() + STAMP_AT).word(ticks);
    BareWriter writer(packet.data() + PACKET_HEADER_SIZE);
    PacketFormat<Record>::fields(writer, record);

    if (replay.pace.isKept)
        waitUntilDue(replay.pace, ticks);
    sendto(replay.fd, packet.data(), packet.size(), 0,
           reinterpret_cast<sockaddr const*>(&replay.device), sizeof replay.device);
}

/// Reads as much at a time as a C stream does, so that the system calls are those of log_tool.
class StreamSizedReads : public IByteSource
{
public:
    explicit StreamSizedReads(IByteSource& source) : m_source(source) {}

    size_t read(unsigned char* data, size_t size) override
    {
        return m_source.read(data, std::min(size, STREAM_BUFFER_SIZE));
    }

private:
    static constexpr size_t STREAM_BUFFER_SIZE = 4096;

    IByteSource& m_source;
};

static void replayLog(Replay& replay, char const* name)
{
    InputFile file(name);
    StreamSizedReads reads(file);
    ReplayReader log(reads);
    while (auto const frame = log.next())
        visitRecordType(frame->index(), [&](auto record) {
            replayRecord(replay, frame->record<decltype(record)>());
        });
}

int main(int argc, char** argv)
{
    Replay replay = {};
    if (argc > 1 && strcmp(argv[1], "--paced") == 0) {
        replay.pace.isKept = true;
        --argc;
        ++argv;
    }
    CommandLine line;
    replay.device.sin_family = AF_INET;
    parseCommandLine(argc, argv, line, replay.device);

    replay.fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    if (replay.fd == -1) {
        perror("socket");
        return EXIT_FAILURE;
    }
    try {
        replayLog(replay, line.fileName);
    } catch (std::exception const& error) {
        fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
    puts("End of file reached");
    return EXIT_SUCCESS;
}
