#include "peak_memory.hpp"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace oxcmp {

namespace {

// A "Vm...:  N kB" line of /proc/self/status, in bytes; -1 when missing.
long long statusBytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind(key + ":", 0) == 0) return std::stoll(line.substr(key.size() + 1)) * 1024;
    return -1;
}

}  // namespace

long long peakMemoryOf(const std::function<void()>& work) {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    const pid_t child = fork();
    if (child < 0) {
        close(fds[0]);
        close(fds[1]);
        return -1;
    }
    if (child == 0) {
        close(fds[0]);
        long long result = -1;
        // Free heap the parent left resident would be reused without
        // raising the figure: give it back first.
        malloc_trim(0);
        // Writing 5 to clear_refs resets the peak to the current size, so
        // the pages the child shares with its parent do not count.
        std::ofstream("/proc/self/clear_refs") << "5";
        const long long before = statusBytes("VmRSS");
        if (before >= 0 && statusBytes("VmHWM") <= before + (1 << 20)) {
            work();
            const long long peak = statusBytes("VmHWM");
            if (peak >= 0) result = peak - before;
        }
        [[maybe_unused]] const auto written = write(fds[1], &result, sizeof result);
        close(fds[1]);
        _exit(0);
    }
    close(fds[1]);
    long long result = -1;
    if (read(fds[0], &result, sizeof result) != static_cast<ssize_t>(sizeof result)) result = -1;
    close(fds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? result : -1;
}

}  // namespace oxcmp
