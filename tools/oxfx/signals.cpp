#include "signals.hpp"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <system_error>
#include <thread>

#include "image_io.hpp"

namespace oxfx {

void removePartialOutputsOnSignal() {
    sigset_t stops;
    sigemptyset(&stops);
    sigaddset(&stops, SIGINT);
    sigaddset(&stops, SIGTERM);
    sigset_t before;
    if (pthread_sigmask(SIG_BLOCK, &stops, &before) != 0) return;
    try {
        // A thread waiting with sigwait may take locks and call anything,
        // unlike a signal handler.
        std::thread([stops] {
            int signal = 0;
            while (sigwait(&stops, &signal) != 0) {
            }
            const size_t removed = oxio::removePartialOutputsForExit();
            std::fflush(stdout);
            if (isatty(STDERR_FILENO)) std::fputs("\r\033[K", stderr);
            std::fprintf(stderr, "oxfx: stopped by %s; %zu unfinished output%s removed\n",
                         signal == SIGINT ? "SIGINT" : "SIGTERM", removed, removed == 1 ? "" : "s");
            std::fflush(stderr);
            _exit(128 + signal);
        }).detach();
    } catch (const std::system_error&) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
}

}  // namespace oxfx
