#include "commands/ExportTargets.h"

#include "commands/ExportCommand.h"
#include "formats/Format.h"
#include "formats/OutputFile.h"
#include "terminal/Console.h"

#include <filesystem>
#include <map>

namespace Ambrel::Tool {

namespace {

namespace fs = std::filesystem;

bool IsFolder(std::string const& output, std::size_t layerCount) {
    std::error_code error; // what cannot be looked at is no folder, and opening it will tell
    if (output == "-") {
        return false;
    }
    bool const isNamedSo =
        layerCount > 1 && ExtensionOf(output).empty() && !fs::exists(output, error);
    return isNamedSo || output.ends_with('/') || fs::is_directory(output, error);
}

std::vector<ExportTarget> PlanFolder(std::vector<Input> const& inputs,
                                     ExportOptions const& options) {
    std::string const extension(FormatFor(options.format, "-").extensions.front());
    std::map<std::string, BString> sources; ///< by the file that is made of them
    std::vector<ExportTarget> targets;
    for (Input const& input : inputs) {
        fs::path const file = fs::path(options.output) / (input.name + extension);
        std::string const path = file.string();
        auto const [other, isNew] = sources.emplace(path, input.file);
        if (!isNew) {
            throw UsageException(
                path + " would be made of two layers: " + std::string(other->second.Utf8()) +
                " and " + std::string(input.file.Utf8()));
        }
        targets.push_back({input, path, file.parent_path().string()});
    }
    return targets;
}

} // namespace

std::vector<ExportTarget> PlanExport(std::vector<Input> const& inputs,
                                     ExportOptions const& options) {
    bool const isFolder = IsFolder(options.output, inputs.size());
    Format const& format = FormatFor(options.format, isFolder ? "-" : options.output);
    format.Require(options.formatOptions);
    if (isFolder) {
        return PlanFolder(inputs, options);
    }
    if (inputs.size() > 1 && !format.holdsSeveralLayers) {
        throw UsageException(std::to_string(inputs.size()) +
                             " layers need a folder; add --output FOLDER/");
    }
    std::vector<ExportTarget> targets;
    targets.reserve(inputs.size());
    for (Input const& input : inputs) {
        targets.push_back({input, options.output, ""});
    }
    return targets;
}

void MakeFolderOf(ExportTarget const& target) {
    std::error_code error;
    if (!target.folder.empty() && !fs::is_directory(target.folder, error)) {
        fs::create_directories(target.folder, error);
        if (error) {
            throw OutputException(target.folder, error.message());
        }
    }
}

} // namespace Ambrel::Tool
