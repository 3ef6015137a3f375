// The contract's functions, as a module calls them.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "adapter/messages.h"
#include "host/host_parts.h"
#include "ifdsweep/host.h"
#include "ifdsweep/qx.h"
#include "support/planned_faults.h"
#include "values/value.h"

namespace {

using ifdsweep::Host;
using ifdsweep::HostParts;
using ifdsweep::MessageId;
using ifdsweep::ValueHandle;
using ifdsweep::ValueKind;
using ifdsweep::module::Message;

class Contract : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(host.liveValues(), 0U); }

    Host host;
    Host::Scope scope{host};
};

constexpr std::array<std::size_t, 2> kTwoByThree{2, 3};

TEST_F(Contract, ByteTextsAreZeroExtended) {
    const ValueHandle text(qxCreateString("a\xE9\x80"));
    EXPECT_EQ(text->text(), (std::u16string{u'a', 0xE9, 0x80}));
    EXPECT_EQ(text->rows(), 1U);
    EXPECT_EQ(text->columns(), 3U);
}

TEST_F(Contract, EmptyTextsAreOneByZero) {
    for (qxArray* value : {qxCreateString(""), qxCreateUString(u"", 0)}) {
        const ValueHandle text(value);
        EXPECT_EQ(text->kind(), ValueKind::Char);
        EXPECT_EQ(text->rows(), 1U);
        EXPECT_EQ(text->columns(), 0U);
    }
}

TEST_F(Contract, Utf16TextsComeBack) {
    const std::u16string units{u'a', 0, 0xD800, 0xDC80, 0xFFFF};
    const ValueHandle text(qxCreateUString(units.data(), units.size()));
    EXPECT_EQ(qxGetUString(text.get()), units);
}

