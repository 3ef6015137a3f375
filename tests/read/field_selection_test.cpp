// The chosen part of a record: order, nested records, unknown tags, every kind of value.

#include "read/field_selection.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "write/natural_json.h"
#include "write/rendering.h"
#include "write/typed_writer.h"

namespace {

using rendering::cells;
using rendering::number;
using rendering::setField;

std::string typed(const ifdsweep::ValueHandle& value) {
    return rendering::rendered(
        [&](ifdsweep::Output& output) { ifdsweep::appendTypedValue(output, value.get()); });
}

ifdsweep::ValueHandle makeRecords(const ifdsweep::Value& likeThese,
                                  const std::vector<std::string>& names) {
    std::vector<const char*> pointers;
    pointers.reserve(names.size());
    for (const std::string& name : names) {
        pointers.push_back(name.c_str());
    }
    const std::array<std::size_t, 2> size{likeThese.rows(), likeThese.columns()};
    return ifdsweep::ValueHandle(
        qxCreateStructArray(size.size(), size.data(), pointers.size(), pointers.data()));
}

ifdsweep::ValueHandle makeCells(const ifdsweep::Value& likeThese) {
    const std::array<std::size_t, 2> size{likeThese.rows(), likeThese.columns()};
    return ifdsweep::ValueHandle(qxCreateCellArray(size.size(), size.data()));
}

ifdsweep::ValueHandle copyOf(const ifdsweep::Value& value) {
    const std::array<std::size_t, 2> size{value.rows(), value.columns()};
    switch (value.kind()) {
        case ifdsweep::ValueKind::Double: {
            ifdsweep::ValueHandle copy(
                qxCreateNumericArray(size.size(), size.data(), qxDOUBLE_CLASS, qxREAL));
            std::copy(value.doubles().begin(), value.doubles().end(), qxGetDoubles(copy.get()));
            return copy;
        }
        case ifdsweep::ValueKind::Uint8: {
            ifdsweep::ValueHandle copy(
                qxCreateNumericArray(size.size(), size.data(), qxUINT8_CLASS, qxREAL));
            std::copy(value.bytes().begin(), value.bytes().end(), qxGetUint8s(copy.get()));
            return copy;
        }
        case ifdsweep::ValueKind::Char: {
            ifdsweep::ValueHandle copy(qxCreateCharArray(size.size(), size.data()));
            std::copy(value.text().begin(), value.text().end(), qxGetChars(copy.get()));
            return copy;
        }
        case ifdsweep::ValueKind::Cell: {
            ifdsweep::ValueHandle copy = makeCells(value);
            for (std::size_t index = 0; index < value.elementCount(); ++index) {
                if (const ifdsweep::Value* content = value.cell(index)) {
                    qxSetCell(copy.get(), index, copyOf(*content).release());
                }
            }
            return copy;
        }
        case ifdsweep::ValueKind::Struct:
            break;
    }
    std::vector<std::string> names;
    for (std::size_t field = 0; field < value.fieldCount(); ++field) {
        names.emplace_back(value.fieldName(field));
    }
    ifdsweep::ValueHandle copy = makeRecords(value, names);
    for (std::size_t element = 0; element < value.elementCount(); ++element) {
        for (std::size_t field = 0; field < names.size(); ++field) {
            if (const ifdsweep::Value* content = value.field(element, field)) {
                qxSetField(copy.get(), element, names[field].c_str(), copyOf(*content).release());
            }
        }
    }
    return copy;
}

class FieldSelections : public testing::Test {
protected:
    ~FieldSelections() override { EXPECT_EQ(host.liveValues(), 0U); }

    /// Fields by name; "#" stands before an unknown tag.
    static std::vector<ifdsweep::ChosenField> fields(const std::vector<std::string>& names) {
        std::vector<ifdsweep::ChosenField> chosen;
        for (const std::string& name : names) {
            const bool isUnknown = name[0] == '#';
            const std::string plain = name.substr(isUnknown ? 1 : 0);
            chosen.push_back(
                {plain, isUnknown ? std::optional(static_cast<std::uint16_t>(std::stoi(plain)))
                                  : std::nullopt});
        }
        return chosen;
    }

    static std::string selected(const ifdsweep::ValueHandle& value,
                                const std::vector<std::string>& names) {
        return typed(ifdsweep::selectFields(copyOf(*value), fields(names)));
    }

