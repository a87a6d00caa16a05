#include "Ambrel/BCoordSys.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BLogger.h"
#include "crs/CrsText.h"
#include "crs/ProjContext.h"

#include <QFile>

#include <charconv>
#include <cmath>
#include <mutex>
#include <string>

namespace Ambrel {

namespace {

struct FreeObject {
    void operator()(PJ* object) const noexcept { proj_destroy(object); }
};
struct FreeList {
    void operator()(PJ_OBJ_LIST* list) const noexcept { proj_list_destroy(list); }
};
struct FreeIntegers {
    void operator()(int* integers) const noexcept { proj_int_list_destroy(integers); }
};
using Object = std::unique_ptr<PJ, FreeObject>;

/// Larger files are no coordinate systems.
constexpr qint64 maxFileSize = qint64{1} << 20;

/// Who wrote the text: in a file, names and PROJ's own notation stand for no system.
enum class ETextOrigin { FILE, USER };

Object ParsePlain(PJ_CONTEXT* context, std::string const& text, ETextOrigin origin) {
    if (CrsText::IsAuthorityCode(text)) {
        return Object(proj_create(context, text.c_str()));
    }
    Object wellKnown(proj_create_from_wkt(context, text.c_str(), nullptr, nullptr, nullptr));
    if (wellKnown || origin == ETextOrigin::FILE) {
        return wellKnown;
    }
    // Without its type, PROJ takes its notation for an operation.
    bool const isNotation = text.find("proj=") != std::string::npos;
    return Object(proj_create(context, (isNotation ? text + " +type=crs" : text).c_str()));
}

/// The coordinate system that the text describes; an empty holder when it describes none.
/// `source` is the text or the name of its file, for the log.
Object Parse(PJ_CONTEXT* context, std::string_view whole, ETextOrigin origin,
             BString const& source) {
    std::string const text = CrsText::WithoutHeightGrids(CrsText::Trimmed(whole));
    if (text.empty() || text.find('\0') != std::string::npos) {
        return Object();
    }
    std::string const suspect(CrsText::SuspectPart(text));
    if (!suspect.empty()) {
        BLogger::Instance()->WriteLine(
            LOG_WARNING, "Coordinate system %s is refused: \"%s\" could make a file be opened.",
            source.Ascii(), suspect.c_str());
        return Object();
    }
    Object parsed = ParsePlain(context, text, origin);
    return parsed && proj_is_crs(parsed.get()) ? std::move(parsed) : Object();
}

/// The system without the shift to another datum that its text may bring along.
Object WithoutShift(PJ_CONTEXT* context, PJ const* crs) {
    bool const isBound = proj_get_type(crs) == PJ_TYPE_BOUND_CRS;
    return Object(isBound ? proj_get_source_crs(context, crs) : proj_clone(context, crs));
}

/// The horizontal part of a system with heights, without the shift to another datum that its text
/// may bring along.
Object HorizontalPart(PJ_CONTEXT* context, PJ const* crs) {
    Object const whole = WithoutShift(context, crs);
    if (!whole || proj_get_type(whole.get()) != PJ_TYPE_COMPOUND_CRS) {
        return whole ? WithoutShift(context, whole.get()) : Object();
    }
    Object const part(proj_crs_get_sub_crs(context, whole.get(), 0));
    return part ? WithoutShift(context, part.get()) : Object();
}

bool IsGeographicType(PJ_TYPE type) noexcept {
    return type == PJ_TYPE_GEOGRAPHIC_2D_CRS || type == PJ_TYPE_GEOGRAPHIC_3D_CRS;
}

/// "EPSG:4326" as the text states it; empty where it states none.
std::string StatedIdentifier(PJ const* crs) {
    char const* const authority = proj_get_id_auth_name(crs, 0);
    char const* const code = proj_get_id_code(crs, 0);
    return authority && code ? std::string(authority) + ":" + code : std::string();
}

/// That of the only system of the EPSG register that PROJ holds for the same with the greatest
/// confidence; empty when that is low, or when there are several.
std::string EpsgIdentifier(PJ_CONTEXT* context, PJ const* crs) {
    constexpr int minConfidence = 90; // percent
    int* found = nullptr;
    std::unique_ptr<PJ_OBJ_LIST, FreeList> const candidates(
        proj_identify(context, crs, "EPSG", nullptr, &found));
    std::unique_ptr<int, FreeIntegers> const confidences(found);
    int const count = candidates ? proj_list_get_count(candidates.get()) : 0;
    // They come with the greatest confidence first.
    if (count == 0 || found[0] < minConfidence || (count > 1 && found[1] == found[0])) {
        return {};
    }
    Object const best(proj_list_get(context, candidates.get(), 0));
    return best ? StatedIdentifier(best.get()) : std::string();
}

constexpr std::string_view epsgPrefix = "EPSG:";

std::string Identify(PJ_CONTEXT* context, PJ const* crs) {
    std::string const stated = StatedIdentifier(crs);
    if (stated.compare(0, epsgPrefix.size(), epsgPrefix) == 0) {
        return stated;
    }
    std::string const known = EpsgIdentifier(context, crs);
    return known.empty() ? stated : known;
}

/// The transformation has a context and objects of its own, and one thread at a time uses them.
class ProjTransform final : public BTransform {
public:
    ProjTransform(ProjContext&& ownContext, Object&& ownOperation) noexcept
        : context(std::move(ownContext)), operation(std::move(ownOperation)) {}

