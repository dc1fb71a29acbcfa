#include "t_observable.h"

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "allocations.h"
#include "record_log.h"

namespace
{

class CallingObserver : public TIObserver<GenericData>
{
public:
    explicit CallingObserver(std::function<void(GenericData const&)> action)
        : m_action(std::move(action))
    {}
    void update(GenericData const& record) override { m_action(record); }

private:
    std::function<void(GenericData const&)> m_action;
};

using Observer = std::shared_ptr<TIObserver<GenericData>>;

class TObservableTest : public testing::Test
{
protected:
    /// Notes its name at every call, then does `action`.
    Observer named(
        std::string const& name, std::function<void()> action = [] {})
    {
        return std::make_shared<CallingObserver>([this, name, action](GenericData const&) {
            m_calls += name;
            action();
        });
    }

    void subscribe(std::initializer_list<Observer> observers)
    {
        for (auto const& observer : observers)
            m_observable.subscribe(observer);
    }

    /// The observers called by one notification, in order.
    std::string callsOfOneRecord()
    {
        m_calls.clear();
        m_observable.notifySubscribers(Sample<GenericData>::RECORD);
        return m_calls;
    }

    /// What a notification takes to call one observer tells how many entries there are with it.
    void expectNoEntryLeft()
    {
        Observer const only = named("!");
        m_observable.subscribe(only);
        unsigned const before = allocationCount(2 * sizeof only);
        EXPECT_EQ("!", callsOfOneRecord());
        EXPECT_EQ(before, allocationCount(2 * sizeof only)) << "an entry is left";
        m_observable.unsubscribe(only);
    }

    void expectNoAllocation()
    {
        unsigned const before = allocationCount();
        EXPECT_EQ("", callsOfOneRecord());
        EXPECT_EQ(before, allocationCount());
    }

    TObservable<GenericData> m_observable;
    std::string m_calls;
};

}

TEST_F(TObservableTest, callsNothingAndAllocatesNothingWithoutSubscribers)
{
    expectNoAllocation();
}

TEST_F(TObservableTest, handsOverTheRecordOfTheCallerItself)
{
    GenericData const record = Sample<GenericData>::RECORD;
    std::vector<GenericData const*> received;
    auto const observer = std::make_shared<CallingObserver>(
        [&received](GenericData const& r) { received.push_back(&r); });

    m_observable.subscribe(observer);
    m_observable.notifySubscribers(record);
    EXPECT_EQ((std::vector<GenericData const*>{&record}), received);
}

TEST_F(TObservableTest, callsInTheOrderOfSubscription)
{
    Observer const a = named("a");
    Observer const b = named("b");
    Observer const c = named("c");

    subscribe({b, c, a});
    EXPECT_EQ("bca", callsOfOneRecord());
    EXPECT_EQ("bca", callsOfOneRecord());
}

TEST_F(TObservableTest, keepsTheOrderOfTheOthersWhenOneUnsubscribes)
{
    Observer const a = named("a");
    Observer const b = named("b");
    Observer const c = named("c");

    subscribe({a, b, c});
    m_observable.unsubscribe(b);
    EXPECT_EQ("ac", callsOfOneRecord());
}

TEST_F(TObservableTest, ignoresTheUnsubscriptionOfAStranger)
{
    Observer const a = named("a");

    subscribe({a});
    m_observable.unsubscribe(named("b"));
    EXPECT_EQ("a", callsOfOneRecord());
}

TEST_F(TObservableTest, removesAllSubscriptionsOfAnObserverAtOnce)
{
    Observer const a = named("a");
    Observer const b = named("b");

    subscribe({a, b, a});
    EXPECT_EQ("aba", callsOfOneRecord());
    m_observable.unsubscribe(a);
    EXPECT_EQ("b", callsOfOneRecord());
}

TEST_F(TObservableTest, takesAnObserverBackAtTheEnd)
{
    Observer const a = named("a");
    Observer const b = named("b");

    subscribe({a, b});
    m_observable.unsubscribe(a);
    m_observable.subscribe(a);
    EXPECT_EQ("ba", callsOfOneRecord());
}

TEST_F(TObservableTest, doesNotKeepAnObserverAlive)
{
    Observer const a = named("a");

    subscribe({a});
    EXPECT_EQ(1, a.use_count());
    callsOfOneRecord();
    EXPECT_EQ(1, a.use_count());
    m_observable.unsubscribe(a);
    EXPECT_EQ(1, a.use_count());
}