    ifdsweep::Host host;
    ifdsweep::Host::Scope scope{host};
};

TEST_F(FieldSelections, InTheOrderAskedFor) {
    auto records = rendering::records(2, {"Width", "Make", "Artist"});
    setField(records, 0, "Width", number(1));
    setField(records, 1, "Width", number(2));
    setField(records, 0, "Artist", number(3));
    EXPECT_EQ(selected(records, {"Artist", "Missing", "Width"}),
              R"({"class":"struct","size":[2,1],"fields":["Artist","Width"],"data":[)"
              R"([{"class":"double","size":[1,1],"data":[3]},)"
              R"({"class":"double","size":[1,1],"data":[1]}],)"
              R"([null,{"class":"double","size":[1,1],"data":[2]}]]})");
    EXPECT_EQ(selected(records, {"Missing"}),
              R"({"class":"struct","size":[2,1],"fields":[],"data":[[],[]]})");
    EXPECT_EQ(selected(rendering::noRecords(), {"Width"}),
              R"({"class":"double","size":[0,0],"data":[]})");
}

TEST_F(FieldSelections, EveryKindOfValueIsCopied) {
    auto inner = rendering::records(1, {"x", "y"});
    setField(inner, 0, "y", number(5));
    auto records = rendering::records(1, {"a", "b", "c", "d", "e"});
    setField(records, 0, "a", rendering::numbers(2, 2, {1, 2, 3, 4}));
    setField(records, 0, "b", rendering::bytes({0, 255}));
    setField(records, 0, "c", rendering::text(u"z\xFFFC"));
    setField(records, 0, "d", cells(number(1), ifdsweep::ValueHandle(), rendering::emptyText()));
    setField(records, 0, "e", std::move(inner));
    EXPECT_EQ(selected(records, {"a", "b", "c", "d", "e"}), typed(records));
}

TEST_F(FieldSelections, NestedRecordsHoldWhatTheyHaveOfIt) {
    auto leaf = rendering::records(1, {"ExposureTime", "Flash"});
    setField(leaf, 0, "ExposureTime", number(0.5));
    auto without = rendering::records(1, {"Flash"});
    setField(without, 0, "Flash", number(0));
    auto with = rendering::records(1, {"Width", "DigitalCamera"});
    setField(with, 0, "DigitalCamera", std::move(leaf));
    auto records = rendering::records(2, {"Make", "SubIFDs", "GPSInfo"});
    setField(records, 0, "SubIFDs", cells(std::move(without), std::move(with)));
    setField(records, 1, "GPSInfo", rendering::records(1, {"GPSLatitude"}));
    setField(records, 1, "Make", number(9));
    const std::string exposure = R"({"class":"struct","size":[1,1],"fields":["ExposureTime"],)"
                                 R"("data":[[{"class":"double","size":[1,1],"data":[0.5]}]]})";
    const std::string camera =
        R"({"class":"struct","size":[1,1],"fields":["DigitalCamera"],"data":[[)" + exposure + "]]}";
    EXPECT_EQ(selected(records, {"ExposureTime", "Make"}),
              R"({"class":"struct","size":[2,1],"fields":["Make","SubIFDs"],"data":[)"
              R"([null,{"class":"cell","size":[1,2],"data":[null,)" +
                  camera + R"(]}],[{"class":"double","size":[1,1],"data":[9]},null]]})");
}

TEST_F(FieldSelections, APointerThatIsChosenComesWhole) {
    auto leaf = rendering::records(1, {"ExposureTime", "Flash"});
    setField(leaf, 0, "ExposureTime", number(0.5));
    auto records = rendering::records(1, {"Width", "DigitalCamera"});
    setField(records, 0, "DigitalCamera", std::move(leaf));
    const std::string text = selected(records, {"DigitalCamera", "ExposureTime"});
    EXPECT_NE(text.find(R"("fields":["ExposureTime","Flash"])"), std::string::npos) << text;
}

TEST_F(FieldSelections, UnknownTagsByTheirNumber) {
    auto tags = rendering::records(2, {"ID", "Offset", "Value"});
    setField(tags, 0, "ID", number(50000));
    setField(tags, 0, "Value", rendering::numbers(1, 2, {1, 2}));
    setField(tags, 1, "ID", number(50001));
    setField(tags, 1, "Value", rendering::text(u"x"));
    auto records = rendering::records(2, {"Width", "UnknownTags"});
    setField(records, 1, "UnknownTags", std::move(tags));
    EXPECT_EQ(selected(records, {"#50001", "#50000", "#50002"}),
              R"({"class":"struct","size":[2,1],"fields":["50001","50000"],"data":[[null,null],)"
              R"([{"class":"char","size":[1,1],"data":"x"},)"
              R"({"class":"double","size":[1,2],"data":[1,2]}]]})");
    EXPECT_EQ(selected(records, {"Width"}),
              R"({"class":"struct","size":[2,1],"fields":["Width"],"data":[[null],[null]]})");
}

TEST_F(FieldSelections, AnUnknownTagIsShownWhereverItWasAskedFor) {
    auto tags = rendering::records(1, {"ID", "Offset", "Value"});
    setField(tags, 0, "ID", number(50000));
    setField(tags, 0, "Value", rendering::numbers(1, 2, {1, 2}));
    auto records = rendering::records(1, {"UnknownTags"});
    setField(records, 0, "UnknownTags", std::move(tags));
    const std::string value = R"({"class":"double","size":[1,2],"data":[1,2]})";
    const std::string whole =
        R"({"class":"struct","size":[1,1],"fields":["ID","Offset","Value"],"data":[[)"
        R"({"class":"double","size":[1,1],"data":[50000]},null,)" +
        value + "]]}";
    for (const auto& [names, data] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"#50000", "UnknownTags"}, value + ',' + whole},
             {{"UnknownTags", "#50000"}, whole + ',' + value}}) {
        EXPECT_EQ(selected(records, names),
                  R"({"class":"struct","size":[1,1],"fields":[")" + fields(names)[0].name +
                      R"(",")" + fields(names)[1].name + R"("],"data":[[)" + data + "]]}");
    }
    const std::vector<ifdsweep::ChosenField> twice{{"50000", 50000}, {"0xc350", 50000}};
    EXPECT_EQ(typed(ifdsweep::selectFields(copyOf(*records), twice)),
              R"({"class":"struct","size":[1,1],"fields":["50000","0xc350"],"data":[[)" + value +
                  ',' + value + "]]}");
}

