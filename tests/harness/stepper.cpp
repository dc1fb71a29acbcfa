// Runs a program and interrupts it at one chosen instruction.
//
//   stepper REPORT COUNT[@OFFSET+SIZE,...] COMMAND...
//
// It steps through COMMAND instruction by instruction from where that first catches SIGINT. At the
// COUNTth instruction, or, as the program may never come so far, when it waits a second after the
// first one, it sends SIGINT, looks on until the handler returns and lets the program go on alone.
// Only the instructions of the given parts of the executable count, if any is given, by their
// offset from its start in memory. With a COUNT of 0 somebody else sends SIGINT. REPORT gets a line
// each:
//
//   steps N       instructions that counted
//   struck X      what was to be executed when SIGINT came, an offset if in the executable
//   calls NAME... the system calls of the handler, the return from it included
//
// The command keeps this process. The one that looks on is a child, which has the command's output
// open until the report is written.

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <elf.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

static constexpr time_t AT_THE_LATEST_S = 1;

struct Range
{
    uint64_t start;
    uint64_t size;
};

[[noreturn]] static void fail(char const* what)
{
    perror(what);
    exit(1);
}

static long trace(int request, pid_t pid, uintptr_t address, uintptr_t data)
{
    long const result = ptrace(static_cast<__ptrace_request>(request), pid, address, data);
    if (result == -1)
        fail("ptrace");
    return result;
}

static bool isInterruptCaught(pid_t pid)
{
    FILE* const status = fopen(("/proc/" + std::to_string(pid) + "/status").c_str(), "r");
    if (!status)
        fail("status");

    uint64_t caught = 0;
    char line[256];
    while (fgets(line, sizeof line, status)) {
        if (strncmp(line, "SigCgt:", 7) == 0)
            caught = strtoull(line + 7, nullptr, 16);
    }
    fclose(status);
    return (caught & uint64_t{1} << (SIGINT - 1)) != 0;
}

static std::string systemCallName(uint64_t number)
{
    switch (number) {
    case SYS_rt_sigaction:
        return "rt_sigaction";
    case SYS_rt_sigreturn:
        return "rt_sigreturn";
    case SYS_setitimer:
        return "setitimer";
    case SYS_clock_gettime: // where the kernel maps no clock into the process
        return "clock_gettime";
    default:
        return std::to_string(number);
    }
}

static uint64_t programCounter(pid_t pid)
{
    user_regs_struct registers = {};
    iovec part = {&registers, sizeof registers};
    trace(PTRACE_GETREGSET, pid, NT_PRSTATUS, reinterpret_cast<uintptr_t>(&part));
#if defined(__x86_64__)
    return registers.rip;
#elif defined(__aarch64__)
    return registers.pc;
#else
#error "no single steps on this machine"
#endif
}

// Where the executable lies in memory: it is the first file that the kernel maps.
static Range executable(pid_t pid)
{
    std::string const prefix = "/proc/" + std::to_string(pid);
    char path[4096] = {};
    if (readlink((prefix + "/exe").c_str(), path, sizeof path - 1) < 0)
        fail("exe");
    FILE* const maps = fopen((prefix + "/maps").c_str(), "r");
    if (!maps)
        fail("maps");

    Range part = {};
    char line[8192];
    while (fgets(line, sizeof line, maps)) {
        char* rest = nullptr;
        uint64_t const start = strtoull(line, &rest, 16);
        if (!strstr(line, path) || *rest != '-')
            continue;
        uint64_t const end = strtoull(rest + 1, nullptr, 16);
        if (part.start == 0)
            part.start = start;
        part.size = end - part.start;
    }
    fclose(maps);
    return part;
}

static bool contains(Range const& part, uint64_t address)
{
    return address - part.start < part.size;
}

static void onAlarm(int /*sig*/) {}

// Interrupts a wait for a program that waits itself, so that the count is not reached.
static void startAlarm()
{
    struct sigaction action = {};
    action.sa_handler = onAlarm; // without SA_RESTART
    itimerval period = {};
    period.it_value.tv_sec = AT_THE_LATEST_S;
    period.it_interval.tv_usec = 100000; // the first may come before the wait
    if (sigaction(SIGALRM, &action, nullptr) != 0 || setitimer(ITIMER_REAL, &period, nullptr) != 0)
        fail("alarm");
}

class Stepper
{
public:
    Stepper(pid_t pid, char const* report, char const* aim) : m_pid(pid), m_report(report)
    {
        char* rest = nullptr;
        m_count = strtoull(aim, &rest, 10);
        while (*rest == '@' || *rest == ',') {
            uint64_t const start = strtoull(rest + 1, &rest, 16);
            uint64_t const size = *rest == '+' ? strtoull(rest + 1, &rest, 16) : 0;
            m_parts.push_back({start, size});
        }
    }

