#ifndef APP_MODE_H
#define APP_MODE_H

/// A run of the tool: the constructor builds and starts it, the destructor ends it.
class Mode
{
public:
    virtual ~Mode() = default;
};

#endif