    void Forward(BPoint& point) const override { Map(PJ_FWD, point); }
    void Reverse(BPoint& point) const override { Map(PJ_INV, point); }

private:
    void Map(PJ_DIRECTION direction, BPoint& point) const {
        std::lock_guard<std::mutex> const guard(lock);
        proj_errno_reset(operation.get());
        PJ_COORD const mapped =
            proj_trans(operation.get(), direction, proj_coord(point.X, point.Y, point.Z, HUGE_VAL));
        int const error = proj_errno(operation.get());
        if (error != 0 || !std::isfinite(mapped.xyz.x) || !std::isfinite(mapped.xyz.y)) {
            Fail(direction, point, error);
        }
        point = BPoint(mapped.xyz.x, mapped.xyz.y, mapped.xyz.z);
    }

    [[noreturn]] void Fail(PJ_DIRECTION direction, BPoint const& point, int error) const {
        char const* const reason =
            error != 0 ? proj_context_errno_string(context.get(), error) : "no image";
        throw BException(exceptionCategory,
                         direction == PJ_FWD ? "BTransform::Forward" : "BTransform::Reverse",
                         BString::Format("The position %.17g, %.17g can not be transformed: %s",
                                         point.X, point.Y, reason));
    }

    ProjContext context;
    Object operation;
    mutable std::mutex lock;
};

} // namespace

struct BCoordSys::Definition {
    std::mutex lock; ///< PROJ's objects are used by one thread at a time
    ProjContext context;
    Object crs;
    std::optional<BString> identifier; ///< where it has been looked for

    Definition(Object&& parsed, ProjContext&& ownContext) noexcept
        : context(std::move(ownContext)), crs(std::move(parsed)) {}

