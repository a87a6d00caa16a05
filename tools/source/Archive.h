#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Ambrel::Tool {

struct Console;

/// A path that leads to an archive (".zip", ".shz"), or on into one.
struct ArchivePath {
    std::string archive;
    std::string inside; ///< what follows: "north/roads.shp"; may be empty
};

/// None for a path that no part of is an archive. A folder of such a name is a folder.
std::optional<ArchivePath> FindArchive(std::string const& path);

/// The folder that the shapefiles named by the path have been unpacked to, at the places that they
/// have in the archive; each path once in the life of the process. Only the user can enter it, and
/// it goes when the tool ends; messages name the archive in its place (see Console.h).
///
/// What is no part of a shapefile is left where it is. Members that would come to lie elsewhere,
/// and those that are no regular files, are left out with a warning, and so is one that cannot be
/// read whole. `limit` bounds the bytes that all of them may become; 0 stands for a hundred times
/// the archive's size, 1 GiB at least. Throws BDataManagerException for what is no archive, and
/// where the limit is passed; OutputException; InterruptedException.
std::string Unpack(Console& console, ArchivePath const& path, std::uint64_t limit);

} // namespace Ambrel::Tool
