#include "columns.h"

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include <nanobind/ndarray.h>

#include "columns/entry_items.h"
#include "exact_values.h"
#include "places.h"
#include "values.h"

namespace ifdsweep::python {
namespace {

/// The numbers of a field, as long as they are numbers.
class NumberColumn {
public:
    NumberColumn(const PackedFile& packedFile, std::uint32_t fieldName)
        : file(packedFile), name(fieldName) {}

    /// Adds the value of the next directory; false for what is neither number nor absent.
    bool add(const PackedValueRow* value, const PackedDirectoryRow& directory) {
        if (value == nullptr || value->kind == PackedKind::none ||
            value->kind == PackedKind::numbers) {
            addNone();
            return true;
        }
        if (value->kind != PackedKind::number) {
            return false;
        }
        const double number = PackedFile::numberOf(*value);
        reals.push_back(number);
        if (areIntegers) {
            addInteger(*value, number, directory);
        }
        return true;
    }

    [[nodiscard]] nb::object array() && {
        return areIntegers ? arrayOfNumbers(std::move(integers)) : arrayOfNumbers(std::move(reals));
    }

private:
    void addNone() {
        areIntegers = false;
        reals.push_back(std::numeric_limits<double>::quiet_NaN());
    }

    void addInteger(const PackedValueRow& value, double number,
                    const PackedDirectoryRow& directory) {
        if (value.isOfEntry != 0) {
            const auto integer = EntryItems(file, file.entries()[value.entry]).integer(0);
            areIntegers = integer.has_value();
            integers.push_back(integer.value_or(0));
            return;
        }
        const std::uint32_t entry = entryByName(file, directory, name);
        areIntegers = std::trunc(number) == number && std::abs(number) < kExactIntegers &&
                      (entry == kNoRow || !hasReals(file.entries()[entry]));
        integers.push_back(areIntegers ? static_cast<std::int64_t>(number) : 0);
    }

    template <class Number>
    static nb::object arrayOfNumbers(std::vector<Number>&& numbers) {
        auto kept = std::make_unique<std::vector<Number>>(std::move(numbers));
        const std::size_t count = kept->size();
        Number* const data = kept->data();
        const nb::capsule owner(kept.get(), [](void* vector) noexcept {
            std::unique_ptr<std::vector<Number>>(static_cast<std::vector<Number>*>(vector));
        });
        static_cast<void>(kept.release());
        return nb::cast(nb::ndarray<nb::numpy, Number, nb::ndim<1>>(data, {count}, owner));
    }

    const PackedFile& file;
    std::uint32_t name;
    std::vector<double> reals;
    std::vector<std::int64_t> integers;
    bool areIntegers = true;
};

nb::object objectColumn(const FilePointer& file, std::span<const std::uint32_t> directories,
                        std::uint32_t name, const nb::module_& numpy) {
    nb::object column =
        numpy.attr("empty")(directories.size(), nb::arg("dtype") = nb::str("object"));
    for (std::size_t index = 0; index < directories.size(); ++index) {
        const Directory directory{file, directories[index]};
        const PackedValueRow* value = fieldOf(directory, name);
        if (value != nullptr) {
            column[index] = recordValue(file, *value, &directory.row(), name);
        }
    }
    return column;
}

}  // namespace

nb::object columnOf(const FilePointer& file, std::span<const std::uint32_t> directories,
                    std::string_view field) {
    const nb::module_ numpy = nb::module_::import_("numpy");
    const std::uint32_t name = file->findName(field);
    NumberColumn numbers(*file, name);
    for (const std::uint32_t number : directories) {
        const Directory directory{file, number};
        if (!numbers.add(fieldOf(directory, name), directory.row())) {
            return objectColumn(file, directories, name, numpy);
        }
    }
    return std::move(numbers).array();
}

}  // namespace ifdsweep::python
