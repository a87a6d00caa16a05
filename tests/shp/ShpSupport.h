#pragma once

#include "Testing.h"

#include "ShpReader/BShpReader.h"
#include "ShpReader/shp/BShpFile.h"

namespace Ambrel::Test {

/// The line about a record whose geometry is skipped.
inline std::string NotValid(std::uint32_t record, char const* reason) {
    return BString::Format("SHP-Reader: Record %u is not valid: %s; geometry skipped.", record,
                           reason)
        .Ascii();
}

/// A shapefile on disk, opened for reading.
class OpenShapefile {
public:
    explicit OpenShapefile(ShapefileBuilder const& builder, bool useAttributes = true,
                           BString const& attributeZ = BString())
        : path(builder.WriteTo(folder, "file")) {
        file->Open(path, BShpFile::readMode, useAttributes, attributeZ);
    }

    BShpFile* operator->() const { return file.Get(); }

    TemporaryFolder folder;
    BString path;
    BSharedPtr<BShpFile> file{new BShpFile};
};

inline BSharedPtr<BFeature> FeatureNamed(char const* name) {
    BSharedPtr<BFeature> feature(new BFeature);
    feature->attributes.Add("name", BVariant(name));
    return feature;
}

/// The schema of such features.
inline BAttributeDefs NameSchema() {
    BAttributeDef name;
    name.name = "name that is cut";
    name.width = 6;
    BAttributeDefs schema;
    schema.Add(name);
    return schema;
}

/// Points 0 0, 1 1, and so on.
inline ShapefileBuilder Diagonal(int count) {
    ShapefileBuilder builder(1);
    for (int i = 0; i < count; ++i) {
        builder.Point(i, i);
    }
    return builder;
}

inline BSharedPtr<BVectorLayer> MakeLayer() {
    return BSharedPtr<BVectorLayer>(new BVectorLayer);
}

/// A reader whose host has chosen the storage mode; lets tests set what hosts set.
inline std::unique_ptr<BShpReader> MakeReader(BString const& option = BString()) {
    return std::make_unique<BShpReader>(option.IsEmpty() ? BParamList()
                                                         : Options({{option, true}}));
}

inline BVectorLayer& LayerOf(BShpReader const& reader, std::uint64_t index = 0) {
    return static_cast<BVectorLayer&>(*reader.GetLayers().GetAt(index));
}

/// The features of a layer, one text each.
inline std::vector<std::string> TextsOf(BFeatureCollection const& features) {
    std::vector<std::string> texts;
    for (std::uint64_t i = 0; i < features.GetCount(); ++i) {
        texts.push_back(TextOf(*features.GetAt(i)));
    }
    return texts;
}

} // namespace Ambrel::Test
