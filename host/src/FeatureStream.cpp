#include "FeatureStream.h"

#include "Ambrel/BAggregate.h"
#include "Unicode.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace Ambrel {

std::uint32_t TextTable::IndexOf(BString const& text) {
    if (expected == texts.size()) {
        expected = 0;
    }
    if (expected < texts.size() && texts[expected] == text) {
        return static_cast<std::uint32_t>(expected++);
    }
    for (std::size_t i = indexes.size(); i < texts.size(); ++i) {
        indexes.emplace(texts[i].Utf8(), static_cast<std::uint32_t>(i));
    }
    auto const found = indexes.find(text.Utf8());
    if (found != indexes.end()) {
        expected = std::size_t{found->second} + 1;
        return found->second;
    }
    texts.push_back(text);
    expected = texts.size();
    return static_cast<std::uint32_t>(texts.size() - 1);
}

BString const& TextTable::Take(ByteReader& reader) const {
    std::uint64_t const index = reader.Number();
    if (index >= texts.size()) {
        reader.Fail("a text is not in the table");
    }
    return texts[static_cast<std::size_t>(index)];
}

void TextTable::Clear() noexcept {
    indexes.clear();
    texts.clear();
    expected = 0;
}

std::size_t TextTable::EncodedSize() const noexcept {
    std::size_t size = 0;
    for (BString const& text : texts) {
        size += sizeof(std::uint32_t) + text.Utf8().size();
    }
    return size;
}

void TextTable::Write(BByteArray& bytes) const {
    for (BString const& text : texts) {
        AppendValue(bytes, static_cast<std::uint32_t>(text.Utf8().size()));
        AppendBytes(bytes, text.Utf8().data(), text.Utf8().size());
    }
}

namespace {

BString MakeText(ByteReader& reader, std::string_view text) {
    if (!Unicode::IsValidUtf8(text)) {
        reader.Fail("a text is not UTF-8");
    }
    return BString::FromUtf8(text);
}

} // namespace

TextTable TextTable::Read(ByteReader& reader) {
    TextTable table;
    while (reader.Remaining() > 0) {
        auto const size = reader.Value<std::uint32_t>();
        auto const* const bytes = reinterpret_cast<char const*>(reader.Take(size));
        table.texts.push_back(MakeText(reader, {bytes, size}));
    }
    return table;
}

BString TakeText(ByteReader& reader) {
    return MakeText(reader, reader.Text());
}

/// A value as bytes: how it is held, its type, and what it is.
class VariantStream final {
public:
    /// Texts go into the table, if there is one and it is not full.
    static void Write(BVariant const& value, BByteArray& bytes, TextTable* texts) {
        bool const shared = value.storage == Storage::Text && texts && texts->Count() < maxTexts;
        bytes.push_back(static_cast<std::uint8_t>(value.storage) | (shared ? sharedText : 0));
        AppendCount(bytes, value.type);
        switch (value.storage) {
        case Storage::Nothing: break;
        case Storage::Integer: AppendValue(bytes, value.integer); break;
        case Storage::Real: AppendValue(bytes, value.real); break;
        case Storage::Text:
            if (shared) {
                AppendCount(bytes, texts->IndexOf(value.text));
            } else {
                AppendText(bytes, value.text.Utf8());
            }
            break;
        case Storage::Integers: WriteNumbers(bytes, value.integers->values); break;
        case Storage::Doubles: WriteNumbers(bytes, value.doubles->values); break;
        case Storage::Strings:
            AppendCount(bytes, value.strings->values.size());
            for (BString const& text : value.strings->values) {
                AppendText(bytes, text.Utf8());
            }
            break;
        }
    }

