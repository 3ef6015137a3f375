// Names and widths of the field types, against a list of their own and against libtiff.

#include "dict/data_types.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <string>

#include "ifdsweep/host.h"
#include "support/entry_call.h"
#include "support/type_rows.h"

namespace fixture {
namespace {

using namespace ifdsweep::module;

const TypeRow* rowOf(unsigned code) {
    const auto* row = std::find_if(kTypeRows.begin(), kTypeRows.end(),
                                   [&](const TypeRow& each) { return each.code == code; });
    return row == kTypeRows.end() ? nullptr : row;
}

TEST(DataTypes, EveryTypeHasItsWidthAndNoOtherCodeHasOne) {
    for (unsigned code = 0; code <= 0x10000; ++code) {
        const TypeRow* row = rowOf(code);
        EXPECT_EQ(dataTypeWidth(code), row == nullptr ? 0 : row->width) << code;
    }
    EXPECT_EQ(dataTypeWidth(0xFFFFFFFF), 0U);
}

TEST(DataTypes, WidthsAreThoseOfLibtiff) {
    for (const TypeRow& row : kTypeRows) {
        if (row.code == 0) {
            continue;  // libtiff takes a missing type for a byte; no entry reaches it
        }
        EXPECT_EQ(dataTypeWidth(row.code),
                  static_cast<unsigned>(TIFFDataWidth(static_cast<TIFFDataType>(row.code))))
            << row.name;
    }
}

TEST(DataTypes, EveryTypeHasItsName) {
    for (const TypeRow& row : kTypeRows) {
        EXPECT_EQ(std::string(get_datatype_name(static_cast<TIFFDataType>(row.code))), row.name);
    }
}

TEST(DataTypes, ACodeWithoutANameIsAnError) {
    ifdsweep::Host host;
    const ifdsweep::Host::Scope scope(host);
    // The enumeration has room for five bits.
    for (const int code : {14, 15, 19, 20, 31}) {
        try {
            (void)get_datatype_name(static_cast<TIFFDataType>(code));
            ADD_FAILURE() << code;
        } catch (const qxMessage& error) {
            EXPECT_EQ(messageDump(error), "unrecognizedTagFormatId(" + std::to_string(code) + ')');
        }
    }
}

}  // namespace
}  // namespace fixture
