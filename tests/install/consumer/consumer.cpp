// A program outside the project: sweeps one file through the installed libraries.

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

#include <host/file_names.h>
#include <host/host.h>
#include <ifdsweep/qx.h>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        return 2;
    }
    ifdsweep::Host host;
    std::size_t directories = 0;
    {
        const ifdsweep::Host::Scope scope(host);
        const std::u16string name = ifdsweep::fileNameFromSystem(arguments[1]);
        const std::array<ifdsweep::ValueHandle, 4> inputs{
            ifdsweep::ValueHandle(qxCreateUString(name.data(), name.size())),
            ifdsweep::ValueHandle(qxCreateDoubleScalar(0)),
            ifdsweep::ValueHandle(qxCreateDoubleScalar(0)),
            ifdsweep::ValueHandle(qxCreateDoubleScalar(0)),
        };
        std::array<const qxArray*, 4> handles{};
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            handles[i] = inputs[i].get();
        }
        qxArray* output = nullptr;
        qxeFunction(1, &output, static_cast<int>(handles.size()), handles.data());
        const ifdsweep::ValueHandle records(output);
        directories = records->rows();
    }
    std::printf("%zu director%s, %zu warnings, %zu live values\n", directories,
                directories == 1 ? "y" : "ies", host.warnings().size(), host.liveValues());
    return 0;
}