TEST_F(TObservableTest, forgetsAReleasedObserverAtTheNextRecord)
{
    Observer a = named("a");

    subscribe({a});
    a.reset();
    EXPECT_EQ("", callsOfOneRecord());
    expectNoEntryLeft();
}

TEST_F(TObservableTest, allocatesNothingWhenAllObserversAreReleased)
{
    Observer a = named("a");
    subscribe({a, nullptr});
    a.reset();
    expectNoAllocation();
}

TEST_F(TObservableTest, forgetsAReleasedObserverAndKeepsTheOthers)
{
    Observer const a = named("a");
    Observer b = named("b");
    Observer const c = named("c");

    subscribe({a, b, c});
    b.reset();
    EXPECT_EQ("ac", callsOfOneRecord());
    m_observable.unsubscribe(a);
    m_observable.unsubscribe(c);
    expectNoEntryLeft();
}

TEST_F(TObservableTest, forgetsAnEmptyPointerAtTheNextRecord)
{
    Observer const a = named("a");

    subscribe({nullptr, a});
    EXPECT_EQ("a", callsOfOneRecord());
    m_observable.unsubscribe(a);
    expectNoEntryLeft();
}

TEST_F(TObservableTest, removesAllDeadEntriesWithAnEmptyPointer)
{
    Observer a = named("a");
    Observer const b = named("b");
    Observer c = named("c");

    subscribe({a, nullptr, b, c});
    a.reset();
    c.reset();
    m_observable.unsubscribe(nullptr);
    m_observable.unsubscribe(b);
    expectNoEntryLeft();
}

TEST_F(TObservableTest, keepsLiveEntriesWhenAnEmptyPointerUnsubscribes)
{
    Observer const a = named("a");
    Observer b = named("b");

    subscribe({a, b, a});
    b.reset();
    m_observable.unsubscribe(nullptr);
    EXPECT_EQ("aa", callsOfOneRecord());
}

TEST_F(TObservableTest, finishesTheRoundWhenAnObserverUnsubscribesItself)
{
    Observer const a = named("a");
    Observer b;
    b = named("b", [this, &b] { m_observable.unsubscribe(b); });
    Observer const c = named("c");

    subscribe({a, b, c});
    EXPECT_EQ("abc", callsOfOneRecord());
    EXPECT_EQ("ac", callsOfOneRecord());
}

TEST_F(TObservableTest, stillCallsAnObserverUnsubscribedDuringTheRound)
{
    Observer const b = named("b");
    Observer const a = named("a", [this, &b] { m_observable.unsubscribe(b); });

    subscribe({a, b});
    EXPECT_EQ("ab", callsOfOneRecord());
    EXPECT_EQ("a", callsOfOneRecord());
}

TEST_F(TObservableTest, callsAnObserverSubscribedDuringTheRoundFromTheNextRecordOn)
{
    Observer const b = named("b");
    bool subscribed = false;
    Observer const a = named("a", [this, &b, &subscribed] {
        if (!subscribed)
            m_observable.subscribe(b);
        subscribed = true;
    });

    subscribe({a});
    EXPECT_EQ("a", callsOfOneRecord());
    EXPECT_EQ("ab", callsOfOneRecord());
}

TEST_F(TObservableTest, survivesManySubscriptionsDuringTheRound)
{
    std::vector<Observer> added;
    Observer const a = named("a", [this, &added] {
        for (int i = 0; i < 100; ++i) {
            added.push_back(named("x"));
            m_observable.subscribe(added.back());
        }
    });
    Observer const b = named("b");

    subscribe({a, b});
    EXPECT_EQ("ab", callsOfOneRecord());
    m_observable.unsubscribe(a);
    EXPECT_EQ("b" + std::string(100, 'x'), callsOfOneRecord());
}

TEST_F(TObservableTest, destroysAnObserverReleasedInItsOwnCallAfterTheRound)
{
    Observer a;
    std::weak_ptr<TIObserver<GenericData>> life;
    a = named("a", [&a] { a.reset(); });
    life = a;
    bool aliveAtTheEnd = false;
    Observer const b = named("b", [&] { aliveAtTheEnd = !life.expired(); });

    subscribe({a, b});
    EXPECT_EQ("ab", callsOfOneRecord());
    EXPECT_TRUE(aliveAtTheEnd);
    EXPECT_TRUE(life.expired());
    EXPECT_EQ("b", callsOfOneRecord());
}

