// The same directories written in either byte order, by a writer of the tests: the records differ
// in what they say about the byte order and in nothing else.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "support/entry_call.h"
#include "support/tiff_builder.h"

namespace {

constexpr std::uint16_t kPointers[] = {330, 34665, 34853, 40965};

bool isPointer(std::uint64_t tag) {
    return std::find(std::begin(kPointers), std::end(kPointers), tag) != std::end(kPointers);
}

fixture::Directory arbitraryDirectory(fuzz::FuzzInput& input, unsigned depth);

fixture::Chain arbitraryChain(fuzz::FuzzInput& input, unsigned depth) {
    fixture::Chain chain(1 + input.below(2));
    for (fixture::Directory& directory : chain) {
        directory = arbitraryDirectory(input, depth);
    }
    return chain;
}

fixture::Entry arbitraryEntry(fuzz::FuzzInput& input, unsigned depth) {
    const std::uint64_t tag = input.word(2);
    if (depth > 0 && (isPointer(tag) || input.below(8) == 0)) {
        std::vector<fixture::Chain> chains(input.below(3));
        for (fixture::Chain& chain : chains) {
            chain = arbitraryChain(input, depth - 1);
        }
        const std::uint16_t type = input.below(2) == 0 ? fixture::kLong : fixture::kIfd;
        return fixture::pointer(kPointers[tag % 4], std::move(chains), type);
    }
    // An even number: rationals take two each, and one left over would lie where the count denies
    // it.
    std::vector<std::int64_t> items(2 * input.below(10));
    for (std::int64_t& item : items) {
        item = static_cast<std::int64_t>(input.word(input.below(2) == 0 ? 1 : 8));
    }
    // A pointer's numbers would lead to places that hold other bytes in the other order.
    const auto plain = static_cast<std::uint16_t>(isPointer(tag) ? tag + 1 : tag);
    const auto type = static_cast<std::uint16_t>(input.below(20));
    const fixture::Entry entry = fixture::numbers(plain, type, items);
    // Lies about what lies away from its entry lead past the end in either order.
    const std::size_t lie = items.size() > 8 ? input.below(16) : 2;
    return lie == 0   ? entry.withCount(0xFFFFFFFF)
           : lie == 1 ? entry.withValueField(0xFFFFFFF0)
                      : entry;
}

fixture::Directory arbitraryDirectory(fuzz::FuzzInput& input, unsigned depth) {
    fixture::Directory directory;
    directory.entries.resize(input.below(12));
    for (fixture::Entry& entry : directory.entries) {
        entry = arbitraryEntry(input, depth);
    }
    if (input.below(16) == 0) {
        directory.next = 0xFFFFFFF0;
    }
    return directory;
}

/// What a call gives, without the fields that tell the byte order.
std::string sweptWithoutOrder(const fixture::Chain& chain, fixture::Format format) {
    fixture::TiffBuilder builder(format);
    for (const fixture::Directory& directory : chain) {
        builder.add(directory);
    }
    fixture::Call given = fixture::callEntryPoint(builder.build().bytes);
    for (fixture::Record& record : given.records) {
        std::erase_if(record, [](const auto& field) {
            return field.first == "ByteOrder" || field.first == "FormatSignature";
        });
    }
    return given.text();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(std::span(data, size));
    const auto layout = input.below(2) == 0 ? fixture::Layout::classic : fixture::Layout::big;
    constexpr unsigned kDepth = 3;
    const fixture::Chain chain = arbitraryChain(input, kDepth);
    const std::string little = sweptWithoutOrder(chain, {layout, fixture::ByteOrder::little});
    const std::string big = sweptWithoutOrder(chain, {layout, fixture::ByteOrder::big});
    if (little != big) {
        std::fprintf(stderr, "little-endian:\n%s\nbig-endian:\n%s\n", little.c_str(), big.c_str());
    }
    fuzz::require(little == big, "little equals big endian");
    return 0;
}
