#include <nanobind/stl/optional.h>
#include <nanobind/stl/string_view.h>

#include "ifdsweep/messages.h"
#include "ifdsweep/tag_list.h"
#include "objects.h"
#include "texts.h"

namespace ifdsweep::python {
namespace {

/// Number, name, dictionary and alias of every name.
nb::object tagNames() {
    nb::list names;
    for (const TagListing& tag : listTags()) {
        names.append(
            nb::make_tuple(tag.id, strOf(tag.name), strOf(tag.dictionary), strOf(tag.alias)));
    }
    return nb::tuple(names);
}

std::string explain(std::string_view id) {
    const MessageDescription description = describeMessage(id);
    if (!description.complaint.empty()) {
        throw nb::value_error(("id: " + description.complaint).c_str());
    }
    return explanationText(description);
}

}  // namespace

NB_MODULE(_core, module) {
    module.doc() = "What the package is made of in C++.";
    // What threads have that outlive the interpreter is never freed, and no concern of users.
    nb::set_leak_warnings(false);
    module.attr("VERSION") = IFDSWEEP_VERSION;
    addMessageType(module);
    addEntryType(module);
    addDirectoryType(module);
    addFileTypes(module);
    addReadFunction(module);
    addScanType(module);
    addListingType(module);
    addTableType(module);
    module.def(
        "explain", [](std::string_view id) { return strOf(explain(id)); }, "id"_a,
        nb::sig("def explain(id: str) -> str"),
        "What a message means and what to do, by its short or full id.\n\n"
        "Raises:\n    ValueError: there is no such message; the nearest ids are named.");
    module.def("tag_names", tagNames,
               nb::sig("def tag_names() -> tuple[tuple[int | None, str, str, str], ...]"),
               "Number, name, dictionary and alias of every name that a field can have.");
}

}  // namespace ifdsweep::python
