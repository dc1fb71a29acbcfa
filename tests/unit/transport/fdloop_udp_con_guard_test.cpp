#include "fdloop_udp_con.h"

#include <memory>

#include <gtest/gtest.h>

#include "fdloop_udp_con_fixture.h"
#include "logged_output.h"
#include "wait_point.h"

class TestGuard : public WaitPoint
{
public:
    void start() override {}
};

class FdloopUdpConGuard : public FdloopUdpConTest
{
protected:
    FdloopUdpConGuard() { con->setBindGuard(guard); }

    std::shared_ptr<TestGuard> guard = std::make_shared<TestGuard>();
};

TEST_F(FdloopUdpConGuard, holdsTheBindBackUntilItIsReached)
{
    EXPECT_TRUE(con->open());
    EXPECT_EQ(1, loop->fd_count);
    EXPECT_EQ(0, localPort(fd()));

    EXPECT_TRUE(guard->call());
    EXPECT_NE(0, localPort(fd()));
    con->setRxCallBack(appendTo(received));
    send({"x"});
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ((Texts{"x"}), received);
}

TEST_F(FdloopUdpConGuard, reachedBeforeOpenBindsAtOnce)
{
    EXPECT_FALSE(guard->call());
    EXPECT_TRUE(con->open());
    EXPECT_NE(0, localPort(fd()));
}

TEST_F(FdloopUdpConGuard, setAfterOpenDoesNotMatterAnyMore)
{
    FdloopUdpCon unguarded(loop, 0);
    unguarded.open();
    uint16_t const port = localPort(fd());
    unguarded.setBindGuard(guard);

    EXPECT_FALSE(guard->call());
    EXPECT_EQ(port, localPort(fd()));
}

TEST_F(FdloopUdpConGuard, returnsTheResultOfTheBind)
{
    FdloopUdpCon onTakenPort(loop, peer.port());
    onTakenPort.setBindGuard(guard);
    EXPECT_TRUE(onTakenPort.open());

    EXPECT_EQ("09:05:07   ERROR: bind: bind failed errno 98",
              loggedBy([this] { EXPECT_FALSE(guard->call()); }));
}

TEST_F(FdloopUdpConGuard, openSucceedsThoughTheBindOfAReachedGuardFails)
{
    FdloopUdpCon onTakenPort(loop, peer.port());
    onTakenPort.setBindGuard(guard);
    guard->call();

    EXPECT_EQ("09:05:07   ERROR: bind: bind failed errno 98",
              loggedBy([&] { EXPECT_TRUE(onTakenPort.open()); }));
}

TEST_F(FdloopUdpConGuard, thatIsReplacedIsReleasedAndDoesNotMatter)
{
    con->setBindGuard(nullptr);
    EXPECT_EQ(1, guard.use_count());
    EXPECT_TRUE(con->open());
    EXPECT_NE(0, localPort(fd()));
    EXPECT_FALSE(guard->call());
}

TEST_F(FdloopUdpConGuard, reachedAfterTheDestructionDoesNothing)
{
    con->open();
    con.reset();

    EXPECT_EQ(1, guard.use_count());
    EXPECT_EQ("", loggedBy([this] { EXPECT_FALSE(guard->call()); }));
}

TEST_F(FdloopUdpConGuard, thatWasReplacedAfterOpenDoesNothingAfterTheDestruction)
{
    con->open();
    con->setBindGuard(nullptr);
    con.reset();

    EXPECT_EQ("", loggedBy([this] { EXPECT_FALSE(guard->call()); }));
}
