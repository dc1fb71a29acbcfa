#ifndef TESTS_CAPTURED_OUTPUT_H
#define TESTS_CAPTURED_OUTPUT_H

#include <functional>
#include <string>

/// Everything that `action` prints, on descriptor 1 and through the C stream alike, in order.
std::string capturedOutput(std::function<void()> const& action);

#endif
