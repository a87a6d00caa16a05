// Faults of the file system, before files are opened and while they are.

#include "HostileSupport.h"

#include <cerrno>
#include <functional>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ambrel::Test {

namespace {

namespace fs = std::filesystem;

std::size_t OpenHandles() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

/// Something that stands where a file should.
struct Fault {
    char const* what;
    std::function<void(fs::path const&)> put;
};
using Faults = std::vector<Fault>;

Faults Impostors() {
    return {
        {"folder", [](fs::path const& path) { fs::create_directory(path); }},
        {"pipe", [](fs::path const& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        {"device", [](fs::path const& path) { fs::create_symlink("/dev/zero", path); }},
        {"link to nothing", [](fs::path const& path) { fs::create_symlink("nothing", path); }},
    };
}

TEST(FaultTest, ImpostorsAreNotOpened) {
    for (Fault const& impostor : Impostors()) {
        for (std::string const name : {"file.shp", "file.shx", "file.dbf"}) {
            SCOPED_TRACE(impostor.what + name);
            TemporaryFolder const folder;
            BString const path = SmallFile(1).WriteTo(folder, "file");
            fs::remove(folder.Path() / name);
            impostor.put(folder.Path() / name);
            EXPECT_BEXCEPTION(BShpFile().Open(path, BShpFile::readMode, true, BString()),
                              BFileNotFoundException, "BShpFile::Open", folder.File(name));
        }
        OpenShapefile const file(SmallFile(1));
        impostor.put(file.folder.Path() / "file.prj");
        EXPECT_TRUE(LiveThrough(file.path).isRead) << impostor.what;
    }
}

/// What happens to a file while it is open: nothing of it may end in anything but an answer or an
/// exception of the host's family.
TEST(FaultTest, FilesMayChangeWhileTheyAreOpen) {
    Fuzz::SilentLog const silence;
    Faults faults = Impostors();
    faults.push_back({"gone", [](fs::path const&) {}});
    faults.push_back(
        {"replaced", [](fs::path const& path) { WriteFile(path, SmallFile(8).Files()[".shp"]); }});
    for (Fault& fault : faults) {
        fault.put = [put = fault.put](fs::path const& path) { fs::remove(path), put(path); };
    }
    for (std::size_t size : {0, 40, 101, 130, 100000}) {
        faults.push_back({"resized", [=](fs::path const& path) { fs::resize_file(path, size); }});
    }
    for (Fault const& fault : faults) {
        for (std::string const extension : {".shp", ".shx", ".dbf"}) {
            for (bool hasIndex : {false, true}) {
                SCOPED_TRACE(fault.what + extension);
                OpenShapefile opened(SmallFile(15));
                if (hasIndex) {
                    opened->LoadIndex();
                }
                fault.put(opened.folder.Path() / ("file" + extension));
                Fuzz::AskDirectly(opened.file, 9);
                Fuzz::ReadWhole(opened.file);
            }
        }
    }
}

TEST(FaultTest, HandlesMayRunOut) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs handles for its own checks";
#endif
    TemporaryFolder const folder;
    BString const path = SmallFile(15).WriteTo(folder, "file");
    rlimit former = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &former), 0);
    int const nextHandle = dup(STDIN_FILENO);
    close(nextHandle);
    rlim_t handles = static_cast<rlim_t>(nextHandle);
    for (auto const& [operation, name] : {std::pair{"BShpFile::Open", "file.shp"},
                                          {"BShpFile::Open", "file.shx"},
                                          {"BDbfFile::Open", "file.dbf"}}) {
        rlimit const limit = {handles++, former.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
        auto const open = [&] {
            try {
                BShpFile().Open(path, BShpFile::readMode, true, BString());
            } catch (BException const& failure) {
                EXPECT_EQ(failure.GetReason(), EMFILE) << "which is not a missing file";
                throw;
            }
        };
        EXPECT_BEXCEPTION(open(), BFileNotFoundException, operation, folder.File(name));
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &former), 0);
    }
}

TEST(FaultTest, HandlesAreClosed) {
    Fuzz::SilentLog const silence;
    TemporaryFolder const folder;
    ShapefileBuilder const builders[] = {
        SmallFile(15), SmallFile(15).Version(7), SmallFile(15).Without(".shx"),
        SmallFile(15).Without(".dbf"), SmallFile(15).Table(TableBuilder().HeaderLength(1)),
        SmallFile(15).Raw(ByteList().Little32(31)),
        // A record without a row.
        SmallFile(15).Null()};
    std::vector<BString> paths;
    for (ShapefileBuilder const& builder : builders) {
        paths.push_back(builder.WriteTo(folder, "file" + std::to_string(paths.size())));
    }
    LiveThrough(paths[0]);
    std::size_t const before = OpenHandles();
    for (int round = 0; round < 500; ++round) {
        for (BString const& path : paths) {
            LiveThrough(path);
        }
    }
    EXPECT_EQ(OpenHandles(), before);
}

} // namespace

} // namespace Ambrel::Test
