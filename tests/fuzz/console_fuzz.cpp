// The input is a text to print: in which way (1 byte), the room or log level (1), a number (4), how
// many bytes the script of the writes has (1), the script, and the text up to a zero byte.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "byte_source.h"
#include "console.h"
#include "require.h"
#include "tt_console.h"
#include "tt_slog.h"

static constexpr size_t CONSOLE_LIMIT = 79;

// The last conversion fails for a number that is no character.
#define FORMAT "%s %d%lc"

// Not the one that would end the text.
static wint_t characterOf(int number)
{
    return number == 0 ? 1 : static_cast<wint_t>(number);
}

// What the C library prints with enough room. Nothing if it fails.
static std::string formatted(std::string const& text, int number)
{
    wint_t const character = characterOf(number);
    int const len = snprintf(nullptr, 0, FORMAT, text.c_str(), number, character);
    if (len < 0)
        return {};
    std::string whole(static_cast<size_t>(len) + 1, '\0');
    snprintf(whole.data(), whole.size(), FORMAT, text.c_str(), number, character);
    whole.pop_back(); // the terminator
    return whole;
}

// What reaches the console: all, unless a write fails.
static std::string writtenOf(std::string const& text, ExactBytes const& script)
{
    size_t done = 0;
    for (size_t i = 0; i < script.size() && done < text.size(); ++i) {
        if (script.data()[i] == 255)
            return text.substr(0, done);
        done = std::min(text.size(), done + script.data()[i]);
    }
    return text;
}

static void checkPuts(std::string const& text, ExactBytes const& script)
{
    std::string const written = writtenOf(text, script);

    scriptWrites(script);
    int const result = tt_puts(text.c_str());
    require(takeOutput() == written, "a text is written whole, up to a failure");
    require(result == static_cast<int>(written.size()), "the result is what was written");
}

static void checkPrintf(std::string const& text, int number, ExactBytes const& script)
{
    std::string const cut = formatted(text, number).substr(0, CONSOLE_LIMIT);

    scriptWrites(script);
    int const result = tt_printf(FORMAT, text.c_str(), number, characterOf(number));
    require(takeOutput() == writtenOf(cut, script), "a text is cut to 79 characters");
    require(result == static_cast<int>(cut.size()), "the result is the text's length");
}

static void checkSnprintf(std::string const& text, int number, size_t room)
{
    std::string const cut = formatted(text, number).substr(0, room - 1);
    auto const to = std::make_unique<char[]>(room);
    std::fill_n(to.get(), room, '#');

    int const result =
        tt_snprintf(to.get(), room, FORMAT, text.c_str(), number, characterOf(number));
    require(to.get() == cut, "a text is cut to its room");
    require(result == static_cast<int>(cut.size()), "the result is the text's length");
}

static void checkSlog(std::string const& text, int number, int level)
{
    static constexpr char const* LEVELS[] = {
        "   EMERG: ", "   ALERT: ", "    CRIT: ", "   ERROR: ",
        " WARNING: ", "  NOTICE: ", "    INFO: ", "   DEBUG: "};
    static constexpr size_t TIME_SIZE = 8; // 09:05:07
    std::string const cut = formatted(text, number).substr(0, CONSOLE_LIMIT);

    errno = number;
    int const result = tt_slog(level, FORMAT, text.c_str(), number, characterOf(number));
    int const left = errno;
    std::string const line = takeOutput();
    require(left == number, "errno stays as it is");
    require(line.size() > TIME_SIZE && line[2] == ':' && line[5] == ':', "a line starts with time");
    require(line.substr(TIME_SIZE) == LEVELS[level & 7] + cut, "a line has its level and message");
    require(result == static_cast<int>(cut.size()), "the result is the message's length");
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    ByteSource input(data, size);
    auto const way = input.number<uint8_t>();
    auto const small = input.number<uint8_t>();
    auto const number = static_cast<int>(input.number<uint32_t>());
    auto const scriptSize = input.number<uint8_t>();
    ExactBytes const script = input.bytes(scriptSize);
    ExactBytes const rest = input.rest();
    std::string const text(rest.data(), std::find(rest.data(), rest.data() + rest.size(), 0));

    switch (way % 4) {
    case 0:
        checkPuts(text, script);
        break;
    case 1:
        checkPrintf(text, number, script);
        break;
    case 2:
        checkSnprintf(text, number, size_t{small} + 1);
        break;
    default:
        checkSlog(text, number, small - 128);
    }
    scriptWrites({nullptr, 0});
    return 0;
}