    void run()
    {
        runToTheCatch();
        m_executable = executable(m_pid);
        if (m_count != 0)
            startAlarm();

        while (!m_ended && m_signal != SIGINT) {
            m_counter = programCounter(m_pid);
            if (counts(m_counter) && ++m_steps == m_count)
                kill(m_pid, SIGINT);
            resume(PTRACE_SINGLESTEP);
        }
        watchHandler();
        writeReport();
        if (!m_ended)
            trace(PTRACE_DETACH, m_pid, 0, m_signal);
    }

private:
    // From system call to system call, which is fast: the dynamic linker takes millions of steps.
    void runToTheCatch()
    {
        while (!m_ended && !isInterruptCaught(m_pid))
            resume(PTRACE_SYSCALL);
    }

    // From the delivery of SIGINT to the handler's return.
    void watchHandler()
    {
        bool hasReturned = false;
        while (!m_ended && !hasReturned) {
            resume(PTRACE_SYSCALL);
            __ptrace_syscall_info call = {};
            trace(PTRACE_GET_SYSCALL_INFO, m_pid, sizeof call, reinterpret_cast<uintptr_t>(&call));
            if (call.op != PTRACE_SYSCALL_INFO_ENTRY)
                continue;
            m_calls += " " + systemCallName(call.entry.nr);
            hasReturned = call.entry.nr == SYS_rt_sigreturn;
        }
    }

    // To the next stop. A signal that comes in between is handed on.
    void resume(int request)
    {
        trace(request, m_pid, 0, m_signal);
        int status = 0;
        while (waitpid(m_pid, &status, __WALL) != m_pid) {
            if (errno != EINTR)
                fail("waitpid");
            kill(m_pid, SIGINT); // it is too late
        }
        m_ended = !WIFSTOPPED(status);
        bool const stopsOfItsOwn =
            !m_ended && (status >> 8 & 0x80 || status >> 16 != 0 || WSTOPSIG(status) == SIGTRAP);
        m_signal = m_ended || stopsOfItsOwn ? 0 : static_cast<uintptr_t>(WSTOPSIG(status));
    }

    bool counts(uint64_t counter) const
    {
        if (m_parts.empty())
            return true;
        for (Range const& part : m_parts) {
            if (contains(part, counter - m_executable.start))
                return true;
        }
        return false;
    }

    void writeReport() const
    {
        FILE* const file = fopen(m_report, "w");
        if (!file)
            fail(m_report);
        fprintf(file, "steps %llu\n", static_cast<unsigned long long>(m_steps));
        uint64_t const from = contains(m_executable, m_counter) ? m_executable.start : 0;
        fprintf(file, "struck %llx\n", static_cast<unsigned long long>(m_counter - from));
        fprintf(file, "calls%s\n", m_calls.c_str());
        if (fclose(file) != 0)
            fail(m_report);
    }

    pid_t m_pid;
    char const* m_report;
    uint64_t m_count = 0;
    std::vector<Range> m_parts;
    Range m_executable = {};
    uint64_t m_steps = 0;
    uint64_t m_counter = 0; // at the latest step
    std::string m_calls;
    uintptr_t m_signal = 0; // to be handed on
    bool m_ended = false;
};

// Stops the program, which waits for `ready`.
static void attach(pid_t pid, int ready)
{
    int status = 0;
    trace(PTRACE_SEIZE, pid, 0, PTRACE_O_TRACESYSGOOD);
    trace(PTRACE_INTERRUPT, pid, 0, 0);
    if (waitpid(pid, &status, __WALL) != pid || !WIFSTOPPED(status))
        fail("attach");
    if (write(ready, "", 1) != 1)
        fail("pipe");
}

int main(int argc, char** argv)
{
    if (argc < 4) {
        fputs("stepper REPORT COUNT[@OFFSET+SIZE,...] COMMAND...\n", stderr);
        return 2;
    }
    int ready[2] = {};
    if (pipe(ready) != 0)
        fail("pipe");

    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0); // where a child may not look on else
    pid_t const command = getpid();
    pid_t const looker = fork();
    if (looker == -1)
        fail("fork");
    if (looker == 0) {
        attach(command, ready[1]);
        Stepper(command, argv[1], argv[2]).run();
        return 0;
    }

    char byte = 0;
    close(ready[1]); // so that the read fails if nobody attaches
    if (read(ready[0], &byte, 1) != 1)
        return 1;
    close(ready[0]);
    execvp(argv[3], argv + 3);
    fail(argv[3]);
}
