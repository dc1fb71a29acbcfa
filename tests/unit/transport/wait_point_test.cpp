#include "wait_point.h"

#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

class TestWaitPoint : public WaitPoint
{
public:
    void start() override {}
};

class WaitPointTest : public ::testing::Test
{
protected:
    std::function<bool()> recording(char name, bool result = true)
    {
        return [this, name, result] {
            calls += name;
            return result;
        };
    }

    TestWaitPoint point;
    std::string calls;
};

TEST_F(WaitPointTest, callWithoutACallbackReturnsFalse)
{
    EXPECT_FALSE(point.call());
}

TEST_F(WaitPointTest, callReturnsTheResultOfTheCallback)
{
    for (bool const result : {true, false, true}) {
        TestWaitPoint fresh;
        fresh.setCallback(recording('a', result));
        EXPECT_EQ(result, fresh.call());
    }
    EXPECT_EQ("aaa", calls);
}

TEST_F(WaitPointTest, theCallbackWaitsForTheFirstCallAndRunsWithEach)
{
    point.setCallback(recording('a'));
    EXPECT_EQ("", calls);
    point.call();
    EXPECT_EQ("a", calls);
    point.call();
    EXPECT_EQ("aa", calls);
}

TEST_F(WaitPointTest, aCallbackSetAfterTheCallRunsAtOnce)
{
    point.call();
    point.setCallback(recording('a', false));
    EXPECT_EQ("a", calls);
    point.setCallback(recording('b'));
    EXPECT_EQ("ab", calls);
}

TEST_F(WaitPointTest, aCallbackReplacedBeforeTheCallNeverRuns)
{
    point.setCallback(recording('a'));
    point.setCallback(recording('b'));
    point.call();
    EXPECT_EQ("b", calls);
}

TEST_F(WaitPointTest, anEmptyCallbackTakesTheOldOneAway)
{
    point.setCallback(recording('a'));
    point.call();
    point.setCallback({});
    EXPECT_FALSE(point.call());
    EXPECT_EQ("a", calls);
}

TEST_F(WaitPointTest, replacingACallbackDestroysIt)
{
    auto const captured = std::make_shared<int>();
    point.setCallback([captured] { return true; });
    EXPECT_EQ(2, captured.use_count());
    point.setCallback({});
    EXPECT_EQ(1, captured.use_count());
}

TEST_F(WaitPointTest, aCallbackMayReplaceItself)
{
    auto const captured = std::make_shared<std::string>("alive");
    point.setCallback([this, captured] {
        point.setCallback(recording('b'));
        calls += *captured;
        return true;
    });

    EXPECT_TRUE(point.call());
    EXPECT_EQ("balive", calls); // the new one found the gate reached
    EXPECT_TRUE(point.call());
    EXPECT_EQ("baliveb", calls);
    EXPECT_EQ(1, captured.use_count());
}

TEST_F(WaitPointTest, aCallbackMayDestroyTheGate)
{
    auto gate = std::make_unique<TestWaitPoint>();
    auto const captured = std::make_shared<std::string>("alive");
    gate->setCallback([&, captured] {
        gate.reset();
        calls += *captured;
        return true;
    });

    EXPECT_TRUE(gate->call());
    EXPECT_EQ("alive", calls);
}

TEST_F(WaitPointTest, replacingACallbackThatOwnsTheGateIsHarmless)
{
    auto gate = std::make_shared<TestWaitPoint>();
    std::weak_ptr<TestWaitPoint> const watched = gate;
    gate->setCallback([gate] { return gate != nullptr; });
    gate->call();
    TestWaitPoint& reached = *gate;
    gate.reset();

    reached.setCallback(recording('b'));
    EXPECT_EQ("b", calls);
    EXPECT_TRUE(watched.expired());
}

TEST_F(WaitPointTest, aCallbackFindsTheStateOfItsLastRun)
{
    point.setCallback([this, count = 0]() mutable {
        calls += static_cast<char>('a' + count++);
        return true;
    });
    point.call();
    point.call();
    EXPECT_EQ("ab", calls);
}

TEST_F(WaitPointTest, aCallbackMayReachTheGateAgain)
{
    point.setCallback([this] {
        calls += 'a';
        return calls.size() < 3 ? point.call() : true;
    });

    EXPECT_TRUE(point.call());
    EXPECT_EQ("aaa", calls);
}
