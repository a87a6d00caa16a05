#include "source/Archive.h"

#include "formats/OutputFile.h"
#include "terminal/Console.h"
#include "terminal/Interrupt.h"
#include "terminal/Temporaries.h"

#include "Ambrel/BException.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <map>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

namespace Ambrel::Tool {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t usualRatio = 100;                    // texts of tables shrink to a tenth
constexpr std::uint64_t usualLimit = std::uint64_t{1} << 30; // bytes
constexpr std::array<char const*, 5> parts = {".shp", ".shx", ".dbf", ".prj", ".cpg"};
constexpr char const* operation = "unpack";

[[noreturn]] void Fail(std::string const& reason) {
    throw BDataManagerException(BString::FromUtf8(operation), BString::FromUtf8(reason));
}

struct CloseArchive {
    void operator()(zip_t* archive) const noexcept { zip_discard(archive); }
};
struct CloseMember {
    void operator()(zip_file_t* member) const noexcept { zip_fclose(member); }
};

class Descriptor final {
public:
    explicit Descriptor(int newNumber) : number(newNumber) {}
    ~Descriptor() {
        if (number >= 0) {
            ::close(number);
        }
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int Number() const noexcept { return number; }

private:
    int number;
};

bool IsPart(std::string const& name) {
    return std::find(parts.begin(), parts.end(), ExtensionOf(name)) != parts.end();
}

/// Whether the name would come to lie in the folder that it is unpacked to.
bool StaysInside(fs::path const& name) {
    return !name.empty() && !name.is_absolute() &&
           std::none_of(name.begin(), name.end(),
                        [](fs::path const& part) { return part == ".." || part.empty(); });
}

/// Whether a path in the archive stands for the member: it is the path of a folder above it, of a
/// file of the shapefile, or a wildcard, of which everything in its folder is unpacked.
bool IsMeant(std::string const& name, std::string const& inside) {
    bool const isWildcard = inside.find_first_of("*?") != std::string::npos;
    std::string const wanted = isWildcard ? fs::path(inside).parent_path().string() : inside;
    std::string const folder = wanted.ends_with('/') || wanted.empty() ? wanted : wanted + "/";
    std::string const withoutExtension = fs::path(name).replace_extension().string();
    std::string const asked =
        IsPart(inside) ? fs::path(inside).replace_extension().string() : inside;
    return name.starts_with(folder) || withoutExtension == asked;
}

/// Brings an archive's shapefiles into a folder.
class Unpacking {
public:
    Unpacking(Console& newConsole, ArchivePath const& newPath, std::uint64_t newLimit)
        : console(newConsole), path(newPath), limit(newLimit) {
        int code = 0;
        archive.reset(zip_open(path.archive.c_str(), ZIP_RDONLY, &code));
        if (!archive) {
            zip_error_t error;
            zip_error_init_with_code(&error, code);
            std::string const reason = zip_error_strerror(&error);
            zip_error_fini(&error);
            Fail(path.archive + " cannot be opened as an archive: " + reason);
        }
        std::error_code ignored;
        std::uint64_t const size = fs::file_size(path.archive, ignored);
        limit = limit > 0 ? limit : std::max(usualLimit, usualRatio * size);
    }

