#ifndef OBSERVER_T_OBSERVABLE_H
#define OBSERVER_T_OBSERVABLE_H

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include "ti_observable.h"

/// The publisher of one record type.
template <class T>
class TObservable : public TIObservable<T>
{
public:
    void subscribe(std::shared_ptr<TIObserver<T>> const& observer) override
    {
        m_observers.push_back(observer);
    }

    void unsubscribe(std::shared_ptr<TIObserver<T>> const& observer) override
    {
        // Held here and only referred to there: a predicate of one reference takes no memory, and
        // short of memory the program must still come to its end.
        auto const unwanted = observer;
        remove(
            [&unwanted](std::weak_ptr<TIObserver<T>> entry) { return entry.lock() == unwanted; });
    }

    /// Hands the record to every living observer, in the order of subscription. The observers may
    /// subscribe, unsubscribe and be released meanwhile: all that were alive at the start are
    /// called, and none is destroyed before the end. An exception of an observer ends the round.
    virtual void notifySubscribers(T const& record)
    {
        std::vector<std::shared_ptr<TIObserver<T>>> snapshot;
        bool expired = false;

        for (auto const& entry : m_observers) {
            auto observer = entry.lock();
            if (!observer) {
                expired = true;
                continue;
            }
            if (snapshot.empty()) // not before: nobody to call takes no memory
                snapshot.reserve(m_observers.size());
            snapshot.push_back(std::move(observer));
        }
        if (expired)
            eraseExpired();
        for (auto const& observer : snapshot)
            observer->update(record);
    }

private:
    void remove(std::function<bool(std::weak_ptr<TIObserver<T>>)>&& isUnwanted)
    {
        m_observers.erase(
            std::remove_if(m_observers.begin(), m_observers.end(), std::ref(isUnwanted)),
            m_observers.end());
    }

    void eraseExpired()
    {
        remove([](std::weak_ptr<TIObserver<T>> entry) { return entry.expired(); });
    }

    std::vector<std::weak_ptr<TIObserver<T>>> m_observers; // oldest first
};

#endif
