#include "source/Inputs.h"

#include "formats/OutputFile.h"
#include "source/Archive.h"
#include "terminal/Console.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"

#include <QString>

#include <algorithm>
#include <filesystem>
#include <set>

namespace Ambrel::Tool {

namespace {

namespace fs = std::filesystem;

constexpr char const* mainExtension = ".shp";

/// The shapefile that a file beside it ("roads.dbf", "roads.sbn", "roads.shp.xml") belongs to; any
/// other path as it is.
std::string ShapefileOf(std::string const& path) {
    constexpr std::string_view description = ".shp.xml";
    if (path.ends_with(description)) {
        std::string const shapefile = path.substr(0, path.size() - 4);
        return BFileUtilities::Exists(BString::FromUtf8(shapefile)) ? shapefile : path;
    }
    std::string const extension = ExtensionOf(path);
    bool const isPart = extension == ".shx" || extension == ".dbf" || extension == ".prj";
    BString const file = BString::FromUtf8(path);
    BString const main = BFileUtilities::ChangeExtension(file, BString::FromUtf8(mainExtension));
    bool const isCompanion = isPart || (extension != mainExtension && BFileUtilities::Exists(file));
    return isCompanion && BFileUtilities::Exists(main) ? std::string(main.Utf8()) : path;
}

/// The folders in this one, sorted, but for links and hidden ones. What cannot be listed has none.
std::vector<std::string> FoldersIn(Console& console, std::string const& folder) {
    std::vector<std::string> folders;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        bool const isFolder = entry->is_directory(ignored) && !entry->is_symlink(ignored);
        std::string const name = entry->path().filename().string();
        if (!isFolder || name.starts_with('.')) {
            continue;
        }
        if (QString::fromStdString(name).toStdString() != name) {
            PrintWarning(console, entry->path().string() + " is left out: its name is not UTF-8");
            continue;
        }
        folders.push_back(name);
    }
    std::sort(folders.begin(), folders.end());
    return folders;
}

/// Collects the layers of one path after the other.
class InputSearch {
public:
    explicit InputSearch(Console& newConsole) : console(newConsole) {}

    void TakePath(std::string const& path, std::size_t number, InputPaths const& paths) {
        current = number;
        std::size_t const before = inputs.size();
        std::size_t const knownBefore = known.size();
        isRepeated = false;
        if (auto const archive = FindArchive(path)) {
            std::string const folder = Unpack(console, *archive, paths.unpackLimit);
            TakePlain((fs::path(folder) / archive->inside).string(), true);
        } else {
            TakePlain(ShapefileOf(path), paths.recursive);
        }
        if (inputs.size() == before && known.size() == knownBefore && !isRepeated) {
            throw BFileNotFoundException(BString::FromUtf8("BFileUtilities::ListFiles"),
                                         BString::FromUtf8("no shapefile in " + path));
        }
    }

    std::vector<Input> Result() && { return std::move(inputs); }

private:
    void TakePlain(std::string const& path, bool recursive) {
        std::error_code ignored;
        if (recursive && fs::is_directory(path, ignored)) {
            TakeTree(path, "");
        } else {
            TakeFiles(path, "");
        }
    }

    void TakeTree(std::string const& folder, std::string const& prefix) {
        TakeFiles(folder, prefix);
        for (std::string const& name : FoldersIn(console, folder)) {
            std::string below = prefix;
            below += name;
            below += '/';
            TakeTree((fs::path(folder) / name).string(), below);
        }
    }

    void TakeFiles(std::string const& path, std::string const& prefix) {
        for (BString const& file :
             BFileUtilities::ListFiles(BString::FromUtf8(path), BString::FromUtf8(mainExtension))) {
            if (!known.insert(std::string(file.Utf8())).second) {
                isRepeated = true;
                continue;
            }
            inputs.push_back(
                {file, prefix + std::string(BFileUtilities::GetBasename(file).Utf8()), current});
        }
    }

    Console& console;
    std::vector<Input> inputs;
    std::set<std::string> known;
    std::size_t current = 0;
    bool isRepeated = false;
};

} // namespace

std::vector<Input> FindInputs(Console& console, InputPaths const& paths, InputFailure const& fail) {
    InputSearch search(console);
    for (std::size_t i = 0; i < paths.named.size(); ++i) {
        std::string const& path = paths.named[i];
        if (path.empty()) { // what a shell makes of a variable that is not set
            throw UsageException("a path is empty");
        }
        try {
            search.TakePath(path, i, paths);
        } catch (StopException const&) {
            throw;
        } catch (std::exception const& error) {
            fail(path, error);
        }
    }
    return std::move(search).Result();
}

Input TheInput(Console& console, InputPaths const& paths, std::string const& advice) {
    std::vector<Input> const inputs =
        FindInputs(console, paths, [](std::string const&, std::exception const&) { throw; });
    if (inputs.size() > 1) {
        std::string const subject =
            paths.named.size() > 1 ? "these paths stand" : paths.named.front() + " stands";
        throw UsageException(subject + " for " + std::to_string(inputs.size()) + " shapefiles; " +
                             advice);
    }
    return inputs.front();
}

} // namespace Ambrel::Tool
