#pragma once

#include "Ambrel/BAttribute.h"
#include "Ambrel/BCoordSys.h"
#include "Ambrel/BFeature.h"
#include "Ambrel/BSharedPtr.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Ambrel {

/// How large the files of a shapefile may become, in bytes. The defaults are what the format's
/// numbers can name; smaller ones suit file systems and readers that take less.
struct ShapefileLimits {
    std::int64_t mainFile = 4294967294; ///< offsets are 32-bit, signed, in 16-bit words
    std::int64_t table = 2147483647;
};

/// A new shapefile with geometry: main file, index, table, ".prj" and ".cpg". Nothing appears under
/// its name before Finish, which puts all files in place; where it is not called, or fails, what
/// stood there before stays. One thread at a time; does not depend on the locale.
///
/// A feature that cannot be written throws and leaves the writer as it was, ready for the next.
class ShapefileWriter {
public:
    /// `name`: the main file, with its extension. `shapeType`: 1, 3, 5 or 8 (point, polyline,
    /// polygon, multipoint), 10 more with Z, 20 more with measures alone. `schema`: the fields;
    /// where a width is 0, one is chosen that gives every value back, and real numbers get the
    /// digits that they need. `coordSys`: what the ".prj" file says, null for none. `encoding`: of
    /// the table's texts, a codec that Qt knows or a spelling met in ".cpg" files; empty for UTF-8.
    ///
    /// Throws, with the operation "ShapefileWriter::ShapefileWriter": BUnknownGeometryException
    /// ("ShapeType=number"); BAttributeDataException ("Field=name, reason") for a schema that a
    /// table cannot hold; BException ("ENCODING=name"); BFileNotFoundException (a path) where a
    /// file cannot be made.
    ShapefileWriter(BString const& name, std::int32_t shapeType, BAttributeDefs const& schema,
                    BSharedPtr<BCoordSys> const& coordSys = {}, BString const& encoding = {},
                    ShapefileLimits const& limits = {});
    ShapefileWriter(ShapefileWriter const&) = delete;
    ShapefileWriter& operator=(ShapefileWriter const&) = delete;
    /// Without Finish, removes what was written.
    ~ShapefileWriter();

    /// Appends a record: the feature's geometry, of the writer's kind, or a null shape where it has
    /// none or one without vertices; and its attributes by their names, blank ("?" in a logical
    /// field) where one is null or missing.
    ///
    /// Rings are closed, shells turned clockwise and holes the other way. A single point may stand
    /// in a file of multipoints. Measures come from the feature's metadata "ShpMeasures", one for
    /// each vertex in the geometry's order; missing ones are the format's "no data". Real numbers
    /// have the decimals that the schema declares; where it declares none, or they do not fit, the
    /// digits that give the value back.
    ///
    /// Throws, with the operation "ShapefileWriter::Write" and a message "Record=number, reason"
    /// (from 0): BUnknownGeometryException for a geometry of another kind; BAttributeDataException
    /// ("Record=number, Field=name, reason") for a value that its field cannot hold;
    /// BResourceException for a file that would become too large, and where a write has failed.
    void Write(BFeature const& feature);
    /// The same with another geometry than the feature's own; null for none.
    void Write(BFeature const& feature, BGeometry const* geometry);

    /// Puts the files in place. Throws BResourceException ("ShapefileWriter::Finish", a path) where
    /// a byte could not be written or a file not be put in place, and BNotOpenException when it was
    /// called before; nothing can be written afterwards.
    void Finish();

    /// The names that the fields have in the table, in the order of the schema: cut to 10 bytes,
    /// and distinct.
    std::vector<BString> GetFieldNames() const;
    std::uint32_t GetRecordCount() const noexcept;
    /// Letters that the encoding lacks, written as "?".
    std::uint64_t GetReplacedLetterCount() const noexcept;

private:
    class Files;
    std::unique_ptr<Files> files;
};

} // namespace Ambrel
