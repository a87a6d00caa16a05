#include "SourceLife.h"

#include "Checks.h"

#include "Ambrel/Ambrel.h"
#include "ShpReader/BShpFeatureCollection.h"
#include "ShpReader/BShpReader.h"
#include "ShpReader/shp/BShpFile.h"

#include <algorithm>

namespace Ambrel::Fuzz {

namespace {

/// Touches every vertex and part start that it is given.
class TouchingRenderer final : public BRenderer {
public:
    bool ConvertMapToWindow(double& x, double& y) const override {
        x = x * 1e3 + 1;
        y = y * -1e3;
        return true;
    }
    bool DrawPoint(Gdiplus::PointF const& point) const override { return DrawPoints(&point, 1); }
    bool DrawPoints(Gdiplus::PointF const* points, int count) const override {
        Require(count >= 0, "a count of vertices is not negative");
        std::for_each_n(points, count, [](Gdiplus::PointF point) { Touch(point.X + point.Y); });
        return true;
    }
    bool DrawPolyline(Gdiplus::Point const* points, int count, int const* starts,
                      int partCount) const override {
        Require(count >= 0 && partCount >= 0, "counts of vertices and parts are not negative");
        std::for_each_n(points, count, [](Gdiplus::Point point) { Touch(point.X ^ point.Y); });
        for (int part = 0; part < partCount; ++part) {
            int const least = part == 0 ? 0 : starts[part - 1];
            Require(starts[part] >= least && starts[part] <= count, "part starts are in order");
        }
        return true;
    }
    bool DrawPolygon(Gdiplus::Point const* points, int count, int const* starts,
                     int partCount) const override {
        return DrawPolyline(points, count, starts, partCount);
    }
};

void Look(BFeature const& feature) {
    Touch(feature.ComputeMBR());
    Touch(TextOf(feature.attributes));
}

void LookAtAll(BFeatureCollection const& features, std::uint32_t recordCount) {
    Require(features.GetCount() == recordCount, "a whole read gives a feature for each record");
    for (std::uint64_t i = 0; i < recordCount; ++i) {
        BSharedPtr<BFeature> const feature = features.GetAt(i);
        Require(static_cast<bool>(feature), "every feature is there");
        Look(*feature);
    }
}

void ReadThroughReader(BString const& path, BParamList const& options, std::uint32_t recordCount) {
    BShpReader reader{BParamList()};
    Try([&] {
        reader.Open(path, options);
        Touch(reader.GetMBB());
        reader.Read();
        auto& layer = static_cast<BVectorLayer&>(*reader.GetLayers().GetAt(0));
        LookAtAll(layer.GetFeatures(), recordCount);
        reader.Close();
    });
}

} // namespace

void AskDirectly(BSharedPtr<BShpFile>& file, std::uint32_t mostRecords) {
    BShpFeatureCollection const features(file);
    std::uint32_t const count = std::min(file->GetRecordCount(), mostRecords);
    TouchingRenderer const renderer;
    for (std::uint64_t i = 0; i < count; ++i) {
        Try([&] { Look(*features.GetAt(i, i % 2 == 0)); });
        Try([&] { Touch(features.GetFeatureMBRAt(i)); });
        Try([&] { features.RenderFeatures({i, i}, &renderer); });
    }
    BParamList const none;
    std::vector<std::uint64_t> selected;
    Try([&] { features.SelectFeatures(BRect(-1e9, -1e9, 1e9, 1e9), none, selected); });
    Try([&] { Touch(features.HasFeaturesInArea(BRect(0, 0, 5, 5), none)); });
    selected.resize(std::min<std::size_t>(selected.size(), mostRecords));
    Try([&] { features.RenderFeatures(selected, &renderer); });
}

bool ReadWhole(BSharedPtr<BShpFile> const& file) {
    BSharedPtr<BVectorLayer> layer(new BVectorLayer);
    return Try([&] {
        file->SetUpLayer(layer);
        file->Read(layer);
        LookAtAll(layer->GetFeatures(), file->GetRecordCount());
    });
}

LifeReport LiveThrough(BString const& path, bool useAttributes, BString const& attributeZ,
                       std::uint32_t mostRecords) {
    LifeReport report;
    BSharedPtr<BShpFile> file(new BShpFile);
    report.isOpened = Try([&] { file->Open(path, BShpFile::readMode, useAttributes, attributeZ); });
    if (report.isOpened) {
        report.recordCount = file->GetRecordCount();
        AskDirectly(file, mostRecords);
        report.isRead = ReadWhole(file);
    }
    BParamList options;
    options.Add("USE_ATTRIBUTES", useAttributes);
    options.Add("USE_ATTRIBUTE_Z", attributeZ);
    ReadThroughReader(path, options, report.recordCount);
    return report;
}

} // namespace Ambrel::Fuzz
