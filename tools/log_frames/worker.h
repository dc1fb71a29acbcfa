#ifndef LOG_FRAMES_WORKER_H
#define LOG_FRAMES_WORKER_H

#include <csignal>
#include <thread>
#include <utility>

/// Starts a thread that gets no signals: they are for the main thread, which they wake from what it
/// waits for. Throws std::system_error when there can be none.
template <class Function>
std::thread startWorker(Function&& function)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread worker(std::forward<Function>(function));
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return worker;
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
}

#endif
