#ifndef TRANSPORT_LIFETIME_H
#define TRANSPORT_LIFETIME_H

/// Tells a member function whether a callback that it ran has destroyed its object. It is a member
/// of that object, and allocates nothing.
class Lifetime
{
public:
    /// Lives on the stack of the member function while callbacks run.
    class Watch
    {
    public:
        explicit Watch(Lifetime& lifetime);
        ~Watch();
        Watch(Watch const&) = delete;
        Watch& operator=(Watch const&) = delete;

        bool isOver() const { return !m_lifetime; }

    private:
        friend class Lifetime;

        Lifetime* m_lifetime; // null once the object is gone
        Watch* m_outer;       // of the call that this one is made in, or null
    };

    Lifetime() = default;
    ~Lifetime();
    Lifetime(Lifetime const&) = delete;
    Lifetime& operator=(Lifetime const&) = delete;

private:
    Watch* m_watch = nullptr; // the innermost
};

#endif
