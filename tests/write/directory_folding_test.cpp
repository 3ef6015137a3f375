// Equal directories and many warnings of one kind in the text format: literal lines.

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "read/messages.h"
#include "write/directory_folding.h"
#include "write/rendering.h"

namespace {

using rendering::number;
using rendering::numbers;
using rendering::records;
using rendering::setField;
using rendering::text;

class Folding : public testing::Test {
protected:
    ~Folding() override { EXPECT_EQ(host.liveValues(), 0U); }

    ifdsweep::Host host;
    ifdsweep::Host::Scope scope{host};
};

std::string shown(const std::vector<ifdsweep::Outcome>& outcomes,
                  const ifdsweep::WriteOptions& options = {}) {
    return rendering::written(ifdsweep::Format::text, outcomes, options);
}

std::string shown(ifdsweep::ValueHandle chain, const ifdsweep::WriteOptions& options = {}) {
    std::vector<ifdsweep::Outcome> outcomes(1);
    outcomes[0].file = "a.tif";
    outcomes[0].result = std::move(chain);
    return shown(outcomes, options);
}

/// The lines that tell of directories.
std::string headings(const std::string& output) {
    std::string lines;
    for (std::size_t begin = 0; begin < output.size();) {
        const std::size_t end = output.find('\n', begin);
        const std::string line = output.substr(begin, end + 1 - begin);
        lines += line.find("Director") != std::string::npos ? line : "";
        begin = end + 1;
    }
    return lines;
}

/// A chain whose directories have these widths, and offsets of their own.
ifdsweep::ValueHandle chainOf(const std::vector<double>& widths) {
    auto chain = records(widths.size(), {"Width", "Offset"});
    for (std::size_t element = 0; element < widths.size(); ++element) {
        setField(chain, element, "Width", number(widths[element]));
        setField(chain, element, "Offset", number(static_cast<double>(100 * element)));
    }
    return chain;
}

TEST_F(Folding, ShowsTheFirstWholeAndTellsOfThoseAfterIt) {
    EXPECT_EQ(shown(chainOf({7, 7, 7})), R"(a.tif

  Directory 0
    Width   7
    Offset  0

  Directories 1 and 2: as 0 but for Offset
  (--all-directories shows each directory and warning)
)");
}

TEST_F(Folding, IsLeftOutOnRequest) {
    ifdsweep::WriteOptions options;
    options.allDirectories = true;
    EXPECT_EQ(shown(chainOf({7, 7}), options), R"(a.tif

  Directory 0
    Width   7
    Offset  0

  Directory 1
    Width   7
    Offset  100
)");
}

TEST_F(Folding, LeavesPlacesThatWereAskedForByName) {
    ifdsweep::WriteOptions options;
    options.columns = {"Width", "Offset"};
    EXPECT_EQ(headings(shown(chainOf({7, 7}), options)), "  Directory 0\n  Directory 1\n");
    auto same = records(2, {"Width"});
    setField(same, 0, "Width", number(7));
    setField(same, 1, "Width", number(7));
    EXPECT_EQ(headings(shown(std::move(same), options)), "  Directory 0\n  Directory 1: as 0\n");
}

TEST_F(Folding, TellsInWhichOrderTheModelsReturn) {
    struct Case {
        const char* name;
        std::vector<double> widths;
        std::string lines;
    };
    const std::vector<Case> cases{
        {"one", {7}, "  Directory 0\n"},
        {"different", {7, 8, 9}, "  Directory 0\n  Directory 1\n  Directory 2\n"},
        {"two alone", {7, 7}, "  Directory 0\n  Directory 1: as 0\n"},
        {"a round of two",
         {7, 8, 7, 8, 7},
         "  Directory 0\n  Directory 1\n  Directories 2 to 4: as 0 and 1 in turn\n"},
        {"a round of three, begun again",
         {7, 8, 9, 7, 8, 9, 7},
         "  Directory 0\n  Directory 1\n  Directory 2\n  Directories 3 to 6: as 0 to 2 in turn\n"},
        {"a round after another beginning",
         {5, 7, 8, 7, 8, 7, 8},
         "  Directory 0\n  Directory 1\n  Directory 2\n"
         "  Directories 3 to 6: as 1 and 2 in turn\n"},
        {"a round of some",
         {7, 7, 8, 9, 7, 8, 9},
         "  Directory 0\n  Directory 1: as 0\n  Directory 2\n  Directory 3\n"
         "  Directories 4 to 6: as 0, 2 and 3 in turn\n"},
        {"one after the other",
         {7, 8, 8, 8, 7, 7},
         "  Directory 0\n  Directory 1\n  Directories 2 and 3: as 1\n"
         "  Directories 4 and 5: as 0\n"},
        {"without order",
         {7, 8, 9, 9, 9, 7, 7, 8, 8, 9, 9, 7, 7, 8, 8},
         "  Directory 0\n  Directory 1\n  Directory 2\n"
         "  Directories 3 to 14: each as one of 0 to 2\n"},
        {"one in between",
         {7, 7, 8, 7},
         "  Directory 0\n  Directory 1: as 0\n  Directory 2\n  Directory 3: as 0\n"},
        {"NaN", {NAN, NAN}, "  Directory 0\n  Directory 1: as 0\n"},
        {"zeros that are shown differently", {0.0, -0.0}, "  Directory 0\n  Directory 1\n"},
    };
    for (const Case& row : cases) {
        auto chain = records(row.widths.size(), {"Width"});
        for (std::size_t element = 0; element < row.widths.size(); ++element) {
            setField(chain, element, "Width", number(row.widths[element]));
        }
        EXPECT_EQ(headings(shown(std::move(chain))), row.lines) << row.name;
    }
}

TEST_F(Folding, OfManyModelsNamesWhereTheyAre) {
    std::vector<double> widths;
    for (int round = 0; round < 2; ++round) {
        for (int width = 0; width < 10; ++width) {
            widths.push_back(width);
            widths.push_back(0);
        }
    }
    EXPECT_NE(headings(shown(chainOf(widths))).find("each as one of 0 to 18 but for Offset\n"),
              std::string::npos);
    widths.clear();
    for (int width = 0; width < 10; ++width) {
        widths.push_back(width);
        widths.push_back(width);
    }
    for (int width = 0; width < 10; ++width) {
        widths.push_back(width);
    }
    EXPECT_NE(headings(shown(chainOf(widths)))
                  .find("Directories 20 to 29: as some of 0 to 18 in turn but for Offset\n"),
              std::string::npos);
}

TEST_F(Folding, NamesOnlyThePlacesThatDiffer) {
    // Each directory has all of them; in the second, one is other than in the first.
    const std::vector<const char*> placement{
        "Offset",         "StripOffsets",          "StripByteCounts",
        "TileOffsets",    "TileByteCounts",        "FreeOffsets",
        "FreeByteCounts", "JPEGInterchangeFormat", "JPEGInterchangeFormatLength",
        "JPEGDCTables",   "JPEGACTables",          "ICCProfileOffset",
        "PageNumber"};
    for (const char* const name : placement) {
        auto chain = records(2, placement);
        for (const char* const other : placement) {
            setField(chain, 0, other, numbers(1, 2, {1, 2}));
            setField(chain, 1, other,
                     name == other ? numbers(1, 3, {1, 2, 3}) : numbers(1, 2, {1, 2}));
        }
        EXPECT_EQ(headings(shown(std::move(chain))),
                  std::string("  Directory 0\n  Directory 1: as 0 but for ") + name + "\n");
    }
    auto chain = records(2, placement);
    for (const char* const name : placement) {
        setField(chain, 0, name, number(1));
        setField(chain, 1, name, number(2));
    }
    EXPECT_NE(headings(shown(std::move(chain)))
                  .find("as 0 but for Offset, StripOffsets, StripByteCounts, TileOffsets, "
                        "TileByteCounts, FreeOffsets, FreeByteCounts, JPEGInterchangeFormat, "
                        "JPEGInterchangeFormatLength, JPEGDCTables, JPEGACTables, "
                        "ICCProfileOffset, PageNumber\n"),
              std::string::npos);
}

/// A chain of two directories whose field holds what is given; a null leaves it out.
ifdsweep::ValueHandle pairOf(const char* name, ifdsweep::ValueHandle one,
                             ifdsweep::ValueHandle other) {
    auto chain = records(2, {name});
    if (one != nullptr) {
        setField(chain, 0, name, std::move(one));
    }
    if (other != nullptr) {
        setField(chain, 1, name, std::move(other));
    }
    return chain;
}

ifdsweep::ValueHandle unknownTag(double id, double offset, double value) {
    auto tag = records(1, {"ID", "Offset", "Value"});
    setField(tag, 0, "ID", number(id));
    setField(tag, 0, "Offset", number(offset));
    setField(tag, 0, "Value", number(value));
    return tag;
}

TEST_F(Folding, TellsValuesApart) {
    using Make = std::function<ifdsweep::ValueHandle()>;
    struct Case {
        const char* name;
        Make one;
        Make other;
        const char* likeness;  // null: different
    };
    const auto nothing = [] { return ifdsweep::ValueHandle(); };
    const std::vector<Case> cases{
        {"numbers",
         [] {
             return numbers(1, 2, {1, 2});
         },
         [] {
             return numbers(1, 2, {1, 2});
         },
         "as 0"},
        {"other numbers",
         [] {
             return numbers(1, 2, {1, 2});
         },
         [] {
             return numbers(1, 2, {1, 3});
         },
         nullptr},
        {"another shape",
         [] {
             return numbers(1, 2, {1, 2});
         },
         [] {
             return numbers(2, 1, {1, 2});
         },
         nullptr},
        {"more",
         [] {
             return numbers(1, 2, {1, 2});
         },
         [] {
             return numbers(1, 3, {1, 2, 3});
         },
         nullptr},
        {"nothing there", [] { return number(0); }, nothing, nullptr},
        {"text", [] { return text(u"ab"); }, [] { return text(u"ab"); }, "as 0"},
        {"other text", [] { return text(u"ab"); }, [] { return text(u"aB"); }, nullptr},
        {"text and number", [] { return text(u"\x01"); }, [] { return number(1); }, nullptr},
        {"bytes",
         [] {
             return rendering::bytes({1, 2});
         },
         [] {
             return rendering::bytes({1, 2});
         },
         "as 0"},
        {"other bytes",
         [] {
             return rendering::bytes({1, 2});
         },
         [] {
             return rendering::bytes({2, 1});
         },
         nullptr},
        {"bytes and numbers",
         [] {
             return rendering::bytes({1, 2});
         },
         [] {
             return numbers(1, 2, {1, 2});
         },
         nullptr},
        {"cells", [] { return rendering::cells(text(u"a"), ifdsweep::ValueHandle()); },
         [] { return rendering::cells(text(u"a"), ifdsweep::ValueHandle()); }, "as 0"},
        {"other cells", [] { return rendering::cells(text(u"a"), ifdsweep::ValueHandle()); },
         [] { return rendering::cells(ifdsweep::ValueHandle(), text(u"a")); }, nullptr},
        {"nested",
         [] {
             return chainOf({7, 8});
         },
         [] {
             return chainOf({7, 8});
         },
         "as 0"},
        {"nested elsewhere", [] { return unknownTag(5, 1, 2); },
         [] { return unknownTag(5, 99, 2); }, "as 0 but for Offset"},
        {"another nested value", [] { return unknownTag(5, 1, 2); },
         [] { return unknownTag(5, 1, 3); }, nullptr},
        {"fewer nested",
         [] {
             return chainOf({7, 8});
         },
         [] { return chainOf({7}); }, nullptr},
        {"nested under other names", [] { return chainOf({7}); },
         [] {
             return records(1, {"Width", "Height"});
         },
         nullptr},
    };
    for (const Case& row : cases) {
        const std::string output = shown(pairOf("Nested", row.one(), row.other()));
        const std::string last = row.likeness == nullptr
                                     ? "\n  Directory 1\n"
                                     : std::string("\n  Directory 1: ") + row.likeness + "\n";
        EXPECT_NE(output.find(last), std::string::npos) << row.name << '\n' << output;
    }
}

TEST_F(Folding, GoesOnInNestedChains) {
    auto chain = records(1, {"SubIFDs"});
    setField(chain, 0, "SubIFDs", rendering::cells(chainOf({7, 8, 7, 8}), chainOf({7, 7})));
    EXPECT_EQ(headings(shown(std::move(chain))),
              R"(  Directory 0
      Directory 0/SubIFDs[0]/0
      Directory 0/SubIFDs[0]/1
      Directories 0/SubIFDs[0]/2 and 3: as 0/SubIFDs[0]/0 and 1 in turn but for Offset
      Directory 0/SubIFDs[1]/0
      Directory 0/SubIFDs[1]/1: as 0/SubIFDs[1]/0 but for Offset
)");
}

TEST_F(Folding, IsOfEachFileAlone) {
    std::vector<ifdsweep::Outcome> outcomes(2);
    outcomes[0].file = "a.tif";
    outcomes[0].result = chainOf({7, 7});
    outcomes[1].file = "b.tif";
    outcomes[1].result = chainOf({7, 8});
    const std::string output = shown(outcomes);
    EXPECT_EQ(output.substr(output.find("b.tif")), R"(b.tif

  Directory 0
    Width   7
    Offset  0

  Directory 1
    Width   8
    Offset  100
)");
}

TEST_F(Folding, GroupsTheDigitsOfLargeNumbers) {
    EXPECT_EQ(headings(shown(chainOf(std::vector<double>(20000, 7)))),
              "  Directory 0\n  Directories 1 to 19,999: as 0 but for Offset\n");
}

std::vector<ifdsweep::Outcome> outcomesWith(const std::vector<const char*>& warnings) {
    std::vector<ifdsweep::Outcome> outcomes(1);
    outcomes[0].file = "a.tif";
    for (const char* const id : warnings) {
        outcomes[0].warnings.push_back({qxMessage(id, {}), {}});
    }
    return outcomes;
}

TEST_F(Folding, OfWarningsShowsTheFirstOfEachKind) {
    std::vector<const char*> ids(5, "ifdsweep:one");
    ids.push_back("ifdsweep:two");
    EXPECT_EQ(shown(outcomesWith(ids)), R"(a.tif
  warning: ifdsweep:one (one)
  warning: ifdsweep:one (one)
  warning: ifdsweep:one (one)
  warning: ifdsweep:one (one)
  warning: ifdsweep:one (one)
  warning: ifdsweep:two (two)
)");
    ids.insert(ids.begin(), 19994, "ifdsweep:one");
    ids.push_back("ifdsweep:one");
    ids.insert(ids.end(), 5, "ifdsweep:two");
    EXPECT_EQ(shown(outcomesWith(ids)), R"(a.tif
  warning: ifdsweep:one (one)
  warning: ifdsweep:one (one)
  warning: ifdsweep:one (one)
  warning: ifdsweep:one (one)
  warning: ifdsweep:one (one)
  warning: ifdsweep:two (two)
  warning: ifdsweep:two (two)
  warning: ifdsweep:two (two)
  warning: ifdsweep:two (two)
  warning: ifdsweep:two (two)
  … and 19,995 more of one
  … and 1 more of two
  (--all-directories shows each directory and warning)
)");
}

TEST_F(Folding, OfWarningsIsLeftOutOnRequest) {
    ifdsweep::WriteOptions options;
    options.allDirectories = true;
    std::string expected = "a.tif\n";
    for (int warning = 0; warning < 7; ++warning) {
        expected += "  warning: ifdsweep:one (one)\n";
    }
    EXPECT_EQ(shown(outcomesWith(std::vector<const char*>(7, "ifdsweep:one")), options), expected);
}

TEST_F(Folding, OfWarningsLeavesJsonAlone) {
    const std::string json = rendering::written(
        ifdsweep::Format::ndjson, outcomesWith(std::vector<const char*>(7, "ifdsweep:one")));
    std::size_t found = 0;
    for (std::size_t at = 0; (at = json.find("\"ifdsweep:one\"", at)) != json.npos; ++at) {
        ++found;
    }
    EXPECT_EQ(found, 14U) << "id and text of each";
}

}  // namespace