    static BVariant Read(ByteReader& reader, TextTable const& texts) {
        std::uint8_t const tag = reader.Value<std::uint8_t>();
        std::uint64_t const type = reader.Number();
        if (type > std::numeric_limits<std::uint32_t>::max()) {
            reader.Fail("a value has no such type");
        }
        BVariant value = ReadStored(reader, texts, tag);
        value.SetType(static_cast<EVariantType>(type));
        return value;
    }

private:
    using Storage = BVariant::Storage;
    static constexpr std::uint8_t sharedText = 0x80;
    /// Above this many, texts of metadata are taken for texts that do not repeat.
    static constexpr std::size_t maxTexts = 256;

    static BVariant ReadStored(ByteReader& reader, TextTable const& texts, std::uint8_t tag) {
        if (tag == (static_cast<std::uint8_t>(Storage::Text) | sharedText)) {
            return BVariant(BString(texts.Take(reader)));
        }
        BVariant value;
        switch (static_cast<Storage>(tag)) {
        case Storage::Nothing: return value;
        case Storage::Integer: return BVariant(reader.Value<std::int64_t>());
        case Storage::Real: return BVariant(reader.Value<double>());
        case Storage::Text: return BVariant(TakeText(reader));
        case Storage::Integers:
            value.integers = ReadNumbers<BVariant::List<std::int32_t>>(reader).release();
            break;
        case Storage::Doubles:
            value.doubles = ReadNumbers<BVariant::List<double>>(reader).release();
            break;
        case Storage::Strings: value.strings = ReadTexts(reader).release(); break;
        default: reader.Fail("a value is of no known kind");
        }
        value.storage = static_cast<Storage>(tag);
        return value;
    }

    template <class T>
    static void WriteNumbers(BByteArray& bytes, std::vector<T> const& numbers) {
        AppendCount(bytes, numbers.size());
        AppendBytes(bytes, numbers.data(), numbers.size() * sizeof(T));
    }

    template <class List>
    static std::unique_ptr<List> ReadNumbers(ByteReader& reader) {
        auto list = std::make_unique<List>();
        constexpr std::size_t size = sizeof(list->values[0]);
        std::size_t const count = reader.Count(size);
        if (count > 0) {
            list->values.resize(count);
            std::memcpy(list->values.data(), reader.Take(count * size), count * size);
        }
        return list;
    }

    static std::unique_ptr<BVariant::List<BString>> ReadTexts(ByteReader& reader) {
        auto list = std::make_unique<BVariant::List<BString>>();
        std::size_t const count = reader.Count(1);
        list->values.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            list->values.push_back(TakeText(reader));
        }
        return list;
    }
};

