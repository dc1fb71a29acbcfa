#include "console.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <unistd.h>

static std::string s_output;
static std::string s_script; // of the writes to come, the next one last

static ssize_t keepStreamOutput(void* /*cookie*/, char const* data, size_t size)
{
    s_output.append(data, size);
    return static_cast<ssize_t>(size);
}

// Before main: libFuzzer prints nothing on it.
[[maybe_unused]] static bool const s_redirected = [] {
    cookie_io_functions_t operations = {};
    operations.write = keepStreamOutput;
    stdout = fopencookie(nullptr, "w", operations);
    return stdout ? true : (abort(), false);
}();

std::string takeOutput()
{
    fflush(stdout);
    return std::exchange(s_output, {});
}

void scriptWrites(ExactBytes const& script)
{
    s_script.assign(script.data(), script.data() + script.size());
    std::reverse(s_script.begin(), s_script.end());
}

static ssize_t fails(int error)
{
    errno = error;
    return -1;
}

static ssize_t keepDescriptorOutput(char const* data, size_t size)
{
    if (!s_script.empty()) {
        auto const outcome = static_cast<unsigned char>(s_script.back());
        s_script.pop_back();
        if (outcome == 0)
            return fails(EINTR);
        if (outcome == 255)
            return fails(EIO);
        size = std::min<size_t>(size, outcome);
    }
    return keepStreamOutput(nullptr, data, size);
}

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
ssize_t __real_write(int fd, void const* data, size_t size);
ssize_t __wrap_write(int fd, void const* data, size_t size);

ssize_t __wrap_write(int fd, void const* data, size_t size)
{
    if (fd != STDOUT_FILENO)
        return __real_write(fd, data, size);
    return keepDescriptorOutput(static_cast<char const*>(data), size);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
