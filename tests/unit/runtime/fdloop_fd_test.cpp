#include "fdloop.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include "descriptors.h"
#include "fd_directions.h"
#include "fdloop_handle.h"
#include "loop_callbacks.h"
#include "scoped_loop.h"

TEST(FdloopFd, registrationAppendsAnEnabledEntry)
{
    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ScopedLoop const loop;
        FdAction action;

        _fdloop_fd_t const* const first = d.add(loop, 5, FdAction::call, &action);
        _fdloop_fd_t const* const second = d.add(loop, 7, IGNORE_FD, nullptr);

        EXPECT_EQ(first, loop->fd_head);
        EXPECT_EQ(second, first->next);
        EXPECT_EQ(second, loop->fd_tail);
        EXPECT_EQ(d.dir, first->dir);
        EXPECT_EQ(5, first->fd);
        EXPECT_EQ(1, first->enabled);
        EXPECT_EQ(0, first->deleted);
        EXPECT_EQ(&action, first->data);
        EXPECT_EQ(2, loop->fd_count);
        EXPECT_EQ(2, loop->fd_dir_count[d.dir]);
    }
}

TEST(FdloopFd, aNegativeDescriptorIsIgnored)
{
    ScopedLoop const loop;
    fd_set full;
    memset(&full, 0xFF, sizeof full);
    for (auto& set : loop->fd_sets)
        set = full;

    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        EXPECT_EQ(nullptr, d.add(loop, -1, IGNORE_FD, nullptr));
        d.remove(loop, -1);
        EXPECT_EQ(0, loop->fd_count);
        EXPECT_EQ(nullptr, loop->fd_head);
        EXPECT_EQ(0, memcmp(&full, &loop->fd_sets[d.dir], sizeof full));
    }
}

TEST(FdloopFd, descriptor0IsOneLikeAnyOther)
{
    ScopedLoop const loop;

    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ASSERT_NE(nullptr, d.add(loop, 0, IGNORE_FD, nullptr));
        EXPECT_EQ(0, loop->fd_head->fd);
        d.remove(loop, 0);
        EXPECT_EQ(0, loop->fd_count);
    }
}

/// A loopback stream with urgent data waiting at the receiver: writable, but not readable.
class UrgentData
{
public:
    UrgentData()
    {
        int const listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        socklen_t size = sizeof address;
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        m_sender = socket(AF_INET, SOCK_STREAM, 0);
        if (bind(listener, generic, size) != 0 || listen(listener, 1) != 0 ||
            getsockname(listener, generic, &size) != 0 || connect(m_sender, generic, size) != 0)
            abort();
        m_receiver = accept(listener, nullptr, nullptr);
        close(listener);
        pollfd arrival = {m_receiver, POLLPRI, 0};
        if (send(m_sender, "!", 1, MSG_OOB) != 1 || poll(&arrival, 1, -1) != 1)
            abort();
    }
    ~UrgentData()
    {
        close(m_sender);
        close(m_receiver);
    }
    UrgentData(UrgentData const&) = delete;
    UrgentData& operator=(UrgentData const&) = delete;

    int receiver() const { return m_receiver; }

private:
    int m_sender = -1;
    int m_receiver = -1;
};

TEST(FdloopFd, eachDirectionReportsItsOwnCondition)
{
    SocketPair const writable;
    UrgentData const exceptional;
    int fds[2] = {-1, -1};
    ASSERT_EQ(0, pipe(fds));
    ASSERT_EQ(1, write(fds[1], "x", 1));

    int const watched[] = {fds[0], writable.near(), exceptional.receiver()};
    std::vector<int> const ready[] = {
        {watched[0]},
        {watched[1], watched[2]},
        {watched[2]},
    };
    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ScopedLoop const loop;
        std::vector<int> called;
        FdAction action{[&](int fd) {
            called.push_back(fd);
            return 0;
        }};
        for (int const fd : watched)
            d.add(loop, fd, FdAction::call, &action);

        EXPECT_EQ(0, fdloop_run(loop));
        EXPECT_EQ(ready[d.dir], called);
    }
    close(fds[0]);
    close(fds[1]);
}

