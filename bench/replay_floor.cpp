// Replays a whole log like log_tool, at the cost of a buffered read and one sendto per record: the
// floor under what a replay can cost. All records go out at once; with --paced in front of the
// other arguments each goes out on its millisecond, by the rule of log_tool's loop.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>

#include "bare_codec.h"
#include "command_line.h"
#include "frame_header.h"
#include "packet_codec.h"
#include "record_list.h"
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
    FILE* log;
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
static bool replayRecord(Replay& replay)
{
    static auto const HEADER = encodePacket(Record{});
    static constexpr size_t STAMP_AT = 4;
    struct
    {
        Record record;
        uint32_t footer;
    } body;
    static_assert(sizeof body == sizeof body.record + sizeof body.footer);

    if (fread(&body, sizeof body, 1, replay.log) != 1)
        return false;
    uint32_t const ticks = ticksOf(body.record);
    auto packet = HEADER;
    BareWriter(packet.data() + STAMP_AT).word(ticks);
    BareWriter writer(packet.data() + PACKET_HEADER_SIZE);
    PacketFormat<Record>::fields(writer, body.record);

    if (replay.pace.isKept)
        waitUntilDue(replay.pace, ticks);
    sendto(replay.fd, packet.data(), packet.size(), 0,
           reinterpret_cast<sockaddr const*>(&replay.device), sizeof replay.device);
    return true;
}

static bool replayFrame(Replay& replay)
{
    FrameHeader header;
    bool isWhole = false;
    if (fread(&header, sizeof header, 1, replay.log) == 1)
        visitRecordType(header.type - size_t{1},
                        [&](auto record) { isWhole = replayRecord<decltype(record)>(replay); });
    return isWhole;
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

    replay.log = fopen64(line.fileName, "r+");
    replay.fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    if (!replay.log || replay.fd == -1) {
        perror(line.fileName);
        return EXIT_FAILURE;
    }
    while (replayFrame(replay)) {
    }
    puts("End of file reached");
    return fclose(replay.log) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