namespace {

/// How deep donuts and aggregates may stand in one another.
constexpr int maxDepth = 32;

static_assert(std::is_trivially_copyable_v<BPoint> && sizeof(BPoint) == 3 * sizeof(double),
              "vertices are copied as they lie in memory");

void WriteGeometry(BGeometry const* geometry, BByteArray& bytes, int depth);

void WritePoints(BPoints const& points, BByteArray& bytes) {
    AppendCount(bytes, points.GetCount());
    AppendBytes(bytes, points.begin(), points.GetCount() * sizeof(BPoint));
}

template <class Aggregate>
void WriteMembers(Aggregate const& aggregate, BByteArray& bytes, int depth) {
    AppendCount(bytes, aggregate.GetCount());
    for (std::uint64_t i = 0; i < aggregate.GetCount(); ++i) {
        WriteGeometry(aggregate.GetGeometryAt(i).Get(), bytes, depth + 1);
    }
}

void WriteDonut(BDonut const& donut, BByteArray& bytes, int depth) {
    WriteGeometry(donut.GetShell().Get(), bytes, depth + 1);
    AppendCount(bytes, donut.GetHoleCount());
    for (std::uint64_t i = 0; i < donut.GetHoleCount(); ++i) {
        WriteGeometry(donut.GetHoleAt(i).Get(), bytes, depth + 1);
    }
}

[[noreturn]] void RefuseGeometry(EGeometryType type, int depth) {
    throw BUnknownGeometryException(
        "FeatureStream::WriteGeometry",
        BString::Format("Type=%u, Depth=%d", static_cast<unsigned>(type), depth));
}

/// The type, or a zero for none; the 3D flag; the vertices or the members.
void WriteGeometry(BGeometry const* geometry, BByteArray& bytes, int depth) {
    if (!geometry) {
        bytes.push_back(GEO_NONE);
        return;
    }
    if (depth > maxDepth) {
        RefuseGeometry(geometry->type, depth);
    }
    bytes.push_back(static_cast<std::uint8_t>(geometry->type));
    bytes.push_back(geometry->is3d);
    switch (geometry->type) {
    case GEO_POINT:
        AppendBytes(bytes, &static_cast<BPointGeo const*>(geometry)->GetPoint(), sizeof(BPoint));
        break;
    case GEO_POLYLINE:
        WritePoints(static_cast<BPolyline const*>(geometry)->GetPoints(), bytes);
        break;
    case GEO_POLYGON:
        WritePoints(static_cast<BPolygon const*>(geometry)->GetPoints(), bytes);
        break;
    case GEO_DONUT: WriteDonut(*static_cast<BDonut const*>(geometry), bytes, depth); break;
    case GEO_AGGREGATE_POINT:
        WriteMembers(*static_cast<BAggregatePoint const*>(geometry), bytes, depth);
        break;
    case GEO_AGGREGATE_LINEAR:
        WriteMembers(*static_cast<BAggregateLinear const*>(geometry), bytes, depth);
        break;
    case GEO_AGGREGATE_AREA:
        WriteMembers(*static_cast<BAggregateArea const*>(geometry), bytes, depth);
        break;
    default: RefuseGeometry(geometry->type, depth);
    }
}

BSharedPtr<BGeometry> ReadGeometry(ByteReader& reader, int depth);

BPoint ReadPoint(ByteReader& reader) {
    BPoint point;
    std::memcpy(&point, reader.Take(sizeof point), sizeof point);
    return point;
}

BPoints ReadPoints(ByteReader& reader) {
    std::size_t const count = reader.Count(sizeof(BPoint));
    std::uint8_t const* const bytes = reader.Take(count * sizeof(BPoint));
    BPoints points;
    points.Reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        BPoint point;
        std::memcpy(&point, bytes + i * sizeof point, sizeof point);
        points.Add(point);
    }
    return points;
}

/// A member, which must be of the kind that its owner holds; an empty holder stays one.
template <class T>
BSharedPtr<T> ReadMember(ByteReader& reader, int depth) {
    BSharedPtr<BGeometry> const member = ReadGeometry(reader, depth + 1);
    if (!member) {
        return BSharedPtr<T>();
    }
    T* const cast = dynamic_cast<T*>(member.Get());
    if (!cast) {
        reader.Fail("a geometry has a member of the wrong kind");
    }
    return BSharedPtr<T>(member, cast);
}

template <class Aggregate, class Member>
BSharedPtr<BGeometry> ReadMembers(ByteReader& reader, int depth) {
    BSharedPtr<Aggregate> const aggregate(new Aggregate);
    std::size_t const count = reader.Count(1);
    // A member may be empty and take one byte; room is made for those that are not.
    aggregate->Reserve(std::min(count, reader.Remaining() / 3));
    for (std::size_t i = 0; i < count; ++i) {
        aggregate->Add(ReadMember<Member>(reader, depth));
    }
    return aggregate;
}

BSharedPtr<BGeometry> ReadDonut(ByteReader& reader, int depth) {
    BSharedPtr<BDonut> const donut(new BDonut);
    donut->SetShell(ReadMember<BAreaGeo>(reader, depth));
    std::size_t const count = reader.Count(1);
    donut->ReserveHoles(std::min(count, reader.Remaining() / 3));
    for (std::size_t i = 0; i < count; ++i) {
        donut->AddHole(ReadMember<BAreaGeo>(reader, depth));
    }
    return donut;
}