TEST(FdloopFd, theHighestDescriptorOfTheSetsWorks)
{
    ReadyPair const sockets;
    ScopedLoop const loop;
    FdAction action;
    int const highest = FD_SETSIZE - 1;
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur < FD_SETSIZE)
        GTEST_SKIP() << "fewer descriptors allowed";
    ASSERT_EQ(highest, dup2(sockets.near(), highest));

    fdloop_fd_register(loop, highest, FdAction::call, &action);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(1U, action.calls);
    close(highest);
}

TEST(FdloopFdUnregister, removesTheOldestEntryOfItsDirection)
{
    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ScopedLoop const loop;
        int marks[3] = {};
        for (auto const& other : DIRECTIONS) {
            if (other.dir != d.dir)
                other.add(loop, 5, IGNORE_FD, nullptr);
        }
        for (int& mark : marks)
            d.add(loop, 5, IGNORE_FD, &mark);

        d.remove(loop, 5);
        EXPECT_EQ(4, loop->fd_count);
        EXPECT_EQ(2, loop->fd_dir_count[d.dir]);
        EXPECT_EQ(&marks[1], loop->fd_head->next->next->data);
        d.remove(loop, 5);
        d.remove(loop, 5);
        d.remove(loop, 5); // no entry is left
        EXPECT_EQ(2, loop->fd_count);
        EXPECT_EQ(0, loop->fd_dir_count[d.dir]);

        d.add(loop, 6, IGNORE_FD, &marks[2]);
        EXPECT_EQ(&marks[2], loop->fd_head->next->next->data);
    }
}

TEST(FdloopFdUnregister, clearsTheBitOfItsDirectionAlsoWithoutAnEntry)
{
    for (auto const& d : DIRECTIONS) {
        SCOPED_TRACE(d.name);
        ScopedLoop const loop;
        for (auto& set : loop->fd_sets) {
            FD_SET(5, &set);
            FD_SET(6, &set);
        }

        d.remove(loop, 5);
        for (auto const& other : DIRECTIONS) {
            EXPECT_EQ(other.dir != d.dir, FD_ISSET(5, &loop->fd_sets[other.dir]));
            EXPECT_TRUE(FD_ISSET(6, &loop->fd_sets[other.dir]));
        }
        EXPECT_EQ(0, loop->fd_count);
    }
}

TEST(FdloopFdEnable, stopsAndResumesTheWatch)
{
    ScopedLoop const loop;
    ReadyPair const sockets;
    FdAction action;
    FdAction other;
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &action);
    fdloop_fd_register_write(loop, sockets.near(), IGNORE_FD, &other);

    fdloop_fd_enable(loop, sockets.near(), FdAction::call, 0);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(0U, action.calls);
    EXPECT_EQ(2, loop->fd_count);

    fdloop_fd_enable(loop, sockets.near(), FdAction::call, 1);
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(1U, action.calls);
}

TEST(FdloopFdEnable, affectsTheOldestEntryWithTheDescriptorAndTheFunctionOnly)
{
    ScopedLoop const loop;
    _fdloop_fd_t const* const otherFunction = fdloop_fd_register(loop, 5, IGNORE_FD, nullptr);
    _fdloop_fd_t const* const otherFd = fdloop_fd_register(loop, 6, FdAction::call, nullptr);
    _fdloop_fd_t const* const oldest = fdloop_fd_register_write(loop, 5, FdAction::call, nullptr);
    _fdloop_fd_t const* const younger = fdloop_fd_register(loop, 5, FdAction::call, nullptr);

    fdloop_fd_enable(loop, 5, FdAction::call, 0);
    fdloop_fd_enable(loop, 7, FdAction::call, 0); // never registered
    EXPECT_EQ(1, otherFunction->enabled);
    EXPECT_EQ(1, otherFd->enabled);
    EXPECT_EQ(0, oldest->enabled);
    EXPECT_EQ(1, younger->enabled);
}

TEST(FdloopFdEnable, findsEntriesThatAwaitRemovalToo)
{
    ScopedLoop const loop;
    ReadyPair const sockets;
    FdAction first;
    FdAction second;
    first.action = [&](int fd) {
        fdloop_fd_unregister(loop, fd);
        fdloop_fd_enable(loop, fd, FdAction::call, 0); // meets the removed entry
        return 0;
    };
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &first);
    fdloop_fd_register(loop, sockets.near(), FdAction::call, &second);

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(1U, first.calls);
    EXPECT_EQ(1U, second.calls);
}
