#pragma once

// Memory that fails on demand: this program's operator new and, where no sanitizer has its own,
// malloc. What fails is chosen by the thread that asks.

#include <cstddef>
#include <cstdint>

namespace fixture {

/// Which requests for memory count.
enum class Requests : std::uint8_t {
    operatorNew,  ///< operator new in all its forms
    all,          ///< those of the C library too, for instance for its streams
};

/// Makes the `number`-th request of this thread fail, once, while it lives.
class FailingRequest {
public:
    explicit FailingRequest(std::uint64_t number, Requests counted = Requests::operatorNew);
    FailingRequest(const FailingRequest&) = delete;
    FailingRequest& operator=(const FailingRequest&) = delete;
    ~FailingRequest();

    /// Whether that many requests were made and one failed.
    [[nodiscard]] bool hasFailed() const;
};

/// Makes every request of this thread for more than so many bytes fail, for good.
void failRequestsAbove(std::size_t size);

/// Whether `Requests::all` sees the C library's requests in this build.
[[nodiscard]] bool seesLibraryRequests();

}  // namespace fixture
