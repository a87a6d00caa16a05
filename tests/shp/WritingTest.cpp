#include "FileSizeLimit.h"
#include "ShpSupport.h"

#include <sys/stat.h>

namespace Ambrel::Test {

namespace {

Bytes ExpectedHeader(std::uint32_t words) {
    double const most = std::numeric_limits<double>::max();
    return ByteList().Big32(9994).Fill(20).Big32(words).Little32(1000).Little32(0).Reals(
        {most, most, -most, -most, 0, 0, most, -most});
}

TEST(ShpWritingTest, WritesNullShapesWithTheirTable) {
    TemporaryFolder const folder;
    BString const path = folder.File("new.shp");
    Texts const names = {"one", "two", "d\xC3\xA9j\xC3\xA0"};
    LogCapture const log;
    {
        BShpFile file;
        file.Open(path, BShpFile::writeMode, true, "");
        file.SetCoordSys(BSharedPtr<BCoordSys>(BCoordSys::FromText("EPSG:4326")));
        file.PrepareTable(NameSchema());
        for (std::string const& name : names) {
            file.WriteFeature(FeatureNamed(name.c_str()));
        }
        file.Write(); // Does nothing.
    }
    EXPECT_EQ(log.Count(LOG_DETAIL, "SHP-WRITER: Writing NULL shape."), 3U);
    ByteList main;
    main.Append(ExpectedHeader(68));
    ByteList index;
    index.Append(ExpectedHeader(62));
    for (std::uint32_t i = 0; i < 3; ++i) {
        main.Big32(i + 1).Big32(2).Little32(0);
        index.Big32(50 + 6 * i).Big32(2);
    }
    auto const written = [&](char const* name) { return ReadFile(folder.Path() / name); };
    EXPECT_EQ(written("new.shp"), Bytes(main));
    EXPECT_EQ(written("new.shx"), Bytes(index));
    EXPECT_EQ(written("new.cpg"), Bytes(ByteList().Text("UTF-8")));

    auto const reader = MakeReader();
    reader->Open(path, BParamList());
    reader->Read();
    EXPECT_EQ(LayerOf(*reader).GetCoordSys()->GetEpsgCode(), 4326);
    for (std::uint64_t i = 0; i < 3; ++i) {
        BSharedPtr<BFeature> const feature = LayerOf(*reader).GetFeatures().GetAt(i);
        EXPECT_FALSE(feature->GetGeometry());
        EXPECT_EQ(feature->attributes.GetAt(0).GetValue(), BVariant(names[i].c_str()));
    }
}

TEST(ShpWritingTest, KeepsWhatIsStoredWhenTheDiskIsFull) {
    TemporaryFolder const folder;
    BString const path = folder.File("new.shp");
    for (rlim_t const limit : {400, 20000, 100000}) {
        SCOPED_TRACE(limit);
        {
            LogCapture const log;
            FileSizeLimit const full(limit);
            BShpFile file;
            file.Open(path, BShpFile::writeMode, true, "");
            file.PrepareTable(NameSchema());
            for (int i = 0; i < 10000; ++i) {
                file.WriteFeature(FeatureNamed("name"));
            }
        }
        BShpFile file;
        file.Open(path, BShpFile::readMode, true, "");
        ByteList header;
        header.Append(ExpectedHeader(static_cast<std::uint32_t>(limit) / 2));
        Bytes const stored = ReadFile(folder.Path() / "new.shp");
        EXPECT_EQ(Bytes(stored.begin(), stored.begin() + 100), Bytes(header));
        EXPECT_EQ(file.ReadFeature(10, true)->attributes.GetAt(0).GetValue(), BVariant("name"));
    }
}

TEST(ShpWritingTest, RefusesANameThatItsCompanionsHave) {
    TemporaryFolder const folder;
    for (char const* const name : {"a.shx", "a.dbf", "a.prj"}) {
        WriteFile(folder.Path() / name, {'x'});
        EXPECT_BEXCEPTION(BShpFile().Open(folder.File(name), BShpFile::writeMode, true, ""),
                          BFileNotFoundException, "BShpFile::Open", folder.File(name));
        EXPECT_EQ(ReadFile(folder.Path() / name), Bytes{'x'});
    }
}

TEST(ShpWritingTest, SaysOnceThatGeometryIsNotWritten) {
    TemporaryFolder const folder;
    BShpFile file;
    file.Open(folder.File("a.shp"), BShpFile::writeMode, true, "");
    file.PrepareTable(NameSchema());
    BSharedPtr<BFeature> const feature = FeatureNamed("a");
    LogCapture const log;
    file.WriteFeature(feature);
    EXPECT_EQ(log.TextsOf(LOG_WARNING), Texts());
    feature->SetGeometry(BSharedPtr<BGeometry>(new BPointGeo(BPoint(1, 2))));
    file.WriteFeature(feature);
    file.WriteFeature(feature);
    EXPECT_EQ(log.TextsOf(LOG_WARNING),
              Texts{"SHP-WRITER: Geometry is not written: records are null shapes. File=" +
                    (folder.Path() / "a.shp").string()});
}

TEST(ShpWritingTest, LeavesNothingWhereNothingWasWritten) {
    TemporaryFolder const folder;
    WriteFile(folder.Path() / "old.prj", {'x'});
    BShpFile().Open(folder.File("old.shp"), BShpFile::writeMode, true, "");
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

/// Whoever may not write a file has not lost it.
TEST(ShpWritingTest, KeepsFilesThatItCouldNotOpen) {
    for (auto const& [blocked, operation, kept] : {std::tuple{"a.shp", "BShpFile::Open", "a.dbf"},
                                                   {"a.shx", "BShpFile::Open", "a.dbf"},
                                                   {"a.dbf", "BDbfFile::Open", "a.prj"}}) {
        TemporaryFolder const folder;
        ASSERT_EQ(mkfifo(folder.File(blocked).Ascii(), 0600), 0);
        WriteFile(folder.Path() / kept, {'x'});
        {
            BShpFile file;
            EXPECT_BEXCEPTION(file.Open(folder.File("a.shp"), BShpFile::writeMode, true, ""),
                              BFileNotFoundException, operation, folder.File(blocked));
            EXPECT_BEXCEPTION(file.WriteNullShape(), BNotOpenException, "BShpFile::WriteNullShape",
                              folder.File("a.shp"));
        }
        EXPECT_TRUE(std::filesystem::exists(folder.Path() / kept));
        std::filesystem::directory_iterator const left(folder.Path());
        EXPECT_EQ(std::distance(left, std::filesystem::directory_iterator()), 2);
    }
}

TEST(ShpWritingTest, LeavesNoFormerCoordinateSystemAndDoesNotWaitForPipes) {
    TemporaryFolder const folder;
    WriteFile(folder.Path() / "a.prj", {'x'});
    ASSERT_EQ(mkfifo(folder.File("a.cpg").Ascii(), 0600), 0);
    LogCapture const log;
    {
        BShpFile file;
        file.Open(folder.File("a.shp"), BShpFile::writeMode, true, "");
        file.WriteNullShape();
    }
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "a.prj"));
    std::string const failed =
        "SHP-WRITER: Writing to " + (folder.Path() / "a.cpg").string() + " failed.";
    EXPECT_EQ(log.TextsOf(LOG_FATAL), Texts{failed});
}

TEST(ShpWritingTest, LeavesCompanionsOfOtherLettersToTheirOwnMainFile) {
    Texts const theirs = {"a.SHP", "a.SHX", "a.DBF", "a.PRJ", "a.CPG"};
    TemporaryFolder const folder;
    for (std::string const& name : theirs) {
        WriteFile(folder.Path() / name, {'x'});
    }
    WriteFile(folder.Path() / "b.SHX", {'x'}); // nobody's but the new file's
    for (char const* const name : {"a.shp", "b.shp"}) {
        BShpFile file;
        file.Open(folder.File(name), BShpFile::writeMode, true, "");
        file.WriteNullShape();
    }
    for (std::string const& name : theirs) {
        EXPECT_EQ(ReadFile(folder.Path() / name), Bytes{'x'}) << name;
    }
    for (char const* const name : {"a.shx", "a.dbf", "a.cpg"}) {
        EXPECT_TRUE(std::filesystem::exists(folder.Path() / name)) << name;
    }
    EXPECT_EQ(ReadFile(folder.Path() / "b.SHX").size(), 108U);
}

TEST(ShpWritingTest, KeepsTheNullShapeOfAFeatureWhoseAttributesFail) {
    TemporaryFolder const folder;
    BShpFile file;
    file.Open(folder.File("a.shp"), BShpFile::writeMode, true, "");
    EXPECT_THROW(file.WriteFeature(FeatureNamed("a")), BAttributeDataException);
    EXPECT_EQ(file.GetRecordCount(), 1U);
}

} // namespace

} // namespace Ambrel::Test