TEST_F(FieldSelections, APublicTagStandsWhereItsNumberHasTheName) {
    const auto withTags = [](const std::vector<const char*>& fields, double first) {
        auto tags = rendering::records(2, {"ID", "Offset", "Value"});
        for (const std::size_t tag : {0U, 1U}) {
            setField(tags, tag, "ID", number(tag == 0 ? 31 : 42036));
            setField(tags, tag, "Value", number(first + static_cast<double>(tag)));
        }
        auto records = rendering::records(1, fields);
        setField(records, 0, "UnknownTags", std::move(tags));
        return records;
    };
    auto exif = withTags({"InteroperabilityIFD", "UnknownTags"}, 30);
    setField(exif, 0, "InteroperabilityIFD", cells(withTags({"UnknownTags"}, 40)));
    auto records = withTags({"UnknownTags", "GPSInfo", "DigitalCamera", "SubIFDs"}, 10);
    setField(records, 0, "GPSInfo", withTags({"UnknownTags"}, 20));
    setField(records, 0, "DigitalCamera", std::move(exif));
    setField(records, 0, "SubIFDs", cells(withTags({"UnknownTags"}, 50)));
    const auto chosen = [&](const std::vector<ifdsweep::ChosenField>& fields) {
        return rendering::rendered([&](ifdsweep::Output& output) {
            const auto selection = ifdsweep::selectFields(copyOf(*records), fields);
            ifdsweep::appendNaturalValue(output, selection.get());
        });
    };
    EXPECT_EQ(
        chosen({{"LensModel", 42036}}),
        R"([{"LensModel":11,"DigitalCamera":[{"LensModel":31}],"SubIFDs":[[{"LensModel":51}]]}])");
    EXPECT_EQ(chosen({{"GPSHPositioningError", 31}}),
              R"([{"GPSInfo":[{"GPSHPositioningError":20}]}])");
    EXPECT_EQ(chosen({{"31", 31}, {"GPSHPositioningError", 31}}),
              R"([{"31":10,"GPSInfo":[{"31":20,"GPSHPositioningError":20}],)"
              R"("DigitalCamera":[{"31":30,"InteroperabilityIFD":[[{"31":40}]]}],)"
              R"("SubIFDs":[[{"31":50}]]}])");
}

TEST_F(FieldSelections, ThePrimaryChainHasTheNamesOfItsKind) {
    struct Row {
        ifdsweep::DirectoryKind kind;
        bool isFound;
    };
    using enum ifdsweep::DirectoryKind;
    for (const Row& row : {Row{gps, true}, Row{primary, false}, Row{exif, false}}) {
        auto unknown = rendering::records(1, {"ID", "Value"});
        rendering::setField(unknown, 0, "ID", rendering::number(31));
        rendering::setField(unknown, 0, "Value", rendering::number(5));
        auto records = rendering::records(1, {"UnknownTags"});
        rendering::setField(records, 0, "UnknownTags", std::move(unknown));
        const auto choice = ifdsweep::chooseTags("GPSHPositioningError");
        const auto chosen = ifdsweep::selectFields(std::move(records), choice.fields, row.kind);
        EXPECT_EQ(chosen->fieldIndex("GPSHPositioningError").has_value(), row.isFound);
    }
}

TEST_F(FieldSelections, TheValueOfAnUnknownTagIsMoved) {
    const std::vector<double> many(1000, 7);
    auto tags = rendering::records(1, {"ID", "Offset", "Value"});
    setField(tags, 0, "ID", number(50000));
    setField(tags, 0, "Value", rendering::numbers(1, many.size(), many));
    auto records = rendering::records(1, {"UnknownTags"});
    const double* numbers = tags->field(0, 2)->doubles().data();
    setField(records, 0, "UnknownTags", std::move(tags));
    const auto chosen = ifdsweep::selectFields(std::move(records), fields({"#50000"}));
    EXPECT_EQ(chosen->field(0, 0)->doubles().data(), numbers);
}

}  // namespace