TEST_F(TObservableTest, stillCallsAnObserverReleasedDuringTheRound)
{
    Observer b = named("b");
    Observer const a = named("a", [&b] { b.reset(); });

    subscribe({a, b});
    EXPECT_EQ("ab", callsOfOneRecord());
    EXPECT_EQ("a", callsOfOneRecord());
}

TEST_F(TObservableTest, finishesANestedRoundBeforeTheOuterOneGoesOn)
{
    int depth = 0;
    Observer const a = named("a", [this, &depth] {
        if (depth++ < 2)
            m_observable.notifySubscribers(Sample<GenericData>::RECORD);
    });
    Observer const b = named("b");

    subscribe({a, b});
    EXPECT_EQ("aaabbb", callsOfOneRecord());
}

TEST_F(TObservableTest, showsANestedRoundTheChangesMadeSoFar)
{
    Observer const c = named("c");
    bool nested = false;
    Observer const b = named("b");
    Observer const a = named("a", [&] {
        if (nested)
            return;
        nested = true;
        m_observable.unsubscribe(b);
        m_observable.subscribe(c);
        m_observable.notifySubscribers(Sample<GenericData>::RECORD);
    });

    subscribe({a, b});
    EXPECT_EQ("aacb", callsOfOneRecord());
}

TEST_F(TObservableTest, endsTheRoundWithTheExceptionOfAnObserver)
{
    Observer const a = named("a");
    Observer dead = named("x");
    bool failing = true;
    Observer b = named("b", [&failing] {
        if (failing)
            throw std::runtime_error("b");
    });
    Observer const c = named("c");

    subscribe({a, dead, b, c});
    dead.reset();
    EXPECT_THROW(callsOfOneRecord(), std::runtime_error);
    EXPECT_EQ("ab", m_calls);
    EXPECT_EQ(1, a.use_count());
    EXPECT_EQ(1, b.use_count());
    EXPECT_EQ(1, c.use_count());

    failing = false;
    EXPECT_EQ("abc", callsOfOneRecord());
}

TEST_F(TObservableTest, removesDeadEntriesBeforeAnObserverThrows)
{
    Observer dead = named("x");
    Observer const a = named("a", [] { throw std::runtime_error("a"); });

    subscribe({dead, a});
    dead.reset();
    EXPECT_THROW(callsOfOneRecord(), std::runtime_error);
    m_observable.unsubscribe(a);
    expectNoEntryLeft();
}

TEST_F(TObservableTest, unsubscribesWithoutMemory)
{
    Observer const a = named("A");
    Observer const b = named("B");
    subscribe({a, b, a});
    {
        ExhaustedMemory const exhausted;
        m_observable.unsubscribe(a);
        m_observable.unsubscribe(nullptr);
    }
    EXPECT_EQ("B", callsOfOneRecord());
}

TEST_F(TObservableTest, staysAsItWasWhenMemoryEndsWhileSubscribing)
{
    Observer const a = named("a");
    Observer const b = named("b");

    subscribe({a});
    EXPECT_THROW(
        {
            ExhaustedMemory const exhausted;
            m_observable.subscribe(b);
        },
        std::bad_alloc);
    EXPECT_EQ("a", callsOfOneRecord());
}

TEST_F(TObservableTest, callsNobodyAndStaysAsItWasWhenMemoryEndsWhileNotifying)
{
    Observer const a = named("a");
    Observer const b = named("b");

    subscribe({a, b});
    EXPECT_THROW(
        {
            ExhaustedMemory const exhausted;
            m_observable.notifySubscribers(Sample<GenericData>::RECORD);
        },
        std::bad_alloc);
    EXPECT_EQ("", m_calls);
    EXPECT_EQ("ab", callsOfOneRecord());
}

TEST_F(TObservableTest, leavesItsObserversAloneWhenDestroyed)
{
    Observer const a = named("a");
    {
        TObservable<GenericData> observable;
        observable.subscribe(a);
    }
    EXPECT_EQ("", m_calls);
    EXPECT_EQ(1, a.use_count());
}

TEST_F(TObservableTest, isUsableThroughItsInterface)
{
    Observer const a = named("a");
    TIObservable<GenericData>& interface = m_observable;

    interface.subscribe(a);
    EXPECT_EQ("a", callsOfOneRecord());
    interface.unsubscribe(a);
    EXPECT_EQ("", callsOfOneRecord());
}
