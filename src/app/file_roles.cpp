#include "app/file_roles.h"

#include <string>
#include <vector>

#include <sys/stat.h>

#include "app/descriptor.h"
#include "app/run_failure.h"

namespace app {
namespace {

struct NamedFile {
    explicit NamedFile(const std::string& fileName) : name(&fileName) {
        struct stat status {};
        if (::stat(fileName.c_str(), &status) == 0) {
            isRegular = S_ISREG(status.st_mode);
            identity = {status.st_dev, status.st_ino};
        } else {
            isNew = true;
        }
    }

    [[nodiscard]] bool isSameAs(const NamedFile& other) const {
        return (isRegular && other.isRegular && identity == other.identity) ||
               (isNew && other.isNew && *name == *other.name);
    }

    const std::string* name;
    bool isRegular = false;
    bool isNew = false;
    FileIdentity identity{};
};

}  // namespace

void checkFileRoles(const Arguments& arguments) {
    std::vector<NamedFile> written;
    for (const std::string* name :
         {&arguments.output.file, &arguments.run.failureFile, &arguments.run.journal}) {
        if (name->empty()) {
            continue;
        }
        const NamedFile file(*name);
        for (const NamedFile& other : written) {
            if (file.isSameAs(other)) {
                throw RunFailure(*name + " cannot be written in two ways");
            }
        }
        written.push_back(file);
    }
    const auto checkRead = [&written](const std::string& name) {
        const NamedFile file(name);
        for (const NamedFile& other : written) {
            if (file.isRegular && file.isSameAs(other)) {
                throw RunFailure(name + " cannot be both read and written");
            }
        }
    };
    if (written.empty()) {
        return;
    }
    if (!arguments.input.listFile.empty()) {
        checkRead(arguments.input.listFile);
    }
    for (const std::string& path : arguments.input.paths) {
        checkRead(path);
    }
}

}  // namespace app
