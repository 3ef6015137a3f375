// Damage everywhere: files cut at every length, every byte flipped, every read and seek failing.
// Whatever comes of it, the call ends with a result or an error of the catalogue, no value is left
// alive, and the same bytes give the same.

#include "support/planned_faults.h"
#include "support/tiff_matrix.h"

namespace fixture {
namespace {

class Damage : public TiffMatrix {
protected:
    /// A bit of everything.
    static TiffFile rich() {
        return fileOf(
            {{shorts(256, {3}), shorts(257, {2}), shorts(258, {8, 8, 8}),
              numbers(282, kRational, {72, 1}), ascii(315, "an artist"),
              shorts(320, {1, 2, 3, 4, 5, 6}),
              pointer(330, {{{ascii(271, "first")}}, {{ascii(271, "second")}}}),
              shorts(339, {1, 1, 1}), numbers(700, kByte, {'<', 'x', '>', 0, 0, 0, 0, 0, 0}),
              pointer(34665, {{{numbers(33434, kRational, {1, 4}),
                                pointer(40965, {{{ascii(1, "R98")}}})}}}),
              pointer(34853, {{{numbers(2, kRational, {1, 1, 2, 1, 3, 1})}}}),
              shorts(60000, {1, 2, 3, 4, 5})},
             {ascii(315, "next page")}});
    }
    static void expectSound(const Call& given) {
        EXPECT_NE(given.error.empty(), given.result.empty());
        EXPECT_EQ(given.error.rfind("exception", 0), std::string::npos) << given.error;
    }
};
IFDSWEEP_TIFF_MATRIX(Damage);

TEST_P(Damage, UndamagedItDrawsNoMessage) {
    const Call given = callEntryPoint(rich().bytes);
    EXPECT_EQ(given.error, "");
    EXPECT_EQ(given.result, "struct 2x1");
    EXPECT_EQ(given.warnings, Lines{});
}

TEST_P(Damage, CutAtEveryLength) {
    const Bytes bytes = rich().bytes;
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        SCOPED_TRACE(length);
        const Bytes cut = truncated(bytes, length);
        const Call given = callEntryPoint(cut);
        expectSound(given);
        EXPECT_EQ(given.text(), callEntryPoint(cut).text());
        EXPECT_FALSE(given.error.empty() && given.warnings.empty());
    }
}

TEST_P(Damage, EveryByteFlipped) {
    const Bytes bytes = rich().bytes;
    for (std::size_t position = 0; position < bytes.size(); ++position) {
        for (const unsigned mask : {0x01U, 0x80U, 0xFFU}) {
            SCOPED_TRACE(position);
            expectSound(callEntryPoint(flipped(bytes, position, static_cast<std::uint8_t>(mask)),
                                       {},
                                       [](ifdsweep::Host& host) { host.setReadBudget(200000); }));
        }
    }
}

TEST_P(Damage, EveryReadAndSeekFails) {
    using Operation = fixture::Fault::Operation;
    using Effect = fixture::Fault::Effect;
    const TiffFile file = rich();
    for (const Operation operation : {Operation::read, Operation::seek}) {
        for (const Effect effect : {Effect::fail, Effect::deliverShort, Effect::shrinkFile}) {
            if (operation == Operation::seek && effect == Effect::deliverShort) {
                continue;
            }
            for (std::uint64_t number = 1; number <= 80; ++number) {
                SCOPED_TRACE(number);
                expectSound(callEntryPoint(file.bytes, {}, [&](ifdsweep::Host& host) {
                    fixture::setFaultPlan(host, {{operation, number, effect, 3}});
                }));
            }
        }
    }
}

TEST_P(Damage, LittleEqualsBig) {
    // The same directories in both byte orders give the same but for what speaks of the order.
    const auto textOf = [&](ByteOrder byteOrder) {
        TiffBuilder builder({format().layout, byteOrder});
        builder.add({shorts(256, {3}), numbers(282, kRational, {72, 1}), ascii(315, "an artist"),
                     doubles(60000, {0.5, 0.25}), pointer(34665, {{{ascii(271, "m")}}})});
        Call given = callEntryPoint(builder.build().bytes);
        std::string text;
        for (const auto& [name, value] : given.records.at(0)) {
            if (name != "ByteOrder" && name != "FormatSignature") {
                text += name + '=' + value + '\n';
            }
        }
        return text;
    };
    EXPECT_EQ(textOf(ByteOrder::little), textOf(ByteOrder::big));
}

}  // namespace
}  // namespace fixture
