#include "held_function.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

using Counter = HeldFunction<int()>;

TEST(HeldFunction, isEmptyUntilItGetsAFunctionThatIsNot)
{
    Counter function;
    EXPECT_FALSE(function);
    function = std::function<int()>();
    EXPECT_FALSE(function);
    function = [] { return 7; };
    EXPECT_TRUE(function);
    EXPECT_EQ(7, function());
    function = {};
    EXPECT_FALSE(function);
}

TEST(HeldFunction, keepsItsStateFromRunToRun)
{
    Counter function;
    function = [count = 0]() mutable { return ++count; };
    EXPECT_EQ(1, function());
    EXPECT_EQ(2, function());
}

TEST(HeldFunction, passesArgumentsOn)
{
    HeldFunction<std::string(std::string const&, int)> function;
    function = [](std::string const& text, int number) { return text + std::to_string(number); };
    EXPECT_EQ("x7", function("x", 7));
}

TEST(HeldFunction, livesUntilItsRunEndsWhenItReplacesItself)
{
    Counter function;
    auto const captured = std::make_shared<int>(1);
    function = [&function, captured] {
        function = [] { return 2; };
        EXPECT_EQ(2, captured.use_count());
        return *captured;
    };
    EXPECT_EQ(1, function());
    EXPECT_EQ(1, captured.use_count());
    EXPECT_EQ(2, function());
}

TEST(HeldFunction, livesUntilItsRunEndsWhenItDestroysItsOwner)
{
    auto owner = std::make_unique<Counter>();
    auto const captured = std::make_shared<int>(1);
    *owner = [&owner, captured] {
        owner.reset();
        EXPECT_EQ(2, captured.use_count());
        return *captured;
    };
    EXPECT_EQ(1, (*owner)());
    EXPECT_EQ(1, captured.use_count());
}

// The former function may be the last owner of the object that holds it.
TEST(HeldFunction, touchesNothingOnceTheFormerFunctionIsGone)
{
    auto owner = std::make_shared<Counter>();
    std::weak_ptr<Counter> const watched = owner;
    *owner = [owner] { return owner ? 1 : 0; };
    Counter& function = *owner;
    owner.reset();
    EXPECT_FALSE(watched.expired());
    function = [] { return 2; };
    EXPECT_TRUE(watched.expired());
}

TEST(HeldFunction, mayRunWithinItsOwnRun)
{
    Counter function;
    function = [&function, depth = 0]() mutable { return ++depth < 3 ? function() : depth; };
    EXPECT_EQ(3, function());
}

TEST(HeldFunction, isKeptAliveByAHold)
{
    Counter function;
    auto const captured = std::make_shared<int>(1);
    function = [captured] { return *captured; };
    {
        Counter::Hold hold(function);
        EXPECT_TRUE(hold.isOf(function));
        function = [] { return 2; };
        EXPECT_FALSE(hold.isOf(function));
        EXPECT_EQ(1, hold());
        EXPECT_EQ(2, captured.use_count());
        hold.take(function);
        EXPECT_EQ(1, captured.use_count());
        EXPECT_EQ(2, hold());
    }
    EXPECT_EQ(2, function());
}
