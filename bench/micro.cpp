// What single steps of recording and replaying cost, and how it grows.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <unistd.h>

#include "binary_write_observer.h"
#include "fdloop.h"
#include "log_data_reader.h"
#include "packet_codec.h"
#include "playback_observable.h"
#include "subscribe_all.h"

/// A record with no two bytes of a number alike.
template <class Record>
static Record sampleRecord()
{
    std::array<unsigned char, packetSize<Record>()> packet;
    for (size_t i = 0; i < packet.size(); ++i)
        packet[i] = static_cast<unsigned char>(i);
    return decodePacket<Record>(packet.data());
}

template <class Record>
static void decode(benchmark::State& state)
{
    auto packet = encodePacket(sampleRecord<Record>());
    for ([[maybe_unused]] auto pass : state) {
        benchmark::DoNotOptimize(packet.data());
        benchmark::ClobberMemory();
        Record record = decodePacket<Record>(packet.data());
        benchmark::DoNotOptimize(record);
    }
}
BENCHMARK_TEMPLATE(decode, ImuData);
BENCHMARK_TEMPLATE(decode, GnssData);
BENCHMARK_TEMPLATE(decode, GnssPvt);
BENCHMARK_TEMPLATE(decode, AttitudeData);
BENCHMARK_TEMPLATE(decode, GenericData);

template <class Record>
static void encode(benchmark::State& state)
{
    auto record = sampleRecord<Record>();
    for ([[maybe_unused]] auto pass : state) {
        benchmark::DoNotOptimize(&record);
        benchmark::ClobberMemory();
        auto packet = encodePacket(record);
        benchmark::DoNotOptimize(packet);
    }
}
BENCHMARK_TEMPLATE(encode, ImuData);
BENCHMARK_TEMPLATE(encode, GnssData);
BENCHMARK_TEMPLATE(encode, GnssPvt);
BENCHMARK_TEMPLATE(encode, AttitudeData);
BENCHMARK_TEMPLATE(encode, GenericData);

class LastRecord : public TIObserver<ImuData>
{
public:
    void update(ImuData const& record) override { m_record = record; }

private:
    ImuData m_record = {};
};

static void notify(benchmark::State& state)
{
    TObservable<ImuData> observable;
    std::vector<std::shared_ptr<LastRecord>> observers;
    for (int64_t i = 0; i < state.range(0); ++i) {
        observers.push_back(std::make_shared<LastRecord>());
        observable.subscribe(observers.back());
    }
    auto const record = sampleRecord<ImuData>();
    for ([[maybe_unused]] auto pass : state)
        observable.notifySubscribers(record);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(notify)->RangeMultiplier(4)->Range(1, 1024)->Complexity();

static void writeFrame(benchmark::State& state)
{
    BinaryWriteObserver observer;
    observer.writer().openFile("/dev/null");
    auto const record = sampleRecord<ImuData>();
    for ([[maybe_unused]] auto pass : state)
        observer.update(record);
}
BENCHMARK(writeFrame);

/// A log file that is gone with it.
class ScopedLog
{
public:
    explicit ScopedLog(int64_t frames) : m_name("/tmp/log_tool-micro-" + std::to_string(getpid()))
    {
        BinaryWriteObserver observer;
        observer.writer().openFile(m_name);
        auto const record = sampleRecord<ImuData>();
        for (int64_t i = 0; i < frames; ++i)
            observer.update(record);
    }
    ~ScopedLog() { unlink(m_name.c_str()); }
    ScopedLog(ScopedLog const&) = delete;
    ScopedLog& operator=(ScopedLog const&) = delete;

    std::string const& name() const { return m_name; }

private:
    std::string m_name;
};

// Without observers. The file is opened again before its end, because the end would be printed.
static void readFrame(benchmark::State& state)
{
    static constexpr int64_t FRAMES = 100000;
    ScopedLog const log(FRAMES);
    LogDataReader reader;
    int64_t left = 0;
    for ([[maybe_unused]] auto pass : state) {
        if (left == 0) {
            state.PauseTiming();
            reader.openFile(log.name());
            left = FRAMES;
            state.ResumeTiming();
        }
        reader.readPacket();
        --left;
    }
}
BENCHMARK(readFrame);

// Nothing frees a loop: its entries are taken out, and one serves all measurements.
static _fdloop_t* emptyLoop()
{
    static _fdloop_t* const s_loop = fdloop_init();
    return s_loop;
}

class IdleTimers
{
public:
    explicit IdleTimers(int64_t count)
    {
        for (int64_t i = 0; i < count; ++i)
            m_timers.push_back(add(HOUR_MS));
    }
    ~IdleTimers()
    {
        for (_fdloop_timer_t* const timer : m_timers)
            fdloop_timer_del(emptyLoop(), timer);
    }
    IdleTimers(IdleTimers const&) = delete;
    IdleTimers& operator=(IdleTimers const&) = delete;

    static _fdloop_timer_t* add(unsigned intervalMs)
    {
        return fdloop_timer_add(
            emptyLoop(), intervalMs, [](void*) { return 1; }, nullptr);
    }

    static constexpr unsigned HOUR_MS = 3600 * 1000;

private:
    std::vector<_fdloop_timer_t*> m_timers;
};

// After all others: the longest way.
static void insertTimer(benchmark::State& state)
{
    IdleTimers const others(state.range(0));
    for ([[maybe_unused]] auto pass : state)
        fdloop_timer_del(emptyLoop(), IdleTimers::add(2 * IdleTimers::HOUR_MS));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(insertTimer)->RangeMultiplier(4)->Range(1, 1024)->Complexity();

// None is due.
static void timerPass(benchmark::State& state)
{
    IdleTimers const timers(state.range(0));
    uint32_t const now = fdloop_time_ms();
    for ([[maybe_unused]] auto pass : state)
        benchmark::DoNotOptimize(fdloop_timers_run(emptyLoop(), now));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(timerPass)->RangeMultiplier(4)->Range(1, 1024)->Complexity();

// One is due at each pass and runs.
static void dueTimerPass(benchmark::State& state)
{
    IdleTimers const others(state.range(0));
    _fdloop_timer_t* const due = IdleTimers::add(0);
    uint32_t const now = fdloop_time_ms();
    for ([[maybe_unused]] auto pass : state)
        benchmark::DoNotOptimize(fdloop_timers_run(emptyLoop(), now));
    fdloop_timer_del(emptyLoop(), due);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(dueTimerPass)->RangeMultiplier(4)->Range(1, 1024)->Complexity();

// A whole pass of the loop over sockets of which one has a datagram.
static void socketPass(benchmark::State& state)
{
    std::vector<std::array<int, 2>> pairs(static_cast<size_t>(state.range(0)));
    for (auto& pair : pairs) {
        if (socketpair(AF_UNIX, SOCK_DGRAM, 0, pair.data()) == -1)
            state.SkipWithError("no more descriptors");
        fdloop_fd_register(
            emptyLoop(), pair[0],
            [](int fd, void*) {
                char byte = 0;
                benchmark::DoNotOptimize(read(fd, &byte, 1));
                return 0;
            },
            nullptr);
    }
    for ([[maybe_unused]] auto pass : state) {
        benchmark::DoNotOptimize(write(pairs.back()[1], "", 1));
        fdloop_run(emptyLoop());
    }
    for (auto const& pair : pairs) {
        fdloop_fd_unregister(emptyLoop(), pair[0]);
        close(pair[0]);
        close(pair[1]);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(socketPass)->RangeMultiplier(4)->Range(1, 256)->Complexity();

BENCHMARK_MAIN();
