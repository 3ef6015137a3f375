#pragma once

// What a program that measures a call of its own reports: one line of the milliseconds of the
// median call, the peak memory of the process in KiB, and the read system calls of one call.
// Plain functions; one thread.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

namespace bench {

/// A number from a file of /proc/self that has a line "name: number"; 0 when there is none.
inline unsigned long processNumber(const char* path, const char* name) {
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr) {
        return 0;
    }
    char line[256];
    unsigned long number = 0;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, name, std::strlen(name)) == 0) {
            static_cast<void>(std::sscanf(line + std::strlen(name), ": %lu", &number));
            break;
        }
    }
    std::fclose(file);
    return number;
}

/// Runs `call` so many times and prints the report.
template <class Call>
void reportCalls(int repetitions, Call&& call) {
    std::vector<double> milliseconds;
    const auto readCalls = [] { return processNumber("/proc/self/io", "syscr"); };
    const unsigned long asking = [&] {
        const unsigned long before = readCalls();
        return readCalls() - before;
    }();
    unsigned long reads = 0;
    for (int i = 0; i < repetitions; ++i) {
        const unsigned long readsBefore = readCalls();
        const auto start = std::chrono::steady_clock::now();
        call();
        const std::chrono::duration<double, std::milli> taken =
            std::chrono::steady_clock::now() - start;
        reads = readCalls() - readsBefore - asking;
        milliseconds.push_back(taken.count());
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    std::printf("%.4f ms, %lu KiB, %lu reads\n", milliseconds[milliseconds.size() / 2],
                processNumber("/proc/self/status", "VmHWM"), reads);
}

}  // namespace bench
