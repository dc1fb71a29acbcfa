#ifndef OBSERVER_TI_OBSERVER_H
#define OBSERVER_TI_OBSERVER_H

/// Receives the records of one type.
template <class T>
class TIObserver
{
public:
    virtual ~TIObserver() = default;

    /// `record` is valid for the call only.
    virtual void update(T const& record) = 0;
};

#endif
