#ifndef TESTS_CAPTURED_OUTPUT_H
#define TESTS_CAPTURED_OUTPUT_H

#include <functional>
#include <string>

/// Everything that `action` prints, on descriptor 1 and through the C stream alike, in order.
std::string capturedOutput(std::function<void()> const& action);

/// The text with the clock times of its log lines, 09:05:07, replaced by "<time>".
std::string withoutTimes(std::string const& text);

#endif
