#include "Ambrel/BCoordSys.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"

#include <QFile>

#include <charconv>
#include <cmath>
#include <mutex>
#include <proj.h>
#include <string>

namespace Ambrel {

namespace {

struct FreeContext {
    void operator()(PJ_CONTEXT* context) const noexcept { proj_context_destroy(context); }
};
struct FreeObject {
    void operator()(PJ* object) const noexcept { proj_destroy(object); }
};
struct FreeList {
    void operator()(PJ_OBJ_LIST* list) const noexcept { proj_list_destroy(list); }
};
struct FreeIntegers {
    void operator()(int* integers) const noexcept { proj_int_list_destroy(integers); }
};
using Context = std::unique_ptr<PJ_CONTEXT, FreeContext>;
using Object = std::unique_ptr<PJ, FreeObject>;

/// A context of its own for every object: one is used by one thread at a time. It neither logs nor
/// reaches for the network.
Context MakeContext() {
    Context context(proj_context_create());
    if (!context) {
        throw std::bad_alloc();
    }
    proj_log_level(context.get(), PJ_LOG_NONE);
    // A missing database is complained of whatever the level is.
    proj_log_func(context.get(), nullptr, [](void*, int, char const*) {});
    proj_context_set_enable_network(context.get(), 0);
    return context;
}

/// Larger files are no coordinate systems.
constexpr qint64 largestFile = qint64{1} << 20;

std::string Trimmed(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    constexpr std::string_view blanks{" \t\r\n\0", 5};
    if (text.substr(0, byteOrderMark.size()) == byteOrderMark) {
        text.remove_prefix(byteOrderMark.size());
    }
    std::size_t const first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

/// "EPSG:4326": an authority and its code.
bool IsAuthorityCode(std::string_view text) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    constexpr std::string_view digits = "0123456789";
    std::size_t const colon = text.find(':');
    return colon != std::string_view::npos && colon > 0 && colon + 1 < text.size() &&
           text.substr(0, colon).find_first_not_of(letters) == std::string_view::npos &&
           text.substr(colon + 1).find_first_not_of(digits) == std::string_view::npos;
}

/// The coordinate system that the text describes; an empty holder when it describes none.
Object Parse(PJ_CONTEXT* context, std::string const& text) {
    if (text.empty() || text.find('\0') != std::string::npos) {
        return Object();
    }
    Object parsed(IsAuthorityCode(text)
                      ? proj_create(context, text.c_str())
                      : proj_create_from_wkt(context, text.c_str(), nullptr, nullptr, nullptr));
    return parsed && proj_is_crs(parsed.get()) ? std::move(parsed) : Object();
}

/// The system without the shift to another datum that its text may bring along.
Object WithoutShift(PJ_CONTEXT* context, PJ const* crs) {
    bool const isBound = proj_get_type(crs) == PJ_TYPE_BOUND_CRS;
    return Object(isBound ? proj_get_source_crs(context, crs) : proj_clone(context, crs));
}

std::optional<int> StatedCode(PJ const* crs) {
    char const* const authority = proj_get_id_auth_name(crs, 0);
    char const* const code = proj_get_id_code(crs, 0);
    if (!authority || !code || std::string_view(authority) != "EPSG") {
        return std::nullopt;
    }
    std::string_view const digits(code);
    int value = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    bool const isWhole = error == std::errc() && end == digits.data() + digits.size();
    return isWhole ? std::optional<int>(value) : std::nullopt;
}

/// The code of the only system of the register that PROJ holds for the same with the greatest
/// confidence; none when that is low, or when there are several.
std::optional<int> IdentifiedCode(PJ_CONTEXT* context, PJ const* crs) {
    constexpr int leastConfidence = 90; // percent
    int* found = nullptr;
    std::unique_ptr<PJ_OBJ_LIST, FreeList> const candidates(
        proj_identify(context, crs, "EPSG", nullptr, &found));
    std::unique_ptr<int, FreeIntegers> const confidences(found);
    int const count = candidates ? proj_list_get_count(candidates.get()) : 0;
    // They come with the greatest confidence first.
    if (count == 0 || found[0] < leastConfidence || (count > 1 && found[1] == found[0])) {
        return std::nullopt;
    }
    Object const best(proj_list_get(context, candidates.get(), 0));
    return best ? StatedCode(best.get()) : std::nullopt;
}

/// The transformation has a context and objects of its own, and one thread at a time uses them.
class ProjTransform final : public BTransform {
public:
    ProjTransform(Context&& newContext, Object&& newOperation) noexcept
        : context(std::move(newContext)), operation(std::move(newOperation)) {}

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
        throw BException("Ambrel Exception",
                         direction == PJ_FWD ? "BTransform::Forward" : "BTransform::Reverse",
                         BString::Format("The position %.17g, %.17g can not be transformed: %s",
                                         point.X, point.Y, reason));
    }

