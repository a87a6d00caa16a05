#include "FeatureSamples.h"

#include <sstream>

namespace Ambrel::Test {

namespace {

BSharedPtr<BAreaGeo> Donut() {
    BSharedPtr<BDonut> donut(new BDonut);
    donut->SetShell(WithVertices<BPolygon>({{0, 0}, {0, 9}, {9, 9}}));
    donut->AddHole(WithVertices<BPolygon>({{1, 2}, {1, 3}, {2, 3}}, true));
    donut->AddHole(WithVertices<BPolygon>({}));
    donut->is3d = 1;
    return donut;
}

std::vector<BSharedPtr<BGeometry>> Geometries() {
    BSharedPtr<BAggregatePoint> points(new BAggregatePoint);
    points->Add(BSharedPtr<BPointGeo>(new BPointGeo(BPoint(1, 2, 3))));
    points->Add(BSharedPtr<BPointGeo>(new BPointGeo(BPoint(-0.0, 1e300, -1))));
    BSharedPtr<BAggregateLinear> lines(new BAggregateLinear);
    lines->Add(WithVertices<BPolyline>({{1, 1}, {2, 2}}, true));
    BSharedPtr<BAggregateArea> areas(new BAggregateArea);
    areas->Add(Donut());
    areas->Add(WithVertices<BPolygon>({{5, 5}, {6, 5}, {6, 6}}));
    areas->is3d = 1;
    return {BSharedPtr<BGeometry>(new BPointGeo(BPoint(0.1, -0.2, 7))),
            WithVertices<BPolyline>({{1, 2, 3}, {4, 5, 6}}, true),
            WithVertices<BPolygon>({{0, 0}, {0, 1}, {1, 1}}),
            Donut(),
            points,
            lines,
            areas,
            BSharedPtr<BGeometry>(new BAggregateArea),
            BSharedPtr<BGeometry>()};
}

std::vector<BVariant> Values() {
    double const reals[] = {1.5, -2.5};
    std::int32_t const integers[] = {1, -2, 3};
    BString const texts[] = {"a", "", "c"};
    std::vector<BVariant> values(3);
    values[0].SetValue(std::uint64_t{18446744073709551615U});
    values[1].SetType(VAR_INTEGER); // null all the same
    values[2].SetValue("20210315");
    values[2].SetType(VAR_DATE);
    for (BVariant const& value :
         {BVariant(-7), BVariant(std::int64_t{1} << 60), BVariant(0.1), BVariant(true),
          BVariant(BString(L"\u00E4\u20AC")), BVariant(BString()), BVariant(reals, 2),
          BVariant(integers, 3), BVariant(texts, 3)}) {
        values.push_back(value);
    }
    return values;
}

/// " name:type=value"; a list as its elements, a null value as "null".
std::string TextOf(BString const& name, BVariant const& value) {
    std::ostringstream text;
    text << ' ' << name.Utf8() << ':' << value.GetType() << '=';
    text << value.GetValueAsString(value.IsNull() ? "null" : "list").Utf8();
    for (double number : value.GetValueAsDoubleList({})) { // of integer lists too
        text << ' ' << number;
    }
    for (BString const& item : value.GetValueAsStringList({})) {
        text << " '" << item.Utf8() << '\'';
    }
    return text.str();
}

} // namespace

BSharedPtr<BFeature> NumberedPoint(int number) {
    BSharedPtr<BFeature> feature(new BFeature);
    feature->SetGeometry(BSharedPtr<BGeometry>(new BPointGeo(BPoint(number, 2 * number))));
    feature->attributes.Add("number", BVariant(number));
    return feature;
}

BSharedPtr<BFeature> LongLine(int number, int vertices) {
    BSharedPtr<BPolyline> line(new BPolyline);
    for (int i = 0; i < vertices; ++i) {
        line->AddPoint(BPoint(number, i, 1));
    }
    BSharedPtr<BFeature> feature = NumberedPoint(number);
    feature->SetGeometry(line);
    return feature;
}

std::vector<BSharedPtr<BFeature>> FeaturesOfAllKinds() {
    std::vector<BVariant> const values = Values();
    std::vector<BSharedPtr<BFeature>> features;
    for (BSharedPtr<BGeometry> const& geometry : Geometries()) {
        BSharedPtr<BFeature> const feature(new BFeature);
        feature->SetGeometry(geometry);
        // More or fewer values from feature to feature, under different names.
        for (std::size_t i = features.size(); i < values.size(); ++i) {
            feature->attributes.Add(BString::Format("value %zu", i), values[i]);
            feature->GetMetadata().Add(BString::Format("entry %zu", i), values[i]);
        }
        features.push_back(feature);
    }
    return features;
}

std::string Describe(BFeature const& feature) {
    std::string text = TextOf(feature);
    for (std::uint64_t i = 0; i < feature.attributes.GetCount(); ++i) {
        BAttribute const& attribute = feature.attributes.GetAt(i);
        text += TextOf(attribute.GetName(), attribute.GetValue());
    }
    text += " |";
    for (auto const& [key, value] : feature.GetMetadata()) {
        text += TextOf(key, value);
    }
    return text;
}

std::vector<std::string> Describe(BFeatureCollection const& features) {
    std::vector<std::string> texts;
    for (std::uint64_t i = 0; i < features.GetCount(); ++i) {
        texts.push_back(Describe(*features.GetAt(i)));
    }
    return texts;
}

std::vector<int> Numbers(BFeatureCollection const& features) {
    std::vector<int> numbers;
    for (std::uint64_t i = 0; i < features.GetCount(); ++i) {
        BSharedPtr<BFeature> const feature = features.GetAt(i);
        numbers.push_back(feature->attributes.GetAt(0).GetValue().GetValueAsInteger(-1));
    }
    return numbers;
}

} // namespace Ambrel::Test
