#pragma once

#include "Ambrel/BString.h"
#include "Ambrel/BTransform.h"

#include <memory>
#include <optional>

namespace Ambrel {

/// A coordinate system, read and understood with PROJ. Whatever goes wrong leaves as a BException.
class AMBREL_API BCoordSys final {
public:
    BCoordSys(BCoordSys const&) = delete;
    BCoordSys& operator=(BCoordSys const&) = delete;
    virtual ~BCoordSys();

    /// Loads a ".prj" file: well-known text in ESRI's form or a later one. Throws
    /// BFileNotFoundException or BFileContentNotValidException ("BCoordSys::FromFile", the path).
    /// The caller owns the result.
    static BCoordSys* FromFile(BString const& path);
    /// From well-known text or "EPSG:4326". Throws BFileContentNotValidException
    /// ("BCoordSys::FromText", the text).
    static BCoordSys* FromText(BString const& text);

    /// Writes the coordinate system as well-known text in ESRI's form. False when the file can not
    /// be written.
    bool ToFile(BString const& path) const;

    /// The name as PROJ has it, such as "WGS 84".
    BString const& GetName() const noexcept { return name; }
    /// The EPSG code, where the system is one of that register: stated in the text, or the only one
    /// that PROJ holds for the same. It is looked for at the first call, which may take a tenth of
    /// a second.
    std::optional<int> GetEpsgCode() const;

    /// The transformation to WGS 84, longitude first, in degrees. It may outlive this object.
    /// Throws BException when there is none.
    std::unique_ptr<BTransform> MakeTransformToWgs84() const;

private:
    struct Definition;
    explicit BCoordSys(std::unique_ptr<Definition> newDefinition);

    std::unique_ptr<Definition> definition;
    BString name;
};

/// The host's store of coordinate systems. Readers are given one and may share systems through it.
class AMBREL_API BCoordSysRepository final {};

} // namespace Ambrel
