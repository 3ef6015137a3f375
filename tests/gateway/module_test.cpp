// The module as a host loads it.

#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "host/host_parts.h"
#include "ifdsweep/host.h"
#include "support/record_dump.h"
#include "support/tiff_builder.h"
#include "support/whole_file.h"

namespace fixture {
namespace {

struct LibraryCloser {
    void operator()(void* library) const noexcept { dlclose(library); }
};

TEST(LoadableModule, ReadsThroughItsEntryPoint) {
    const std::unique_ptr<void, LibraryCloser> library(
        dlopen(IFDSWEEP_MODULE, RTLD_NOW | RTLD_LOCAL));
    ASSERT_NE(library, nullptr) << dlerror();
    void* symbol = dlsym(library.get(), "qxeFunction");
    ASSERT_NE(symbol, nullptr);
    ASSERT_NE(symbol, std::bit_cast<void*>(&qxeFunction)) << "the module's own, not the program's";
    const auto function = std::bit_cast<decltype(&qxeFunction)>(symbol);

    const TiffFile file = TiffBuilder({}).add({shorts(256, {640}), ascii(315, "x")}).build();
    ifdsweep::Host host;
    filesOf(host).serve(u"module.tif", file.bytes);
    {
        const ifdsweep::Host::Scope scope(host);
        const std::u16string name = u"module.tif";
        const std::array<ifdsweep::ValueHandle, 2> values{
            ifdsweep::ValueHandle(qxCreateUString(name.data(), name.size())),
            ifdsweep::ValueHandle(qxCreateDoubleScalar(0))};
        std::array<const qxArray*, 4> inputs{values[0].get(), values[1].get(), values[1].get(),
                                             values[1].get()};
        qxArray* output = nullptr;
        function(1, &output, 4, inputs.data());
        const ifdsweep::ValueHandle result(output);
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(dump(result.get()), "(Artist='x')");

        // Errors of the module reach this side as the message class of the contract.
        filesOf(host).serve(u"module.tif", std::span(file.bytes).first(3));
        host.clear();
        try {
            function(1, &output, 4, inputs.data());
            ADD_FAILURE();
        } catch (const qxMessage& error) {
            EXPECT_EQ(error.id(), "Velmora:pixlore:ifdsweep:tiffHeaderReadFailure");
        }
    }
    EXPECT_EQ(host.liveValues(), 0U);
}

/// A structure of an ELF file at a position.
template <class Structure>
Structure at(const std::string& file, std::size_t position) {
    Structure structure{};
    std::memcpy(&structure, file.data() + position, sizeof structure);
    return structure;
}

/// The names that a shared object defines for others.
std::multiset<std::string> exportedSymbols(const std::string& path) {
    const std::string file = fixture::readFile(path);
    std::multiset<std::string> names;
    const auto header = at<Elf64_Ehdr>(file, 0);
    const auto section = [&](std::size_t index) {
        return at<Elf64_Shdr>(file, header.e_shoff + index * header.e_shentsize);
    };
    for (std::size_t i = 0; i < header.e_shnum; ++i) {
        const Elf64_Shdr table = section(i);
        if (table.sh_type != SHT_DYNSYM) {
            continue;
        }
        const Elf64_Shdr strings = section(table.sh_link);
        for (std::size_t s = 0; s < table.sh_size / table.sh_entsize; ++s) {
            const auto symbol = at<Elf64_Sym>(file, table.sh_offset + s * table.sh_entsize);
            if (symbol.st_shndx != SHN_UNDEF && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL) {
                names.insert(file.c_str() + strings.sh_offset + symbol.st_name);
            }
        }
    }
    return names;
}

TEST(LoadableModule, ExportsItsEntryPointAlone) {
    EXPECT_EQ(exportedSymbols(IFDSWEEP_MODULE), (std::multiset<std::string>{"qxeFunction"}));
}

TEST(LoadableModule, TheCheckOfItsExportsSeesMoreThanOneName) {
    EXPECT_GT(exportedSymbols("/proc/self/exe").size(), 1U);
}

}  // namespace
}  // namespace fixture