template <class T>
BSharedPtr<BGeometry> ReadVertices(ByteReader& reader) {
    BSharedPtr<T> const geometry(new T);
    geometry->SetPoints(ReadPoints(reader));
    return geometry;
}

BSharedPtr<BGeometry> ReadBody(ByteReader& reader, std::uint8_t type, int depth) {
    switch (type) {
    case GEO_POINT: return BSharedPtr<BGeometry>(new BPointGeo(ReadPoint(reader)));
    case GEO_POLYLINE: return ReadVertices<BPolyline>(reader);
    case GEO_POLYGON: return ReadVertices<BPolygon>(reader);
    case GEO_DONUT: return ReadDonut(reader, depth);
    case GEO_AGGREGATE_POINT: return ReadMembers<BAggregatePoint, BPointGeo>(reader, depth);
    case GEO_AGGREGATE_LINEAR: return ReadMembers<BAggregateLinear, BLinearGeo>(reader, depth);
    case GEO_AGGREGATE_AREA: return ReadMembers<BAggregateArea, BAreaGeo>(reader, depth);
    default: reader.Fail("a geometry is of no known kind");
    }
}

BSharedPtr<BGeometry> ReadGeometry(ByteReader& reader, int depth) {
    std::uint8_t const type = reader.Value<std::uint8_t>();
    if (type == GEO_NONE) {
        return BSharedPtr<BGeometry>();
    }
    if (depth > maxDepth) {
        reader.Fail("geometries are nested too deep");
    }
    std::uint8_t const is3d = reader.Value<std::uint8_t>();
    BSharedPtr<BGeometry> geometry = ReadBody(reader, type, depth);
    geometry->is3d = is3d;
    return geometry;
}

/// The index of its name, how it is held, its type: what a value takes at least.
constexpr std::size_t minValueSize = 3;

void ReadAttributes(ByteReader& reader, TextTable const& texts, BAttributes& attributes) {
    std::size_t const count = reader.Count(minValueSize);
    attributes.Reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        BString const& name = texts.Take(reader);
        attributes.Add(name, VariantStream::Read(reader, texts));
    }
}

void ReadMetadata(ByteReader& reader, TextTable const& texts, BKeyValuePairs& metadata) {
    std::size_t const count = reader.Count(minValueSize);
    metadata.Reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        BString const& key = texts.Take(reader);
        metadata.Add(key, VariantStream::Read(reader, texts));
    }
}

} // namespace

void WriteFeature(BFeature const& feature, BByteArray& bytes, TextTable& texts) {
    WriteGeometry(feature.GetGeometry().Get(), bytes, 0);
    AppendCount(bytes, feature.attributes.GetCount());
    for (std::uint64_t i = 0; i < feature.attributes.GetCount(); ++i) {
        BAttribute const& attribute = feature.attributes.GetAt(i);
        AppendCount(bytes, texts.IndexOf(attribute.GetName()));
        VariantStream::Write(attribute.GetValue(), bytes, nullptr);
    }
    AppendCount(bytes, feature.GetMetadata().GetCount());
    for (BKeyValuePairs::Entry const& entry : feature.GetMetadata()) {
        AppendCount(bytes, texts.IndexOf(entry.key));
        VariantStream::Write(entry.value, bytes, &texts);
    }
}

BSharedPtr<BFeature> ReadFeature(ByteReader& reader, TextTable const& texts) {
    BSharedPtr<BFeature> feature(new BFeature);
    feature->SetGeometry(ReadGeometry(reader, 0));
    ReadAttributes(reader, texts, feature->attributes);
    ReadMetadata(reader, texts, feature->GetMetadata());
    if (reader.Remaining() > 0) {
        reader.Fail("a feature ends too early");
    }
    return feature;
}

BSharedPtr<BGeometry> ReadGeometry(ByteReader& reader) {
    return ReadGeometry(reader, 0);
}

} // namespace Ambrel
