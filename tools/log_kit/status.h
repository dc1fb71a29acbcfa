#ifndef LOG_KIT_STATUS_H
#define LOG_KIT_STATUS_H

/// The exit statuses of every subcommand.
enum eStatus : int
{
    STATUS_GOOD = 0,
    STATUS_FAILED = 1,  // a file cannot be read or written, or holds no record
    STATUS_USAGE = 2,   // a wrong command line
    STATUS_DAMAGED = 3, // done, but a log is damaged or below a threshold
};

/// The status of several files: that of the worst.
inline eStatus worse(eStatus a, eStatus b)
{
    auto const badness = [](eStatus status) {
        return status == STATUS_GOOD ? 0 : status == STATUS_DAMAGED ? 1 : 2;
    };
    return badness(b) > badness(a) ? b : a;
}

#endif
