#pragma once

#include "Ambrel/BString.h"

#include <vector>

namespace Ambrel {

/// File names and what can be asked of the files behind them.
class AMBREL_API BFileUtilities final {
public:
    /// The full path of a file name, without "." and ".." parts; ".." behind a link to a folder is
    /// what is above that folder.
    static BString CompletePath(BString const& path);
    /// The path with its extension replaced; `extension` comes with its dot, as ".shx", and takes
    /// the letter case of the one it replaces. Where that file does not exist and one does that
    /// differs in the extension's letter case alone, the path of that one.
    static BString ChangeExtension(BString const& path, BString const& extension);
    /// The same for a file that will be replaced: not one that differs in letter case and belongs
    /// to a file whose extension differs from that of `path` in the same way.
    static BString ChangeExtensionForWriting(BString const& path, BString const& extension);
    /// The file name without folder and extension.
    static BString GetBasename(BString const& path);
    /// True for regular files only (links to them included).
    static bool Exists(BString const& path);
    /// Size in bytes modulo 2^32; 0 when there is no such file.
    static std::uint32_t GetSize(BString const& path);
    /// Whether there is a regular file or nothing: a folder, a pipe or a device is not written to.
    static bool MayBeWritten(BString const& path);
    /// Removes a regular file, or a link to one, of which the target stays. False for all else, and
    /// when it could not be removed.
    static bool Delete(BString const& path);
    /// The files that a name stands for, with full paths:
    /// - a folder: its files with that extension, in any letter case, sorted by name;
    /// - a name with `*` or `?` in its last part: the same, of the files that match it;
    /// - hidden files only where that part begins with a dot;
    /// - anything else: that file, with the extension added if it has none and does not exist as it
    ///   is. A missing file stays in the list.
    static std::vector<BString> ListFiles(BString const& name, BString const& extension);
};

} // namespace Ambrel