    Context context;
    Object operation;
    mutable std::mutex lock;
};

} // namespace

struct BCoordSys::Definition {
    std::mutex lock; ///< PROJ's objects are used by one thread at a time
    Context context;
    Object crs;
    bool isIdentified = false; ///< whether `epsgCode` is known
    std::optional<int> epsgCode;
};

BCoordSys::BCoordSys(std::unique_ptr<Definition> newDefinition)
    : definition(std::move(newDefinition)) {
    Object const crs = WithoutShift(definition->context.get(), definition->crs.get());
    char const* const knownName = crs ? proj_get_name(crs.get()) : nullptr;
    name = BString::FromUtf8(knownName ? knownName : "");
}

BCoordSys::~BCoordSys() = default;

std::optional<int> BCoordSys::GetEpsgCode() const {
    std::lock_guard<std::mutex> const guard(definition->lock);
    if (!definition->isIdentified) {
        PJ_CONTEXT* const context = definition->context.get();
        Object const crs = WithoutShift(context, definition->crs.get());
        if (crs) {
            std::optional<int> const stated = StatedCode(crs.get());
            definition->epsgCode = stated ? stated : IdentifiedCode(context, crs.get());
        }
        definition->isIdentified = true;
    }
    return definition->epsgCode;
}

BCoordSys* BCoordSys::FromFile(BString const& path) {
    char const* const operation = "BCoordSys::FromFile";
    QFile file(MakeQString(path));
    if (!BFileUtilities::Exists(path) || !file.open(QIODevice::ReadOnly)) {
        throw BFileNotFoundException(operation, path);
    }
    QByteArray const bytes = file.read(largestFile + 1);
    if (bytes.size() > largestFile) {
        throw BFileContentNotValidException(operation, path);
    }
    try {
        return FromText(BString(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    } catch (BFileContentNotValidException const&) {
        throw BFileContentNotValidException(operation, path);
    }
}

BCoordSys* BCoordSys::FromText(BString const& text) {
    auto definition = std::make_unique<Definition>();
    definition->context = MakeContext();
    definition->crs = Parse(definition->context.get(), Trimmed(text.Utf8()));
    if (!definition->crs) {
        throw BFileContentNotValidException("BCoordSys::FromText", text);
    }
    return new BCoordSys(std::move(definition));
}

bool BCoordSys::ToFile(BString const& path) const {
    std::lock_guard<std::mutex> const guard(definition->lock);
    char const* const options[] = {"MULTILINE=NO", nullptr};
    char const* const text =
        proj_as_wkt(definition->context.get(), definition->crs.get(), PJ_WKT1_ESRI, options);
    if (!text) {
        return false; // the system has no form in that language
    }
    QFile file(MakeQString(path));
    qint64 const size = static_cast<qint64>(std::string_view(text).size());
    return BFileUtilities::MayBeWritten(path) &&
           file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(text, size) == size && file.flush();
}

std::unique_ptr<BTransform> BCoordSys::MakeTransformToWgs84() const {
    Context context = MakeContext();
    std::lock_guard<std::mutex> const guard(definition->lock);
    Object const source(proj_clone(context.get(), definition->crs.get()));
    Object const target(proj_create(context.get(), "EPSG:4326"));
    Object const found(source && target
                           ? proj_create_crs_to_crs_from_pj(context.get(), source.get(),
                                                            target.get(), nullptr, nullptr)
                           : nullptr);
    Object normalized(found ? proj_normalize_for_visualization(context.get(), found.get())
                            : nullptr);
    if (!normalized) {
        throw BException("Ambrel Exception", "BCoordSys::MakeTransformToWgs84",
                         BString::Format("No transformation from %s", name.Ascii()));
    }
    return std::make_unique<ProjTransform>(std::move(context), std::move(normalized));
}

} // namespace Ambrel
