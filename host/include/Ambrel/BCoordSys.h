#pragma once

#include "Ambrel/BString.h"
#include "Ambrel/BTransform.h"

#include <memory>
#include <optional>

namespace Ambrel {

/// A coordinate system, read and understood with PROJ. Whatever goes wrong leaves as a BException.
///
/// A system's text is data: a text that would have PROJ open a file or the network (grids, "+init",
/// pipelines, PROJJSON, …) is refused, with a line of severity 2 in the log that gives the reason.
class AMBREL_API BCoordSys final {
public:
    BCoordSys(BCoordSys const&) = delete;
    BCoordSys& operator=(BCoordSys const&) = delete;
    virtual ~BCoordSys();

    /// Loads a ".prj" file: well-known text in ESRI's form or a later one. Throws
    /// BFileNotFoundException or BFileContentNotValidException ("BCoordSys::FromFile", the path).
    /// The caller owns the result.
    static BCoordSys* FromFile(BString const& path);
    /// From what a user may call a system: well-known text, "EPSG:4326" or another authority's
    /// code, a name such as "ETRS89 / UTM zone 32N", or PROJ's notation such as "+proj=utm
    /// +zone=32". Throws BFileContentNotValidException ("BCoordSys::FromText", the text). The
    /// caller owns the result.
    static BCoordSys* FromText(BString const& text);

    /// Writes the coordinate system as well-known text in ESRI's form. False when the file cannot
    /// be written.
    bool ToFile(BString const& path) const;
    /// The system as well-known text of ISO 19162:2019, on one line; empty where it has no such
    /// form.
    BString ToText() const;

    /// The system as well-known text in one line: in the form of OGC 01-009 ("WKT 1") where it can
    /// be said so, else in that of ISO 19162. Empty where PROJ has neither.
    BString ToWkt() const;

    /// The name as PROJ has it, such as "WGS 84".
    BString const& GetName() const noexcept { return name; }
    /// The authority and its code, such as "EPSG:4326": of the EPSG register where the text states
    /// it or where PROJ holds exactly one entry for the same system; else of another authority
    /// where the text states it; else empty. The first call may take a tenth of a second.
    BString GetIdentifier() const;
    /// The code of GetIdentifier() where it is one of the EPSG register.
    std::optional<int> GetEpsgCode() const;

    /// Whether x and y are longitude and latitude, in whatever datum and angular unit.
    bool IsGeographic() const noexcept { return isGeographic; }
    /// Whether x and y are longitude and latitude in degrees on WGS 84 already, whatever the order
    /// of the axes in the definition: files hold x before y.
    bool IsLongLatWgs84() const;

    /// The transformation of (x, y) here to (x, y) in `target`, with x the easting or longitude and
    /// y the northing or latitude on both sides, whatever the order of the axes in the definitions;
    /// angles are in the units of their systems. It may outlive both systems, and throws at each
    /// position that it cannot transform. Throws BException ("Ambrel Exception",
    /// "BCoordSys::MakeTransformTo", the two names) when there is none.
    std::unique_ptr<BTransform> MakeTransformTo(BCoordSys const& target) const;
    /// The same to longitude and latitude on WGS 84, in degrees.
    std::unique_ptr<BTransform> MakeTransformToWgs84() const;

private:
    struct Definition;
    explicit BCoordSys(std::unique_ptr<Definition> ownDefinition);

    std::unique_ptr<Definition> definition;
    BString name;
    bool isGeographic = false;
};

/// The host's store of coordinate systems. Readers are given one and may share systems through it.
class AMBREL_API BCoordSysRepository final {};

} // namespace Ambrel
