#include "run/file_roles.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/descriptor.h"
#include "io/output.h"
#include "io/run_failure.h"
#include "read/image_signature.h"
#include "run/failure_list.h"
#include "walk/input_file.h"
#include "walk/path_list.h"

namespace ifdsweep {
namespace {

constexpr int kNoDescriptor = -1;

struct NamedFile {
    explicit NamedFile(std::string fileName) : name(std::move(fileName)) {
        struct stat status {};
        if (::stat(name.c_str(), &status) == 0) {
            isRegular = S_ISREG(status.st_mode);
            identity = {status.st_dev, status.st_ino};
            return;
        }
        const std::filesystem::path path = name;
        const std::string folder = path.has_parent_path() ? path.parent_path().string() : ".";
        if (::stat(folder.c_str(), &status) == 0) {
            nameInFolder = path.filename().string();
            identity = {status.st_dev, status.st_ino};
        }
    }

    /// The file of a stream of the program's.
    NamedFile(std::string streamName, int descriptor) : name(std::move(streamName)) {
        if (const std::optional<FileIdentity> file = identityOf(descriptor)) {
            isRegular = true;
            identity = *file;
        }
    }

    /// Whether both names lead to one file, there already or not.
    [[nodiscard]] bool isSameAs(const NamedFile& other) const {
        return isRegular == other.isRegular && nameInFolder == other.nameInFolder &&
               (isRegular || !nameInFolder.empty()) && identity == other.identity;
    }

    std::string name;
    bool isRegular = false;
    std::string nameInFolder;  ///< of a file that is not there yet
    FileIdentity identity{};   ///< of the file, or of the folder where it will be
};

std::vector<NamedFile> writtenFiles(const RunOptions& options) {
    const std::string& output = options.run.outputFile;
    const std::string& journal = options.run.journal;
    const bool hasPart = !output.empty() && !journal.empty();
    const NamedFile standardOutput("the standard output",
                                   output.empty() ? STDOUT_FILENO : kNoDescriptor);
    std::vector<NamedFile> written;
    for (const std::string& name :
         {output, hasPart ? partNameOf(output) : std::string(), options.run.failureFile, journal}) {
        if (name.empty()) {
            continue;
        }
        NamedFile file(name);
        if (file.isSameAs(standardOutput) ||
            std::any_of(written.begin(), written.end(),
                        [&file](const NamedFile& other) { return file.isSameAs(other); })) {
            throw Refusal(name + " cannot be written in two ways");
        }
        written.push_back(std::move(file));
    }
    return written;
}

class InputCheck {
public:
    explicit InputCheck(std::vector<NamedFile> filesWritten) : written(std::move(filesWritten)) {}

    void check(const std::string& name) const {
        const NamedFile file = name == kStandardInput
                                   ? NamedFile("the standard input", STDIN_FILENO)
                                   : NamedFile(name);
        if (file.isRegular && std::any_of(written.begin(), written.end(), [&](const auto& other) {
                return file.isSameAs(other);
            })) {
            throw Refusal(file.name + " cannot be both read and written");
        }
    }

    /// Looks at the paths of a list. One that is a pipe is read once, by the run, which then looks
    /// at each path that it takes.
    void checkListed(const InputChoice& input) const {
        const bool isOverwriting = std::any_of(
            written.begin(), written.end(), [](const NamedFile& file) { return file.isRegular; });
        if (!isOverwriting || !NamedFile(input.listFile).isRegular) {
            return;
        }
        PathList list(input.listFile, input.nulSeparated);
        try {
            while (const std::optional<std::string> line = list.next()) {
                const std::string path(input.nulSeparated ? *line : pathOfFailureLine(*line));
                check(path == kStandardInput ? "./" + path : path);  // in a list, a file's name
            }
        } catch (const OutputError&) {
            return;  // the run meets it again
        }
    }

private:
    std::vector<NamedFile> written;
};

}  // namespace

std::string partNameOf(const std::string& output) {
    return output + ".part";
}

void checkFileRoles(const RunOptions& options) {
    const std::vector<NamedFile> written = writtenFiles(options);
    if (written.empty()) {
        return;
    }
    const InputCheck inputs(written);
    const InputChoice& input = options.input;
    if (!input.listFile.empty()) {
        inputs.check(input.listFile);
        if (input.listFile != kStandardInput) {
            inputs.checkListed(input);
        }
    }
    std::for_each(input.paths.begin(), input.paths.end(),
                  [&](const std::string& path) { inputs.check(path); });
    for (const NamedFile& file : written) {
        refuseToReplaceImage(file.name);
    }
}

void refuseToReplaceImage(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 ||
        !(S_ISREG(status.st_mode) || S_ISBLK(status.st_mode))) {
        return;
    }
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    try {
        if (!file.isOpen()) {
            throw OutputError(errno);
        }
        if (imageFormatOf(readPiece(file.get(), 0, kLongestSignature))) {
            throw Refusal(path + " is an image and is left as it is");
        }
    } catch (const OutputError& error) {
        throw Refusal(
            path + " may be an image and is left as it is: " + systemErrorText(error.systemError));
    }
}

}  // namespace ifdsweep
