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
        // Short of memory, the program must still be able to end. A lambda that captures one
        // reference fits into std::function without an allocation; a shared pointer does not.
        auto const unwanted = observer;
        remove(
            [&unwanted](std::weak_ptr<TIObserver<T>> entry) { return entry.lock() == unwanted; });
    }

    /// Hands the record to every living observer, in the order of subscription. Observers may
    /// subscribe, unsubscribe and be released meanwhile: all that were alive at the start are
    /// called, and none is destroyed before the end. If an observer throws, the later ones are not
    /// called.
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
            if (snapshot.empty()) // without observers, nothing is allocated
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
