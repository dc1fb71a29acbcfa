#ifndef OBSERVER_I_CONTROLLER_H
#define OBSERVER_I_CONTROLLER_H

/// Something that is started and stopped.
class IController
{
public:
    virtual ~IController() = default;
    virtual void initialize() = 0;
    virtual void tearDown() = 0;
};

#endif
