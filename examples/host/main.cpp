// A host: loads the plug-in, then reads, selects, draws and writes shapefiles.
#include <Ambrel/Ambrel.h>
#include <ShpReader/writing/ShapefileWriter.h> // for writing alone

#include <cstdio>
#include <memory>
#include <stdexcept>

#include <dlfcn.h>

using namespace Ambrel;

class PlugIn {
public:
    explicit PlugIn(char const* file) : module(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
        if (!module) {
            throw std::runtime_error(dlerror());
        }
        using Entry = BDataManagerProxy* (*)();
        auto const entry = reinterpret_cast<Entry>(dlsym(module, "GetDataMgrProxy"));
        if (!entry || !entry()->SupportsFormat(DS_SHP)) {
            dlclose(module);
            throw std::runtime_error("not a plug-in for shapefiles");
        }
        proxy = entry(); // the same at every call; never deleted
    }
    PlugIn(PlugIn const&) = delete;
    PlugIn& operator=(PlugIn const&) = delete;
    ~PlugIn() { dlclose(module); }

    BDataManagerProxy& Proxy() const { return *proxy; }

private:
    void* module;
    BDataManagerProxy* proxy = nullptr;
};

struct DestroyReader {
    BDataManagerProxy* proxy;
    void operator()(BDataReader* reader) const { proxy->DestroyObject(reader); }
};
using Reader = std::unique_ptr<BDataReader, DestroyReader>;

Reader OpenReader(BDataManagerProxy& proxy, BString const& path, BString const& mode) {
    BParamList how;
    if (!mode.IsEmpty()) {
        how.Add(mode, true); // OPTION_DIRECT_ACCESS or OPTION_DISK_CACHE; neither: in memory
    }
    Reader reader(proxy.CreateReader(path, how, nullptr, BLogger::Instance()),
                  DestroyReader{&proxy});

    BParamList what;
    what.Add("USE_ATTRIBUTES", true); // the default; false leaves the table alone
    // what.SetValue("USE_ATTRIBUTE_Z", "HEIGHT"); // a field whose value becomes Z
    reader->Open(path, what);
    return reader;
}

BSharedPtr<BVectorLayer> LayerOf(BDataReader const& reader, std::uint64_t index) {
    BSharedPtr<BLayer> const layer = reader.GetLayers().GetAt(index);
    return {layer, static_cast<BVectorLayer*>(layer.Get())};
}

/// Asked after every record; lets every thousandth be reported.
class Progress final : public BProgress {
public:
    bool WantsReport(std::uint32_t done, std::uint32_t) override { return done % 1000 == 999; }
    bool Report(std::uint32_t done, std::uint32_t total) override {
        std::fprintf(stderr, "\r%u of %u", done, total);
        return !isCancelled; // false ends the read
    }

    bool isCancelled = false;
};

std::uint64_t CountVertices(BGeometry const& geometry) {
    auto const countMembers = [](auto const& aggregate) {
        std::uint64_t count = 0;
        for (std::uint64_t i = 0; i < aggregate.GetCount(); ++i) {
            count += CountVertices(*aggregate.GetGeometryAt(i));
        }
        return count;
    };
    switch (geometry.type) { // tells the class of the object
    case GEO_POLYLINE: return static_cast<BPolyline const&>(geometry).GetPoints().GetCount();
    case GEO_POLYGON: return static_cast<BPolygon const&>(geometry).GetPoints().GetCount();
    case GEO_DONUT: {
        auto const& donut = static_cast<BDonut const&>(geometry);
        std::uint64_t count = CountVertices(*donut.GetShell());
        for (std::uint64_t i = 0; i < donut.GetHoleCount(); ++i) {
            count += CountVertices(*donut.GetHoleAt(i));
        }
        return count;
    }
    case GEO_AGGREGATE_POINT: return countMembers(static_cast<BAggregatePoint const&>(geometry));
    case GEO_AGGREGATE_LINEAR: return countMembers(static_cast<BAggregateLinear const&>(geometry));
    case GEO_AGGREGATE_AREA: return countMembers(static_cast<BAggregateArea const&>(geometry));
    default: return 1; // GEO_POINT
    }
}