TEST_F(Contract, ScalarsComeBack) {
    for (const double number : {0.0, -1.5, 1e19, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(qxGetScalar(ValueHandle(qxCreateDoubleScalar(number)).get()), number);
    }
    const ValueHandle bytes(qxCreateNumericArray(2, kTwoByThree.data(), qxUINT8_CLASS, qxREAL));
    qxGetUint8s(bytes.get())[0] = 200;
    EXPECT_EQ(qxGetScalar(bytes.get()), 200);
}

TEST_F(Contract, ValuesOfAnotherClassAreRefused) {
    const ValueHandle number(qxCreateDoubleScalar(1));
    const ValueHandle text(qxCreateString("a"));
    const ValueHandle empty(qxCreateNumericArray(0, nullptr, qxDOUBLE_CLASS, qxREAL));
    EXPECT_THROW(static_cast<void>(qxGetUString(number.get())), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(qxGetUString(nullptr)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(qxGetScalar(text.get())), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(qxGetScalar(empty.get())), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(qxGetScalar(nullptr)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(qxGetUint8s(number.get())), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(qxGetDoubles(text.get())), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(qxGetChars(nullptr)), std::invalid_argument);
    EXPECT_THROW(qxSetField(nullptr, 0, "A", nullptr), std::invalid_argument);
    EXPECT_THROW(qxSetCell(nullptr, 0, nullptr), std::invalid_argument);
}

TEST_F(Contract, ArraysHaveTheirSizes) {
    const std::array<const char*, 1> names{"A"};
    const std::array<std::pair<qxArray*, ValueKind>, 5> arrays{{
        {qxCreateCharArray(2, kTwoByThree.data()), ValueKind::Char},
        {qxCreateCellArray(2, kTwoByThree.data()), ValueKind::Cell},
        {qxCreateStructArray(2, kTwoByThree.data(), 1, names.data()), ValueKind::Struct},
        {qxCreateNumericArray(2, kTwoByThree.data(), qxDOUBLE_CLASS, qxREAL), ValueKind::Double},
        {qxCreateNumericArray(2, kTwoByThree.data(), qxUINT8_CLASS, qxREAL), ValueKind::Uint8},
    }};
    for (const auto& [array, kind] : arrays) {
        const ValueHandle value(array);
        EXPECT_EQ(value->kind(), kind);
        EXPECT_EQ(value->rows(), 2U);
        EXPECT_EQ(value->columns(), 3U);
        EXPECT_EQ(value->elementCount(), 6U);
    }
}

TEST_F(Contract, NoDimensionsAreZeroByZero) {
    const ValueHandle value(qxCreateNumericArray(0, nullptr, qxDOUBLE_CLASS, qxREAL));
    EXPECT_EQ(value->kind(), ValueKind::Double);
    EXPECT_EQ(value->rows(), 0U);
    EXPECT_EQ(value->columns(), 0U);
    EXPECT_NE(qxGetDoubles(value.get()), nullptr);
}

TEST_F(Contract, OtherDimensionsAndClassesAreRefused) {
    const std::array<std::size_t, 3> cube{1, 1, 1};
    EXPECT_THROW(static_cast<void>(qxCreateCellArray(3, cube.data())), std::invalid_argument);
    EXPECT_THROW(
        static_cast<void>(qxCreateNumericArray(2, kTwoByThree.data(), qxDOUBLE_CLASS, qxCOMPLEX)),
        std::invalid_argument);
    EXPECT_THROW(static_cast<void>(qxCreateNumericArray(2, kTwoByThree.data(),
                                                        static_cast<qxClassID>(7), qxREAL)),
                 std::invalid_argument);
}

TEST_F(Contract, FilledElementsAreRead) {
    const ValueHandle text(qxCreateCharArray(2, kTwoByThree.data()));
    for (std::size_t index = 0; index < 6; ++index) {
        qxGetChars(text.get())[index] = static_cast<char16_t>(u'a' + index);
    }
    EXPECT_EQ(text->text(), u"abcdef");
}

TEST_F(Contract, NestedResultsAreFreedAsAWhole) {
    const std::array<std::size_t, 2> column{2, 1};
    const std::array<const char*, 2> names{"Name", "Parts"};
    qxArray* records = qxCreateStructArray(2, column.data(), names.size(), names.data());
    for (std::size_t element = 0; element < 2; ++element) {
        qxSetField(records, element, "Name", qxCreateString("a name that is not short"));
        qxArray* cells = qxCreateCellArray(2, kTwoByThree.data());
        qxSetCell(cells, 5, qxCreateDoubleScalar(1));
        qxSetField(records, element, "Parts", cells);
    }
    EXPECT_EQ(host.liveValues(), 7U);
    EXPECT_EQ(std::as_const(*records).field(1, 1)->cell(5)->doubles()[0], 1);
    qxDestroyArray(records);
    EXPECT_EQ(host.liveValues(), 0U);
    qxDestroyArray(nullptr);
}

TEST_F(Contract, AValueThatIsNotTakenStaysTheCallers) {
    const std::array<std::size_t, 2> one{1, 1};
    const std::array<const char*, 1> names{"Name"};
    const ValueHandle records(qxCreateStructArray(2, one.data(), 1, names.data()));
    const ValueHandle cells(qxCreateCellArray(2, one.data()));
    qxSetField(records.get(), 0, "Name", qxCreateDoubleScalar(1));
    qxSetCell(cells.get(), 0, qxCreateDoubleScalar(2));
    {
        const ValueHandle value(qxCreateString("a text that is not short"));
        EXPECT_THROW(qxSetField(records.get(), 1, "Name", value.get()), std::invalid_argument);
        EXPECT_THROW(qxSetField(records.get(), 0, "Other", value.get()), std::invalid_argument);
        EXPECT_THROW(qxSetField(cells.get(), 0, "Name", value.get()), std::invalid_argument);
        EXPECT_THROW(qxSetCell(cells.get(), 1, value.get()), std::invalid_argument);
        EXPECT_THROW(qxSetCell(records.get(), 0, value.get()), std::invalid_argument);
        EXPECT_EQ(host.liveValues(), 5U);
        EXPECT_EQ(value->text(), u"a text that is not short");
    }
    // What was there before is there still.
    EXPECT_EQ(host.liveValues(), 4U);
    EXPECT_EQ(std::as_const(*records).field(0, 0)->doubles()[0], 1);
    EXPECT_EQ(std::as_const(*cells).cell(0)->doubles()[0], 2);
}

TEST_F(Contract, AValueThatCannotBeMadeIsAnException) {
    // Elements that no memory holds, and sizes whose product wraps.
    for (const std::array<std::size_t, 2> size :
         {std::array<std::size_t, 2>{std::size_t{1} << 47U, 1},
          std::array<std::size_t, 2>{std::size_t{1} << 32U, std::size_t{1} << 32U}}) {
        const char* name = "A";
        EXPECT_THROW(static_cast<void>(qxCreateCharArray(2, size.data())), std::bad_alloc);
        EXPECT_THROW(static_cast<void>(qxCreateCellArray(2, size.data())), std::bad_alloc);
        EXPECT_THROW(static_cast<void>(qxCreateStructArray(2, size.data(), 1, &name)),
                     std::bad_alloc);
        EXPECT_THROW(
            static_cast<void>(qxCreateNumericArray(2, size.data(), qxDOUBLE_CLASS, qxREAL)),
            std::bad_alloc);
    }
}

TEST_F(Contract, ErrorsAreThrownAsTheyWereRaised) {
    try {
        qxRaiseError(Message<MessageId::badTiffIfdOffset>(30, 20));
        ADD_FAILURE() << "the error returned";
    } catch (const qxMessage& message) {
        EXPECT_EQ(message.id(), "Velmora:pixlore:ifdsweep:badTiffIfdOffset");
        ASSERT_EQ(message.arguments().size(), 2U);
        EXPECT_EQ(boost::get<std::int64_t>(message.arguments()[1]), 20);
    }
}

TEST_F(Contract, WarningsAreKeptInOrderUntilTaken) {
    qxWarningMsgId(Message<MessageId::unrecognizedIfd>(1));
    qxWarningMsgId(Message<MessageId::unrecognizedIfd>(2));
    EXPECT_EQ(host.warnings().size(), 2U);
    const std::vector<qxMessage> taken = host.takeWarnings();
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(boost::get<std::int64_t>(taken[1].arguments()[0]), 2);
    EXPECT_TRUE(host.warnings().empty());
    qxWarningMsgId(Message<MessageId::statFailure>());
    host.clear();
    EXPECT_TRUE(host.warnings().empty());
}

TEST_F(Contract, ScopesNest) {
    Host other;
    {
        const Host::Scope inner(other);
        EXPECT_EQ(&HostParts::current(), &HostParts::of(other));
        qxWarningMsgId(Message<MessageId::statFailure>());
    }
    EXPECT_EQ(&HostParts::current(), &HostParts::of(host));
    EXPECT_EQ(other.warnings().size(), 1U);
    EXPECT_TRUE(host.warnings().empty());
}

TEST_F(Contract, PlannedCreationFailure) {
    fixture::failValueCreation(host, 2, std::make_exception_ptr(std::bad_alloc()));
    const ValueHandle first(qxCreateDoubleScalar(1));
    EXPECT_THROW(static_cast<void>(qxCreateString("a")), std::bad_alloc);
    const ValueHandle third(qxCreateString("a"));
    EXPECT_EQ(host.liveValues(), 2U);
}

TEST(ContractWithoutScope, ValuesAreFreedAfterTheScope) {
    Host host;
    ValueHandle value;
    {
        const Host::Scope scope(host);
        value.reset(qxCreateDoubleScalar(1));
    }
    EXPECT_EQ(value->doubles()[0], 1);
    value.reset();
    EXPECT_EQ(host.liveValues(), 0U);
}

TEST(ContractWithoutScope, NoHostServes) {
    EXPECT_THROW(static_cast<void>(qxCreateDoubleScalar(1)), std::logic_error);
    EXPECT_THROW(qxWarningMsgId(Message<MessageId::statFailure>()), std::logic_error);
    EXPECT_THROW(static_cast<void>(qxFileExists(u"a")), std::logic_error);
}

}  // namespace
