// The floor of recording: it does log_tool's work at the cost of the system calls and of one
// buffered write per frame. Command line and hellos are log_tool's.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>

#include "bare_codec.h"
#include "command_line.h"
#include "frame_header.h"
#include "hello.h"
#include "packet_format.h"
#include "record_list.h"

static constexpr timeval HELLO_PERIOD = {1, 0};
static constexpr unsigned HELLO_EVERY_N_PACKETS = 50;

static volatile sig_atomic_t s_stop = 0;

template <class Record>
struct Frame
{
    FrameHeader header;
    Record record;
    uint32_t footer;
};

struct Link
{
    int fd;
    sockaddr_in device;
    unsigned datagrams; // since the last hello that they caused
};

static void sayHello(Link const& link)
{
    sendto(link.fd, HELLO, sizeof HELLO, 0, reinterpret_cast<sockaddr const*>(&link.device),
           sizeof link.device);
    puts("send hello");
}

static void writeFrame(unsigned char const* datagram, size_t size, FILE* log)
{
    visitRecordType(datagram[0] - size_t{1}, [=](auto record) {
        using Record = decltype(record);
        if (size < packetSize<Record>())
            abort();
        BareReader reader(datagram + PACKET_HEADER_SIZE);
        PacketFormat<Record>::fields(reader, record);

        Frame<Record> const frame = {FRAME_HEADER<Record>, record, FRAME_FOOTER};
        static_assert(sizeof frame == sizeof frame.header + sizeof record + sizeof frame.footer);
        fwrite(&frame, sizeof frame, 1, log);
    });
}

// Takes all that is queued. True when a hello was said.
static bool drain(Link& link, FILE* log)
{
    bool saidHello = false;
    while (s_stop == 0) {
        unsigned char datagram[1600];
        sockaddr_in from;
        socklen_t fromSize = sizeof from;
        ssize_t const size = recvfrom(link.fd, datagram, sizeof datagram, 0,
                                      reinterpret_cast<sockaddr*>(&from), &fromSize);
        if (size < 1)
            break;
        writeFrame(datagram, static_cast<size_t>(size), log);
        if (++link.datagrams < HELLO_EVERY_N_PACKETS)
            continue;
        sayHello(link);
        link.datagrams = 0;
        saidHello = true;
    }
    return saidHello;
}

static void record(Link& link, FILE* log)
{
    timeval untilHello = {};
    while (s_stop == 0) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(link.fd, &readable);

        // What is left of the time-out stays in it. A CTRL-C just before the wait is seen at its
        // end.
        int const ready = select(link.fd + 1, &readable, nullptr, nullptr, &untilHello);
        if (ready == 0) {
            printf("timeout: ");
            sayHello(link);
        }
        if (ready == 0 || (ready > 0 && drain(link, log)))
            untilHello = HELLO_PERIOD;
    }
}

int main(int argc, char** argv)
{
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    CommandLine line;
    Link link = {};
    link.device.sin_family = AF_INET;
    parseCommandLine(argc, argv, line, link.device);

    FILE* const log = fopen64(line.fileName, "w+");
    link.fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    if (!log || link.fd == -1) {
        perror(line.fileName);
        return EXIT_FAILURE;
    }
    signal(SIGINT, [](int) { s_stop = 1; });
    record(link, log);
    puts("\nCTRL-C Pressed");
    return fclose(log) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
