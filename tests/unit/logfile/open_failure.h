#ifndef TESTS_LOGFILE_OPEN_FAILURE_H
#define TESTS_LOGFILE_OPEN_FAILURE_H

#include <functional>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

/// Expects that `action` fails to open the file with the given error, "<name>: <errorText>".
inline void expectOpenFailure(std::function<void()> const& action, std::string const& name,
                              int error, std::string const& errorText)
{
    try {
        action();
        ADD_FAILURE() << "nothing thrown";
    } catch (std::system_error const& e) {
        EXPECT_EQ(error, e.code().value());
        EXPECT_EQ(std::generic_category(), e.code().category());
        EXPECT_EQ("LogFile: failed to open file " + name + ": " + errorText, e.what());
    }
}

#endif
