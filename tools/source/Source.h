#pragma once

#include "Ambrel/BDataManager.h"

#include <memory>
#include <string>

namespace Ambrel::Tool {

/// Where the features of a layer are while the tool works on them.
enum class HoldMode {
    Stream, ///< nowhere: each is handed on when the reader has it
    Memory,
    Cache,  ///< the disk cache
    Direct, ///< in the file
};

struct Console;

struct SourceOptions {
    HoldMode mode = HoldMode::Direct;
    bool useAttributes = true;
    std::string attributeZ{};  ///< the attribute that gives Z; empty for none
    std::string encoding{};    ///< empty: what the file states
    bool withDeleted = false;  ///< records whose table rows are marked as deleted are delivered too
    bool withMeasures = false; ///< measures are delivered whatever the header's range says
    std::string crs{};         ///< states the coordinate system; empty: the ".prj" file does
};

/// One shapefile, opened with a reader of its own so that a bad one does not stop the others.
class Source final {
public:
    /// Throws what the reader's Open throws.
    Source(Console& console, BString const& newPath, SourceOptions const& newOptions);

    /// Leaves the features in the file from now on. Reader and layer are others then.
    void ReopenDirectly();

    HoldMode Mode() const noexcept { return options.mode; }
    BVectorLayer& Layer() noexcept;
    BDataReader& Reader() noexcept { return *reader; }
    /// Of the table's texts; empty where it is not known, or no attributes are read.
    std::string const& Encoding() const noexcept { return options.encoding; }
    /// The rectangle that the main file's header states.
    BRect Extent();

private:
    struct Destroy {
        void operator()(BDataReader* reader) const;
    };

    void Open();

    BString path;
    SourceOptions options;
    std::unique_ptr<BDataReader, Destroy> reader;
    BSharedPtr<BLayer> layer;
};

} // namespace Ambrel::Tool
