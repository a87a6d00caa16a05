#pragma once

#include "Ambrel/BString.h"

#include <vector>

namespace Ambrel {

/// Files that are written under temporary names and put in place together.
class StagedFiles {
public:
    StagedFiles() = default;
    StagedFiles(StagedFiles const&) = delete;
    StagedFiles& operator=(StagedFiles const&) = delete;
    /// Removes the temporary files that were not put in place.
    ~StagedFiles();

    /// The temporary name beside `target`, under which nothing exists.
    BString Add(BString const& target);
    /// A file that does not belong to the new ones goes when they are put in place.
    void AddRemoval(BString const& target);
    /// Puts all files in place. Where one cannot be, what was there before is put back, and the
    /// target that failed returned; else an empty text. Called once.
    BString PutInPlace();

private:
    struct File {
        BString target;
        BString temporary; ///< empty: the target goes
        BString former;    ///< what stood under the target's name, meanwhile; empty for nothing
        bool isPlaced = false;
    };

    bool SetAside(File& file);
    void Undo();

    std::vector<File> files;
};

} // namespace Ambrel
