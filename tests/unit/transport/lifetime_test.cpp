#include "lifetime.h"

#include <memory>

#include <gtest/gtest.h>

TEST(Lifetime, isOverForAllThatWatchItOnceItsObjectIsGone)
{
    auto lifetime = std::make_unique<Lifetime>();
    Lifetime::Watch const outer(*lifetime);
    {
        Lifetime::Watch const inner(*lifetime);
        EXPECT_FALSE(inner.isOver());
        EXPECT_FALSE(outer.isOver());
        lifetime.reset();
        EXPECT_TRUE(inner.isOver());
        EXPECT_TRUE(outer.isOver());
    }
    EXPECT_TRUE(outer.isOver());
}

TEST(Lifetime, isNotOverForOneThatGoesOnAfterAnotherHasEnded)
{
    auto lifetime = std::make_unique<Lifetime>();
    Lifetime::Watch const outer(*lifetime);
    {
        Lifetime::Watch const inner(*lifetime);
    }
    EXPECT_FALSE(outer.isOver());
    lifetime.reset();
    EXPECT_TRUE(outer.isOver());
}
