#ifndef TRANSPORT_HELD_FUNCTION_H
#define TRANSPORT_HELD_FUNCTION_H

#include <functional>
#include <type_traits>
#include <utility>

template <class Signature>
class HeldFunction;

/// A std::function that stays alive while it runs. So it may replace itself, or destroy the object
/// that it is a member of. It is that one function that runs, never a copy: state that it keeps is
/// there in the next run.
///
/// A std::shared_ptr would do the same. But its counts are made for several threads, and cost more
/// than all else that happens between two records of a replay.
template <class Result, class... Args>
class HeldFunction<Result(Args...)>
{
    struct Target
    {
        std::function<Result(Args...)> function;
        unsigned holders;
    };

public:
    /// Keeps the function alive that `from` has at that moment, for as long as it lives itself.
    class Hold
    {
    public:
        explicit Hold(HeldFunction const& from) : m_target(from.m_target)
        {
            if (m_target)
                ++m_target->holders;
        }
        ~Hold() { release(m_target); }
        Hold(Hold const&) = delete;
        Hold& operator=(Hold const&) = delete;

        explicit operator bool() const { return m_target != nullptr; }
        bool isOf(HeldFunction const& other) const { return m_target == other.m_target; }
        void take(HeldFunction const& other)
        {
            Hold latest(other);
            std::swap(m_target, latest.m_target);
        }

        /// Must not be empty.
        Result operator()(Args... args) const
        {
            return m_target->function(std::forward<Args>(args)...);
        }

    private:
        Target* m_target;
    };

    HeldFunction() = default;
    ~HeldFunction() { release(m_target); }
    HeldFunction(HeldFunction const&) = delete;
    HeldFunction& operator=(HeldFunction const&) = delete;

    // Assigning replaces the function, by anything that can be called; an empty one is none. Nothing
    // is touched after that: the former function may take the object with it.
    HeldFunction& operator=(HeldFunction&& other) noexcept
    {
        release(std::exchange(m_target, std::exchange(other.m_target, nullptr)));
        return *this;
    }
    template <class Callable,
              class = std::enable_if_t<!std::is_same_v<std::decay_t<Callable>, HeldFunction>>>
    HeldFunction& operator=(Callable&& callable)
    {
        std::function<Result(Args...)> function = std::forward<Callable>(callable);
        auto* const target = function ? new Target{std::move(function), 1} : nullptr;
        release(std::exchange(m_target, target));
        return *this;
    }

    explicit operator bool() const { return m_target != nullptr; }

    /// Must not be empty.
    Result operator()(Args... args) const { return Hold(*this)(std::forward<Args>(args)...); }

private:
    static void release(Target* target)
    {
        if (target && --target->holders == 0)
            destroy(target);
    }
    // Not inlined: GCC would take a holder that is left for one that uses what is deleted.
    __attribute__((noinline)) static void destroy(Target* target) { delete target; }

    Target* m_target = nullptr;
};

#endif
