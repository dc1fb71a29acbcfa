#ifndef FUZZ_BROKEN_INVARIANT_H
#define FUZZ_BROKEN_INVARIANT_H

#include <string_view>

/// Thrown where tt_assert_failed would have panicked.
struct BrokenInvariant
{
    std::string_view unit;
    int line;
};

/// Runs `action` and returns the line of the check that failed, 0 if none did. A check of a unit
/// other than `unit` is a finding, and so is every other panic.
template <class Action>
int brokenLine(std::string_view unit, Action const& action)
{
    try {
        action();
        return 0;
    } catch (BrokenInvariant const& broken) {
        if (broken.unit != unit)
            throw;
        return broken.line;
    }
}

#endif
