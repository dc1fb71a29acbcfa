#ifndef TRANSPORT_HELD_FUNCTION_H
#define TRANSPORT_HELD_FUNCTION_H

#include <functional>
#include <type_traits>
#include <utility>

template <class Signature>
class HeldFunction;

/// A std::function that stays alive while it runs. So it may replace itself, or destroy the object
/// that it is a member of. It is never copied to be run, so state that it keeps is still there in
/// the next run.
///
/// A std::shared_ptr would do the same. But its counts are made for several threads, and they cost
/// more than everything else between two records of a replay.
template <class Result, class... Args>
class HeldFunction<Result(Args...)>
{
    struct Target
    {
        std::function<Result(Args...)> function;
        unsigned holders;
    };

public:
    /// As long as this object lives, it keeps the function alive that `from` holds now.
    class Hold
    {
    public:
        explicit Hold(HeldFunction const& from) : m_target(from.m_target)
        {
            if (m_target)
                ++m_target->holders;
        }
        // It is freed with its last holder. NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete)
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

    // Assigning anything that can be called replaces the function. An empty function leaves none.
    // Nothing is touched after that, because the former function may destroy this object.
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
    // Not inlined: GCC would warn that a remaining holder uses what is deleted.
    __attribute__((noinline)) static void destroy(Target* target) { delete target; }

    Target* m_target = nullptr;
};

#endif
