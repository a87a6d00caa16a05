#include <Ambrel/Ambrel.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include <dlfcn.h>

namespace Ambrel::Test {

namespace {

/// The module, loaded by nobody else; unloaded when this object goes.
class Module {
public:
    Module() : handle(dlopen(MODULE_FILE, RTLD_NOW | RTLD_LOCAL)) {}
    Module(Module const&) = delete;
    Module& operator=(Module const&) = delete;
    ~Module() { EXPECT_EQ(dlclose(handle), 0); }

    static bool IsLoaded() {
        void* const loaded = dlopen(MODULE_FILE, RTLD_NOW | RTLD_NOLOAD);
        if (loaded) {
            dlclose(loaded); // what was found was taken hold of too
        }
        return loaded != nullptr;
    }

    BDataManagerProxy& Proxy() const {
        using Entry = BDataManagerProxy* (*)();
        return *reinterpret_cast<Entry>(dlsym(handle, "GetDataMgrProxy"))();
    }

private:
    void* handle;
};

/// The file's layer; its reader and the module have gone.
BSharedPtr<BLayer> ReadAndUnload(BString const& path, BParamList const& options) {
    Module const module;
    std::shared_ptr<BDataReader> const reader(
        module.Proxy().CreateReader(path, options, nullptr, nullptr),
        [&](BDataReader* made) { module.Proxy().DestroyObject(made); });
    EXPECT_TRUE(Module::IsLoaded());
    reader->Open(path, BParamList());
    reader->Read();
    return reader->GetLayers().GetAt(0);
}

/// Reads the file, unloads the module and walks through the layer, that many times.
void ReadAndWalk(std::string const& name, bool inDiskCache, int times) {
    BParamList options;
    options.Add(OPTION_DISK_CACHE, inDiskCache);
    for (int time = 0; time < times; ++time) {
        BSharedPtr<BLayer> const held =
            ReadAndUnload((EXAMPLES_FOLDER "/" + name + ".shp").c_str(), options);
        ASSERT_FALSE(Module::IsLoaded());
        auto& layer = dynamic_cast<BVectorLayer&>(*held);
        EXPECT_EQ(layer.name, name.c_str());
        EXPECT_EQ(layer.GetCoordSys()->GetName(), "WGS 84");
        // Uses every kind of object that a feature consists of.
        EXPECT_GT(layer.GetFeatures().ToByteArray().size(), 1000U);
        BSharedPtr<BFeature> const copy = layer.GetFeatures().GetAt(0)->Clone();
        EXPECT_EQ(copy->GetMetadata().GetString(CMN_ORIGINAL_FORMAT), DS_SHP);
        EXPECT_FALSE(copy->ComputeMBR().IsEmpty());
    }
}

TEST(ModuleTest, LayersInMemoryOutliveTheModule) {
    ReadAndWalk("countries", false, 100);
    ReadAndWalk("rivers", false, 3);
}

TEST(ModuleTest, LayersInTheDiskCacheOutliveTheModule) {
    ReadAndWalk("cities", true, 3);
}

TEST(ModuleTest, ExceptionsOutliveTheModule) {
    try {
        ReadAndUnload("missing.shp", BParamList());
        FAIL() << "a missing file opens";
    } catch (BDataManagerException const& failure) {
        ASSERT_FALSE(Module::IsLoaded());
        EXPECT_STREQ(failure.GetClassName(), "BFileNotFoundException");
        EXPECT_EQ(failure.GetOperation(), "BShpFile::Open");
        EXPECT_NE(failure.GetMessage().Utf8().find("missing.shp"), std::string_view::npos);
    }
}

} // namespace

} // namespace Ambrel::Test
