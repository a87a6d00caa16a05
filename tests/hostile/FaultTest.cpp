// Faults of the file system, before files are opened and while they are.

#include "HostileSupport.h"

#include <functional>
#include <iterator>

#include <sys/stat.h>
#include <unistd.h>

namespace Ambrel::Test {

namespace {

namespace fs = std::filesystem;

std::ptrdiff_t OpenHandles() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

struct Impostor {
    char const* what;
    std::function<void(fs::path const&)> make;
};

Impostor const impostors[] = {
    {"folder", [](fs::path const& path) { fs::create_directory(path); }},
    {"pipe", [](fs::path const& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
    {"device", [](fs::path const& path) { fs::create_symlink("/dev/zero", path); }},
    {"link to nothing", [](fs::path const& path) { fs::create_symlink("nothing", path); }},
};

TEST(FaultTest, ImpostorsAreNotOpened) {
    for (Impostor const& impostor : impostors) {
        for (std::string const extension : {".shp", ".shx", ".dbf", ".prj"}) {
            SCOPED_TRACE(impostor.what + extension);
            TemporaryFolder const folder;
            BString const path = SmallFile(1).WriteTo(folder, "file");
            fs::remove(folder.Path() / ("file" + extension));
            impostor.make(folder.Path() / ("file" + extension));
            BShpFile file;
            auto const open = [&] { file.Open(path, BShpFile::readMode, true, BString()); };
            if (extension == ".prj") {
                EXPECT_NO_THROW(open());
                EXPECT_FALSE(file.GetCoordSys());
            } else {
                EXPECT_BEXCEPTION(open(), BFileNotFoundException, "BShpFile::Open",
                                  folder.File("file" + extension));
            }
        }
    }
}

TEST(FaultTest, FilesThatMayNotBeReadAreNotOpened) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    for (std::string const extension : {".shp", ".shx", ".dbf"}) {
        TemporaryFolder const folder;
        BString const path = SmallFile(1).WriteTo(folder, "file");
        fs::permissions(folder.Path() / ("file" + extension), fs::perms::none);
        bool const isTable = extension == ".dbf";
        EXPECT_BEXCEPTION(BShpFile().Open(path, BShpFile::readMode, true, BString()),
                          BFileNotFoundException, isTable ? "BDbfFile::Open" : "BShpFile::Open",
                          folder.File("file" + extension));
    }
}

/// What happens to a file while it is open: nothing of it may end in anything but an answer or an
/// exception of the host's family.
TEST(FaultTest, FilesMayChangeWhileTheyAreOpen) {
    SilentLog const silence;
    std::vector<Impostor> faults(std::begin(impostors), std::end(impostors));
    for (Impostor& each : faults) {
        each.make = [make = each.make](fs::path const& path) { fs::remove(path), make(path); };
    }
    faults.push_back({"gone", [](fs::path const& path) { fs::remove(path); }});
    for (std::size_t size : {0, 40, 101, 130}) {
        faults.push_back({"cut", [=](fs::path const& path) { fs::resize_file(path, size); }});
    }
    faults.push_back({"grown", [](fs::path const& path) { fs::resize_file(path, 100000); }});
    faults.push_back({"replaced", [](fs::path const& path) {
                          Bytes const other = SmallFile(8).MainFile();
                          fs::remove(path);
                          WriteFile(path, other);
                      }});
    for (Impostor const& fault : faults) {
        for (std::string const extension : {".shp", ".shx", ".dbf"}) {
            for (bool hasIndex : {false, true}) {
                SCOPED_TRACE(fault.what + extension);
                OpenShapefile opened(SmallFile(15));
                if (hasIndex) {
                    opened->LoadIndex();
                }
                fault.make(opened.folder.Path() / ("file" + extension));
                Fuzz::AskDirectly(opened.file, allRecords);
                Fuzz::ReadWhole(opened.file);
            }
        }
    }
}

TEST(FaultTest, HandlesAreClosed) {
    SilentLog const silence;
    TemporaryFolder const folder;
    Texts paths;
    auto const add = [&](ShapefileBuilder const& builder) {
        paths.emplace_back(builder.WriteTo(folder, "file" + std::to_string(paths.size())).Ascii());
    };
    add(SmallFile(15));
    add(SmallFile(15).Version(7));
    add(SmallFile(15).WithoutIndex());
    add(SmallFile(15).WithoutTable());
    add(SmallFile(15).Table(TableBuilder().HeaderLength(1)));
    add(SmallFile(15).Raw(ByteList().Little32(31)));
    add(SmallFile(15).Null());
    Fuzz::LiveThrough(paths[0].c_str(), true, BString(), allRecords);
    std::ptrdiff_t const before = OpenHandles();
    for (int round = 0; round < 500; ++round) {
        for (std::string const& path : paths) {
            Fuzz::LiveThrough(path.c_str(), true, BString(), allRecords);
        }
    }
    EXPECT_EQ(OpenHandles(), before);
}

} // namespace

} // namespace Ambrel::Test
