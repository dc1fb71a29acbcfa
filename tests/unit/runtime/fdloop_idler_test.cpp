#include "fdloop.h"

#include <string>

#include <gtest/gtest.h>

#include "descriptors.h"
#include "fdloop_handle.h"
#include "loop_callbacks.h"
#include "scoped_loop.h"

TEST(FdloopIdler, runOncePerPassInTheOrderAdded)
{
    ScopedLoop const loop;
    static std::string order;
    std::string names[] = {"a", "b", "c"};
    order.clear();
    for (std::string& name : names) {
        _fdloop_idler_t const* const idler = fdloop_idler_add(
            loop,
            [](void* data) {
                order += *static_cast<std::string*>(data);
                return 1; // ignored
            },
            &name);
        EXPECT_EQ(&name, idler->data);
    }

    EXPECT_EQ(1, fdloop_run(loop)); // idlers are nothing to wait for
    EXPECT_EQ("abc", order);
    EXPECT_EQ(1, fdloop_run(loop));
    EXPECT_EQ("abcabc", order);
}

struct AddingIdler
{
    _fdloop_t* loop;
    int added;
};

TEST(FdloopIdler, mayAddAnotherThatRunsInTheSamePass)
{
    ScopedLoop const loop;
    AddingIdler state = {loop, 0};
    fdloop_idler_add(
        loop,
        [](void* data) {
            auto& self = *static_cast<AddingIdler*>(data);
            if (!self.loop->idler_head->next)
                fdloop_idler_add(self.loop, countCall, &self.added);
            return 0;
        },
        &state);

    fdloop_run(loop);
    EXPECT_EQ(1, state.added);
    fdloop_run(loop);
    EXPECT_EQ(2, state.added);
}

struct ExchangingIdler
{
    _fdloop_t* loop;
    int removed;
    int added;
    FdAction* action;
};

TEST(FdloopIdler, mayAddAndRemoveDescriptorsOfItsPass)
{
    ScopedLoop const loop;
    ReadyPair const first;
    ReadyPair const second;
    FdAction removed;
    FdAction added;
    ExchangingIdler state = {loop, first.near(), second.near(), &added};
    fdloop_fd_register(loop, first.near(), FdAction::call, &removed);
    fdloop_idler_add(
        loop,
        [](void* data) {
            auto const& self = *static_cast<ExchangingIdler*>(data);
            fdloop_fd_unregister(self.loop, self.removed);
            fdloop_fd_register(self.loop, self.added, FdAction::call, self.action);
            return 0;
        },
        &state);

    EXPECT_EQ(0, fdloop_run(loop));
    EXPECT_EQ(0U, removed.calls);
    EXPECT_EQ(1U, added.calls);
}
