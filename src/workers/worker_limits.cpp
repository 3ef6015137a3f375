#include "workers/worker_limits.h"

#include <algorithm>
#include <fstream>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

#include "io/sanitized.h"

namespace ifdsweep {
namespace {

// No real file meets it: a gigabyte of tags takes seconds.
constexpr double kDefaultTimeout = 600;

constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;

using Amount = std::optional<std::uint64_t>;

/// The number at the beginning of a file of the system's; none for "max", or when there is none.
Amount numberIn(const std::string& file) {
    std::ifstream stream(file);
    std::uint64_t number = 0;
    return stream >> number ? Amount(number) : Amount();
}

Amount least(Amount left, Amount right) {
    return left && right ? std::min(*left, *right) : left ? left : right;
}

/// What the machine could give: free, or free as soon as it is wanted.
Amount availableInMachine() {
    std::ifstream stream("/proc/meminfo");
    std::string name;
    for (std::uint64_t kibibytes = 0; stream >> name >> kibibytes;) {
        if (name == "MemAvailable:") {
            return kibibytes * 1024;
        }
        stream.ignore(64, '\n');
    }
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) {
        return {};
    }
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
}

/// What is left to a control group. Files that are cached count as used there, yet they give way;
/// so the whole limit counts.
Amount limitOfGroup(const std::string& folder) {
    return least(numberIn(folder + "/memory.max"), numberIn(folder + "/memory.limit_in_bytes"));
}

/// The least limit of the process's control group and of those around it. In a container they
/// often stand at the root, whatever the path says.
Amount limitOfGroups() {
    const std::string root = "/sys/fs/cgroup";
    Amount limit = least(limitOfGroup(root), limitOfGroup(root + "/memory"));
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) {
        // "0::/path", or "N:...,memory,...:/path" of the older kind.
        const std::size_t path = line.find(":/");
        if (path == std::string::npos) {
            continue;
        }
        const bool isOlder = line.find("memory") < path;
        if (!isOlder && !line.starts_with("0::")) {
            continue;
        }
        const std::string top = isOlder ? root + "/memory" : root;
        for (std::string group = line.substr(path + 1); group.size() > 1;
             group.erase(group.rfind('/'))) {
            limit = least(limit, limitOfGroup(top + group));
        }
    }
    return limit;
}

}  // namespace

std::uint64_t defaultMemory(std::optional<std::uint64_t> available, std::size_t workers) {
    if (!available) {
        return kMostDefaultMemory;
    }
    const std::uint64_t share = *available / std::max<std::size_t>(workers, 1) / kMebibyte;
    return std::clamp(2 * share * kMebibyte, kLeastDefaultMemory, kMostDefaultMemory);
}

std::optional<std::uint64_t> availableMemory() {
    return least(availableInMachine(), limitOfGroups());
}

WorkerLimits workerLimits(const WorkerChoice& choice, std::size_t workers) {
    WorkerLimits limits;
    limits.timeout = choice.timeout.value_or(kDefaultTimeout);
    limits.memory = choice.memory ? *choice.memory : defaultMemory(availableMemory(), workers);
    return limits;
}

void limitMemory(std::uint64_t bytes) {
    rlimit limit{};
    if (kIsSanitized || ::getrlimit(RLIMIT_AS, &limit) != 0) {
        return;
    }
    limit.rlim_cur = std::min<rlim_t>(bytes, limit.rlim_cur);
    limit.rlim_max = limit.rlim_cur;
    static_cast<void>(::setrlimit(RLIMIT_AS, &limit));
}

}  // namespace ifdsweep