void PrintFeature(BFeature const& feature) {
    BVariant const* const record = feature.GetMetadata().Find(CMN_RECORD_NUMBER);
    std::printf("record %d", record ? record->GetValueAsInteger(-1) : -1);
    if (feature.GetGeometry()) { // a null shape has none, nor has a broken record
        std::printf(", vertices %d", static_cast<int>(CountVertices(*feature.GetGeometry())));
    }
    for (std::uint64_t i = 0; i < feature.attributes.GetCount(); ++i) {
        BAttribute const& attribute = feature.attributes.GetAt(i);
        BString const value = attribute.GetValue().GetValueAsString("-"); // "-" for null
        std::printf(", %s %s", attribute.GetName().Ascii(), value.Ascii());
    }
    std::printf("\n");
}

void ReadAll(BDataManagerProxy& proxy, BString const& path) {
    Reader const reader = OpenReader(proxy, path, BString());
    Progress progress;
    reader->SetProgress(&progress); // must live as long as the read
    reader->Read();
    if (reader->GetReadResult() == READ_CANCELLED) {
        return; // the reader has no layers then
    }
    for (std::uint64_t i = 0; i < reader->GetLayers().GetCount(); ++i) {
        BSharedPtr<BVectorLayer> const layer = LayerOf(*reader, i);
        BFeatureCollection& features = layer->GetFeatures();
        std::printf("%s: %d features\n", layer->name.Ascii(),
                    static_cast<int>(features.GetCount()));
        for (std::uint64_t k = 0; k < features.GetCount(); ++k) {
            PrintFeature(*features.GetAt(k));
        }
    }
}

/// Counts what it is asked to draw. The operations tell whether something was drawn.
class CountingRenderer final : public BRenderer {
public:
    bool ConvertMapToWindow(double& x, double& y) const override {
        x = (x + 180) * 2; // 720 x 360 pixels for the world
        y = (90 - y) * 2;
        return true;
    }
    bool DrawPoint(Gdiplus::PointF const&) const override { return Count(1); }
    bool DrawPoints(Gdiplus::PointF const*, int count) const override { return Count(count); }
    bool DrawPolyline(Gdiplus::Point const*, int count, int const*, int) const override {
        return Count(count);
    }
    bool DrawPolygon(Gdiplus::Point const*, int count, int const*, int) const override {
        return Count(count);
    }
    int GetCount() const { return vertices; }

private:
    bool Count(int count) const {
        vertices += count;
        return true;
    }
    mutable int vertices = 0;
};

void LookAt(BDataManagerProxy& proxy, BString const& path, BRect const& window) {
    Reader const reader = OpenReader(proxy, path, OPTION_DIRECT_ACCESS);
    BSharedPtr<BVectorLayer> const layer = LayerOf(*reader, 0);
    reader->Close(); // the layer keeps the file open for itself

    std::vector<std::uint64_t> found;
    layer->GetFeatures().SelectFeatures(window, BParamList(), found);
    for (std::uint64_t const index : found) {
        PrintFeature(*layer->GetFeatures().GetAt(index)); // read from the file, now
    }
    CountingRenderer const renderer;
    layer->GetFeatures().RenderFeatures(found, &renderer); // no features are made
    std::printf("%d of them, %d vertices drawn\n", static_cast<int>(found.size()),
                renderer.GetCount());
}

void WriteTowns(BString const& path) {
    BAttributeDef name;
    name.name = "NAME";
    name.SetType(VAR_STRING);
    name.width = 20; // 0: one that holds every value
    BAttributeDefs schema;
    schema.Add(name);

    constexpr std::int32_t points = 1; // the shape type
    ShapefileWriter writer(path, points, schema,
                           BSharedPtr<BCoordSys>(BCoordSys::FromText("EPSG:4326")));
    BFeature town;
    town.SetGeometry(BSharedPtr<BGeometry>(new BPointGeo(BPoint(7.45, 46.95))));
    town.attributes.Add("NAME", "Bern");
    writer.Write(town);
    town.SetGeometry(BSharedPtr<BGeometry>()); // a null shape
    writer.Write(town);
    writer.Finish(); // puts all files in place; without it, nothing appears
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: host SHAPEFILE NEW-SHAPEFILE\n");
        return 2;
    }
    try {
        PlugIn const plugIn(PLUG_IN);
        ReadAll(plugIn.Proxy(), argv[1]);
        LookAt(plugIn.Proxy(), argv[1], BRect(5, 45, 11, 48));
        WriteTowns(argv[2]);
        ReadAll(plugIn.Proxy(), argv[2]);
        return 0;
    } catch (BException const& error) {
        std::fprintf(stderr, "%s in %s: %s\n", error.GetClassName(), error.GetOperation().Ascii(),
                     error.GetMessage().Ascii());
    } catch (std::exception const& error) { // std::bad_alloc, and what this host throws itself
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 1;
}
