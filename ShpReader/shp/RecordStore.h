#pragma once

#include "Ambrel/BInputFile.h"
#include "Ambrel/BString.h"
#include "ShpReader/format/ShpFormat.h"

#include <memory>
#include <mutex>
#include <optional>

namespace Ambrel {

/// A copy of the index entries in memory, as they stand in the file. Immutable once made, so that
/// operations on several threads can hold it while the file lets it go.
struct IndexCopy {
    std::unique_ptr<std::uint8_t[]> entries;
    std::uint64_t size = 0; ///< bytes that the file gave
};

/// Room for one record's content.
struct ContentBuffer {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::uint32_t capacity = 0; ///< bytes

    /// Makes room for `size` bytes: keeps what it has if that is enough, else frees it and
    /// allocates exactly that many. False, and nothing held, when there is no memory.
    bool Provide(std::uint32_t size) noexcept;
    void Release() noexcept;
};

/// The main file and the index of a shapefile that is open for reading. Nothing of it changes once
/// it is open but what it holds in memory: the copy of the index and the shared record buffer,
/// which stand here with their locks. A fetch that fails on one thread lets go of both while others
/// are at work.
///
/// Reads are by position and move nothing, so one handle of each file serves every operation.
class RecordStore {
public:
    /// Opens the main file. Throws BFileNotFoundException (operation, path).
    RecordStore(char const* operation, BString const& newMainPath);
    /// Opens the index and counts its entries. Throws BFileNotFoundException (operation, path).
    void OpenIndex(char const* operation, BString const& indexPath);
    /// Opens the index; where it is missing or unusable, an index is made of the main file, and
    /// stays in memory. Returns whether that was so.
    bool OpenOrMakeIndex(BString const& indexPath);

    /// Nothing where the main file does not begin with a valid header.
    std::optional<ShpFileHeader> ReadHeader() const;
    std::uint32_t GetRecordCount() const noexcept { return recordCount; }
    BString const& GetMainPath() const noexcept { return mainPath; }
    BInputFile const& GetMainFile() const noexcept { return main; }
    /// Null where there are no records yet, or their index was made.
    BInputFile const* GetIndexFile() const noexcept { return index.get(); }

    /// Takes the index entries into memory. Where there is no memory for them, entries are read
    /// from the file when they are needed.
    void LoadIndex();
    /// Frees the copy of the index, unless there is no file behind it, and the shared buffer.
    void ReleaseBuffers() noexcept;
    /// The copy of the index, or null.
    std::shared_ptr<IndexCopy const> HoldIndex() const;
    /// The shared buffer, for one operation at a time: the whole-file read, or under the lock.
    ContentBuffer& GetSharedBuffer() noexcept { return sharedBuffer; }
    std::unique_lock<std::mutex> LockSharedBuffer() { return std::unique_lock(bufferLock); }

private:
    void TakeIndex(std::unique_ptr<BInputFile> opened) noexcept;

    BString mainPath;
    BInputFile main;
    std::unique_ptr<BInputFile> index;
    std::uint32_t recordCount = 0;

    mutable std::mutex indexLock; ///< guards `indexCopy`
    std::shared_ptr<IndexCopy const> indexCopy;
    std::shared_ptr<IndexCopy const> madeIndex; ///< where there is no index file
    std::mutex bufferLock; ///< guards `sharedBuffer` but for the whole-file read
    ContentBuffer sharedBuffer;
};

} // namespace Ambrel
