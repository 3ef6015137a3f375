#include "run/keyed_hash.h"

#include <bit>
#include <cstddef>
#include <random>

namespace ifdsweep {
namespace {

struct SipState {
    void round() {
        a += b;
        b = std::rotl(b, 13) ^ a;
        a = std::rotl(a, 32);
        c += d;
        d = std::rotl(d, 16) ^ c;
        a += d;
        d = std::rotl(d, 21) ^ a;
        c += b;
        b = std::rotl(b, 17) ^ c;
        c = std::rotl(c, 32);
    }

    void take(std::uint64_t word) {
        d ^= word;
        round();
        round();
        a ^= word;
    }

    std::uint64_t a;
    std::uint64_t b;
    std::uint64_t c;
    std::uint64_t d;
};

/// At most eight bytes, the first the lowest.
std::uint64_t wordOf(std::string_view bytes) {
    std::uint64_t word = 0;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        word |= std::uint64_t{static_cast<unsigned char>(bytes[index])} << (8 * index);
    }
    return word;
}

}  // namespace

HashKey makeHashKey() {
    std::random_device random;
    const auto word = [&random] { return std::uint64_t{random()} << 32 | random(); };
    return {word(), word()};
}

std::uint64_t keyedHash(std::string_view bytes, const HashKey& key) {
    SipState state{key[0] ^ 0x736f6d6570736575U, key[1] ^ 0x646f72616e646f6dU,
                   key[0] ^ 0x6c7967656e657261U, key[1] ^ 0x7465646279746573U};
    const std::uint64_t size = bytes.size();
    for (; bytes.size() >= sizeof(std::uint64_t); bytes.remove_prefix(sizeof(std::uint64_t))) {
        state.take(wordOf(bytes.substr(0, sizeof(std::uint64_t))));
    }
    state.take(size << 56 | wordOf(bytes));
    state.c ^= 0xFF;
    for (int round = 0; round < 4; ++round) {
        state.round();
    }
    return state.a ^ state.b ^ state.c ^ state.d;
}

}  // namespace ifdsweep
