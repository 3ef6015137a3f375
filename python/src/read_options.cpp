#include "read_options.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "ifdsweep/unlimited.h"
#include "texts.h"

namespace ifdsweep::python {
namespace {

/// Numbers that a reading counts in doubles are whole up to here.
constexpr std::uint64_t kMostWhole = std::uint64_t{1} << 53;

/// A text in UTF-8; none where it has lone surrogates.
std::optional<std::string_view> utf8Of(nb::handle text) {
    Py_ssize_t size = 0;
    const char* const bytes = PyUnicode_AsUTF8AndSize(text.ptr(), &size);
    if (bytes == nullptr) {
        PyErr_Clear();
        return std::nullopt;
    }
    return std::string_view(bytes, static_cast<std::size_t>(size));
}

/// What stands for an argument in a complaint.
std::string representation(nb::handle object) {
    const nb::object text = nb::steal(PyObject_Repr(object.ptr()));
    const auto utf8 = text.is_valid() ? utf8Of(text) : std::nullopt;
    PyErr_Clear();  // an int with too many digits to print
    return std::string(utf8.value_or("something else"));
}

bool isWord(nb::handle text, std::string_view word) {
    return utf8Of(text) == word;
}

/// A whole number from 0 on: an int or what has `__index__`.
std::uint64_t wholeNumber(const char* argument, const char* expected, nb::handle given,
                          std::uint64_t most) {
    if (PyBool_Check(given.ptr()) != 0 || PyIndex_Check(given.ptr()) == 0) {
        refuseType(argument, expected, given);
    }
    const nb::object number = nb::steal(PyNumber_Index(given.ptr()));
    if (!number.is_valid()) {
        throw nb::python_error();
    }
    const unsigned long long value = PyLong_AsUnsignedLongLong(number.ptr());
    const bool isOutside = value == ~0ULL && PyErr_Occurred() != nullptr;
    PyErr_Clear();
    if (isOutside || value > most) {
        refuseValue(argument,
                    "expected 0 to " + std::to_string(most) + ", got " + representation(number));
    }
    return value;
}

double wholeDouble(const char* argument, nb::handle given, const char* expected = "an int") {
    return static_cast<double>(wholeNumber(argument, expected, given, kMostWhole));
}

/// One of a few words, as what it stands for.
template <class Choice, std::size_t count>
Choice choice(const char* argument, nb::handle given,
              const std::array<std::pair<std::string_view, Choice>, count>& words) {
    if (!nb::isinstance<nb::str>(given)) {
        refuseType(argument, "a str", given);
    }
    std::string list;
    for (const auto& [word, meaning] : words) {
        if (isWord(given, word)) {
            return meaning;
        }
        list.append(list.empty() ? "\"" : " or \"").append(word).append("\"");
    }
    refuseValue(argument, "expected " + list + ", got " + representation(given));
}

constexpr std::array kReadings{
    std::pair{std::string_view("full"), ReadingMode::full},
    std::pair{std::string_view("contract"), ReadingMode::contract},
};

constexpr std::array kStreams{
    std::pair{std::string_view("first"), StreamChoice::first},
    std::pair{std::string_view("all"), StreamChoice::all},
};

std::optional<std::uint64_t> budget(const char* argument, nb::handle given) {
    if (given.is_none()) {
        return std::nullopt;
    }
    if (!nb::isinstance<nb::str>(given)) {
        return wholeNumber(argument, "an int, \"unlimited\" or None", given, kUnlimited);
    }
    if (!isWord(given, "unlimited")) {
        refuseValue(argument,
                    "expected an int, \"unlimited\" or None, got " + representation(given));
    }
    return kUnlimited;
}

std::string tagName(nb::handle name) {
    const auto utf8 = utf8Of(name);
    if (!utf8) {
        refuseValue("tags", "no tag is named " + representation(name));
    }
    return std::string(*utf8);
}

/// One tag of an iterable: a name, a pattern or a number.
std::string tagWord(nb::handle tag) {
    return nb::isinstance<nb::str>(tag)
               ? tagName(tag)
               : std::to_string(wholeNumber("tags", "names and numbers", tag, 0xFFFF));
}

/// The list as the program takes it.
std::string tagList(nb::handle tags) {
    if (nb::isinstance<nb::str>(tags)) {
        return tagName(tags);
    }
    const bool isBytes = PyObject_CheckBuffer(tags.ptr()) != 0;
    const nb::object iterator = isBytes ? nb::object() : nb::steal(PyObject_GetIter(tags.ptr()));
    if (!iterator.is_valid()) {
        if (!isBytes && PyErr_ExceptionMatches(PyExc_TypeError) == 0) {
            throw nb::python_error();
        }
        PyErr_Clear();
        refuseType("tags", "a str, an iterable of names and numbers, or None", tags);
    }
    std::string list;
    bool any = false;
    while (const nb::object tag = nb::steal(PyIter_Next(iterator.ptr()))) {
        list.append(std::exchange(any, true) ? "," : "").append(tagWord(tag));
    }
    if (PyErr_Occurred() != nullptr) {
        throw nb::python_error();
    }
    if (!any) {
        refuseValue("tags", "expected at least one name or number");
    }
    return list;
}

std::vector<ChosenField> chosenFields(nb::handle tags) {
    if (tags.is_none()) {
        return {};
    }
    TagChoice chosen = chooseTags(tagList(tags));
    if (!chosen.complaint.empty()) {
        refuseValue("tags", chosen.complaint);
    }
    return std::move(chosen.fields);
}

/// What is wrong with options that are each right.
void checkTogether(const ReadOptions& read) {
    const bool isFull = read.reading == ReadingMode::full;
    const bool readsAll = read.streams == StreamChoice::all;
    struct Row {
        bool isWrong;
        const char* argument;
        const char* complaint;
    };
    const Row rows[] = {
        {read.longestValue && !isFull, "max_value",
         "goes with reading=\"full\": the contract's reading loads every value"},
        {readsAll && !isFull, "streams",
         "\"all\" goes with reading=\"full\": the contract's reading reads one stream"},
        {readsAll && read.offset, "streams",
         "\"all\" and offset exclude each other: there is one stream at a position"},
        {read.check && !isFull, "check",
         "goes with reading=\"full\": the contract's reading checks no image data"},
    };
    for (const Row& row : rows) {
        if (row.isWrong) {
            refuseValue(row.argument, row.complaint);
        }
    }
}

}  // namespace

void refuseType(const char* argument, const char* expected, nb::handle given) {
    throw nb::type_error(
        (std::string(argument) + ": expected " + expected + ", got " + typeNameOf(given)).c_str());
}

void refuseValue(const char* argument, const std::string& complaint) {
    throw nb::value_error((std::string(argument) + ": " + complaint).c_str());
}

ReadSettings readSettings(nb::handle offset, nb::handle first, nb::handle max, nb::handle tags,
                          nb::handle maxValue, nb::handle reading, nb::handle readBudget,
                          nb::handle valueBudget, nb::handle streams, nb::handle check) {
    ReadSettings settings;
    ReadOptions& read = settings.read;
    if (!offset.is_none()) {
        read.offset = wholeDouble("offset", offset, "an int or None");
    }
    read.first = wholeDouble("first", first);
    read.max = wholeDouble("max", max);
    if (!maxValue.is_none()) {
        read.longestValue = wholeNumber("max_value", "an int or None", maxValue, kUnlimited);
    }
    read.reading = choice("reading", reading, kReadings);
    read.readBudget = budget("read_budget", readBudget);
    read.valueBudget = budget("value_budget", valueBudget);
    read.streams = choice("streams", streams, kStreams);
    if (PyBool_Check(check.ptr()) == 0) {
        refuseType("check", "a bool", check);
    }
    read.check = check.is(Py_True);
    checkTogether(read);
    settings.fields = chosenFields(tags);
    return settings;
}

}  // namespace ifdsweep::python