    /// A copy that another context owns.
    Object Copy(PJ_CONTEXT* other) {
        std::lock_guard<std::mutex> const guard(lock);
        return Object(proj_clone(other, crs.get()));
    }
    /// On one line; empty where the system has no form in that language.
    std::string WellKnownText(PJ_WKT_TYPE language) {
        std::lock_guard<std::mutex> const guard(lock);
        char const* const options[] = {"MULTILINE=NO", nullptr};
        char const* const text = proj_as_wkt(context.get(), crs.get(), language, options);
        return text ? text : "";
    }
};

BCoordSys::BCoordSys(std::unique_ptr<Definition> ownDefinition)
    : definition(std::move(ownDefinition)) {
    Object const crs = WithoutShift(definition->context.get(), definition->crs.get());
    char const* const knownName = crs ? proj_get_name(crs.get()) : nullptr;
    name = BString::FromUtf8(knownName ? knownName : "");
    Object const part = HorizontalPart(definition->context.get(), definition->crs.get());
    isGeographic = part && IsGeographicType(proj_get_type(part.get()));
}

BCoordSys::~BCoordSys() = default;

BString BCoordSys::GetIdentifier() const {
    std::lock_guard<std::mutex> const guard(definition->lock);
    if (!definition->identifier) {
        PJ_CONTEXT* const context = definition->context.get();
        Object const crs = WithoutShift(context, definition->crs.get());
        definition->identifier =
            BString::FromUtf8(crs ? Identify(context, crs.get()) : std::string());
    }
    return *definition->identifier;
}

std::optional<int> BCoordSys::GetEpsgCode() const {
    BString const identifier = GetIdentifier();
    std::string_view const text = identifier.Utf8();
    if (text.substr(0, epsgPrefix.size()) != epsgPrefix) {
        return std::nullopt;
    }
    int value = 0;
    char const* const end = text.data() + text.size();
    auto const parsed = std::from_chars(text.data() + epsgPrefix.size(), end, value);
    bool const isWhole = parsed.ec == std::errc() && parsed.ptr == end;
    return isWhole ? std::optional<int>(value) : std::nullopt;
}

bool BCoordSys::IsLongLatWgs84() const {
    if (!isGeographic) {
        return false;
    }
    std::lock_guard<std::mutex> const guard(definition->lock);
    PJ_CONTEXT* const context = definition->context.get();
    Object const part = HorizontalPart(context, definition->crs.get());
    auto const isSame = [&](char const* known) {
        Object const wgs84(proj_create(context, known));
        return part && wgs84 &&
               proj_is_equivalent_to_with_ctx(context, part.get(), wgs84.get(),
                                              PJ_COMP_EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS) != 0;
    };
    return isSame("EPSG:4326") || isSame("EPSG:4979");
}

BCoordSys* BCoordSys::FromFile(BString const& path) {
    char const* const operation = "BCoordSys::FromFile";
    QFile file(MakeQString(path));
    if (!BFileUtilities::Exists(path) || !file.open(QIODevice::ReadOnly)) {
        throw BFileNotFoundException(operation, path);
    }
    QByteArray const bytes = file.read(maxFileSize + 1);
    BString const text(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    ProjContext context = MakeProjContext();
    Object crs = bytes.size() > maxFileSize
                     ? Object()
                     : Parse(context.get(), text.Utf8(), ETextOrigin::FILE, path);
    if (!crs) {
        throw BFileContentNotValidException(operation, path);
    }
    return new BCoordSys(std::make_unique<Definition>(std::move(crs), std::move(context)));
}

BCoordSys* BCoordSys::FromText(BString const& text) {
    ProjContext context = MakeProjContext();
    Object crs = Parse(context.get(), text.Utf8(), ETextOrigin::USER, text);
    if (!crs) {
        throw BFileContentNotValidException("BCoordSys::FromText", text);
    }
    return new BCoordSys(std::make_unique<Definition>(std::move(crs), std::move(context)));
}

BString BCoordSys::ToWkt() const {
    std::string const text = definition->WellKnownText(PJ_WKT1_GDAL);
    return text.empty() ? ToText() : BString::FromUtf8(text);
}

bool BCoordSys::ToFile(BString const& path) const {
    std::string const text = definition->WellKnownText(PJ_WKT1_ESRI);
    if (text.empty()) {
        return false; // the system has no form in that language
    }
    QFile file(MakeQString(path));
    qint64 const size = static_cast<qint64>(text.size());
    return BFileUtilities::MayBeWritten(path) &&
           file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(text.data(), size) == size && file.flush();
}

BString BCoordSys::ToText() const {
    return BString::FromUtf8(definition->WellKnownText(PJ_WKT2_2019));
}

std::unique_ptr<BTransform> BCoordSys::MakeTransformToWgs84() const {
    std::unique_ptr<BCoordSys> const wgs84(FromText("EPSG:4326"));
    return MakeTransformTo(*wgs84);
}

std::unique_ptr<BTransform> BCoordSys::MakeTransformTo(BCoordSys const& target) const {
    ProjContext context = MakeProjContext();
    Object const from = definition->Copy(context.get());
    Object const to = target.definition->Copy(context.get());
    Object const found(from && to ? proj_create_crs_to_crs_from_pj(context.get(), from.get(),
                                                                   to.get(), nullptr, nullptr)
                                  : nullptr);
    Object normalized(found ? proj_normalize_for_visualization(context.get(), found.get())
                            : nullptr);
    if (!normalized) {
        throw BException(
            exceptionCategory, "BCoordSys::MakeTransformTo",
            BString::Format("No transformation from %s to %s", name.Ascii(), target.name.Ascii()));
    }
    return std::make_unique<ProjTransform>(std::move(context), std::move(normalized));
}

} // namespace Ambrel