    std::string Run() {
        folder = Temporaries::CreateFolder();
        if (folder.empty()) {
            throw OutputException("the folder for temporary files", errno);
        }
        AddAlias(folder, path.archive);
        zip_int64_t const count = zip_get_num_entries(archive.get(), 0);
        for (zip_int64_t i = 0; i < count; ++i) {
            ThrowIfInterrupted();
            Take(static_cast<zip_uint64_t>(i));
        }
        if (leftOut > 0) {
            PrintWarning(console, path.archive + ": " + std::to_string(leftOut) +
                                      " of its members are left out: they lead out of it, are no "
                                      "files, or have the name of another one");
        }
        return folder;
    }

private:
    void Take(zip_uint64_t index) {
        zip_stat_t status;
        if (zip_stat_index(archive.get(), index, ZIP_FL_ENC_GUESS, &status) != 0 ||
            (status.valid & ZIP_STAT_NAME) == 0) {
            return;
        }
        std::string name = status.name;
        std::replace(name.begin(), name.end(), '\\', '/'); // as some systems write them
        if (!IsPart(name) || !IsMeant(name, path.inside)) {
            return;
        }
        if (!StaysInside(name) || !IsRegular(index)) {
            ++leftOut;
            return;
        }
        if ((status.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 &&
            status.encryption_method != ZIP_EM_NONE) {
            return Refuse(name, "it is encrypted");
        }
        Write(index, name);
    }

    bool IsRegular(zip_uint64_t index) const {
        zip_uint8_t system = 0;
        zip_uint32_t attributes = 0;
        zip_file_get_external_attributes(archive.get(), index, 0, &system, &attributes);
        mode_t const type = (attributes >> 16) & S_IFMT;
        return system != ZIP_OPSYS_UNIX || type == 0 || type == S_IFREG;
    }

    void Write(zip_uint64_t index, std::string const& name) {
        fs::path const target = fs::path(folder) / name;
        std::error_code error;
        fs::create_directories(target.parent_path(), error);
        Descriptor const file(
            ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (file.Number() < 0 && errno == EEXIST) {
            ++leftOut;
            return;
        }
        if (file.Number() < 0) {
            return Refuse(name, std::generic_category().message(errno));
        }
        FileSink sink(file.Number(), target.string());
        if (std::string const reason = Copy(index, sink); !reason.empty()) {
            ::unlink(target.c_str());
            Refuse(name, reason);
        }
    }

    /// Returns what went wrong; empty when nothing did.
    std::string Copy(zip_uint64_t index, FileSink& sink) {
        std::unique_ptr<zip_file_t, CloseMember> const member(
            zip_fopen_index(archive.get(), index, 0));
        if (!member) {
            return zip_strerror(archive.get());
        }
        std::string piece(std::size_t{1} << 16, '\0');
        while (true) {
            ThrowIfInterrupted();
            zip_int64_t const size = zip_fread(member.get(), piece.data(), piece.size());
            if (size <= 0) {
                return size == 0 ? std::string() : zip_file_strerror(member.get());
            }
            Count(static_cast<std::uint64_t>(size));
            sink.Write({piece.data(), static_cast<std::size_t>(size)});
        }
    }

    void Count(std::uint64_t bytes) {
        written += bytes;
        if (written > limit) {
            constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
            Fail(path.archive + " unpacks to more than " +
                 std::to_string((limit + mebibyte - 1) / mebibyte) +
                 " MiB; where that is right, see --unpack-limit");
        }
    }

    void Refuse(std::string const& name, std::string const& reason) {
        PrintWarning(console, path.archive + "/" + name + " is left out: " + reason);
    }

    Console& console;
    ArchivePath const& path;
    std::uint64_t limit; ///< bytes
    std::unique_ptr<zip_t, CloseArchive> archive;
    std::string folder;
    std::uint64_t written = 0; ///< bytes
    std::uint64_t leftOut = 0; ///< members
};

} // namespace

std::optional<ArchivePath> FindArchive(std::string const& path) {
    for (std::size_t end = path.find('/'); true; end = path.find('/', end + 1)) {
        std::string const beginning = path.substr(0, end);
        std::string const extension = ExtensionOf(beginning);
        std::error_code ignored;
        if ((extension == ".zip" || extension == ".shz") &&
            fs::is_regular_file(beginning, ignored)) {
            std::string inside = end == std::string::npos ? "" : path.substr(end + 1);
            inside = fs::path(inside).lexically_normal().string();
            return ArchivePath{beginning, inside == "." ? "" : inside};
        }
        if (end == std::string::npos) {
            return std::nullopt;
        }
    }
}

std::string Unpack(Console& console, ArchivePath const& path, std::uint64_t limit) {
    static std::map<std::pair<std::string, std::string>, std::string> unpacked;
    auto const key = std::pair(path.archive, path.inside);
    auto const found = unpacked.find(key);
    std::error_code ignored;
    if (found != unpacked.end() && fs::exists(found->second, ignored)) {
        return found->second;
    }
    return unpacked[key] = Unpacking(console, path, limit).Run();
}

} // namespace Ambrel::Tool
