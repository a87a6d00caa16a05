#pragma once

#include "Ambrel/BKeyValuePairs.h"
#include "Ambrel/BLayer.h"

namespace Ambrel {

class BLogger;
class BProgress;

/// How far a data manager's life has gone.
enum EStatus : std::uint32_t {
    STATUS_OUT_OF_MEMORY = 2, ///< a read failed for want of memory
    STATUS_READY = 4615,      ///< created or reset
};

/// Values of BDataManager::GetReadResult.
enum EReadResult : std::int32_t {
    READ_OK = 0,
    READ_CANCELLED = 3, ///< the progress observer ended the read; the layers are cleared
};

/// Base of readers. The options that it is made with choose where features are held:
///
/// | option | type | meaning |
/// |---|---|---|
/// | OPTION_DIRECT_ACCESS | boolean, false | leave features in the file, reach them on demand |
/// | OPTION_DISK_CACHE | boolean, false | hold features in the disk cache |
/// | OPTION_DISK_CACHE_BASE_NAME | text, empty | see BDiskCacheFeatureCollection |
/// | OPTION_DISK_CACHE_PAGE_SIZE | integer, 1024 | features in a page |
///
/// Direct access takes precedence over the disk cache.
/// The order of the virtual functions is part of the interface.
class AMBREL_API BDataManager {
public:
    BDataManager(BDataManager const&) = delete;
    BDataManager& operator=(BDataManager const&) = delete;
    virtual ~BDataManager();

    /// Opens a source. `params`: options of the format. Throws BAlreadyOpenException, and what the
    /// format throws: BFileNotFoundException, BFileContentNotValidException, …
    virtual void Open(BString const& fileName, BParamList const& params) = 0;
    /// Lets go of the source's files. The layers stay.
    virtual void Close() = 0;
    /// Whether QueryInfo answers the query.
    virtual bool CanQuery(BString const& query) = 0;
    /// The answer to a query. Throws BUnsupportedCapabilityException for one that is not known, and
    /// BNotOpenException.
    virtual BParamList QueryInfo(BString const& query) = 0;
    virtual bool IsOpen() = 0;
    /// The rectangle of all data: the answer to QUERY_DATA_EXTENTS, empty where there is none.
    virtual BRect GetMBR();
    /// The same with the Z range of the layers that have one.
    virtual BBox GetMBB();
    /// What the options say about the disk cache.
    virtual bool UsingDiskCache() const;
    /// Empty: the disk cache chooses a place.
    virtual BString GetDiskCacheBaseName();
    /// Features in a page.
    virtual int GetDiskCachePageSize() const;

protected:
    /// Tells the observer; true when there is none. False means stop.
    virtual bool ReportProgress(unsigned int done, unsigned int total);

public:
    /// The format that it serves, such as DS_SHP.
    BString const& GetFormat() const noexcept { return format; }
    /// The layers of the opened source, in the order of its files.
    BLayers const& GetLayers() const noexcept { return layers; }
    EStatus GetStatus() const noexcept { return status; }
    /// The outcome of the last Open or Read: an EReadResult.
    std::int32_t GetReadResult() const noexcept { return readResult; }
    /// Sets the observer of reads, not owned; null for none.
    void SetProgress(BProgress* observer) noexcept { progress = observer; }
    /// What the host gave when the object was created.
    BCoordSysRepository* GetRepository() const noexcept { return repository; }
    BLogger* GetLogger() const noexcept { return logger; }

    /// The rectangle in the answer to QUERY_DATA_EXTENTS: the entries "XMin", "YMin", "XMax" and
    /// "YMax". An empty one where they are missing.
    static BRect ExtentsOf(BParamList const& answer);

protected:
    BDataManager(BString const& formatName, BParamList const& readOptions);

    void SetStatus(EStatus value) noexcept { status = value; }
    BParamList MakeExtentsParamList(BRect const& rectangle) const;

    BLayers layers;
    EStatus status = STATUS_READY;
    std::int32_t readResult = READ_OK;
    BProgress* progress = nullptr;
    BParamList options;

private:
    friend class BDataManagerProxy;

    BString format;
    BCoordSysRepository* repository = nullptr;
    BLogger* logger = nullptr;
};

/// Base of data managers that read.
class AMBREL_API BDataReader : public BDataManager {
public:
    ~BDataReader() override;
    /// Fills the layers. Throws BNotOpenException, and what the format throws.
    virtual void Read() = 0;

protected:
    using BDataManager::BDataManager;

    /// The data files that a name given to Open stands for: BFileUtilities::ListFiles.
    std::vector<BString> MakeFileList(BString const& name, BString const& extension,
                                      BParamList const& params) const;
};

/// Base of readers of features.
class AMBREL_API BVectorDataReader : public BDataReader {
public:
    ~BVectorDataReader() override;

    /// Opens the files that the name stands for. Throws BAlreadyOpenException
    /// ("BVectorDataReader::Open", the name) when the reader is open; otherwise starts from empty
    /// layers, and throws what the format's reader throws.
    void Open(BString const& fileName, BParamList const& params) override;
    void Close() override;
    void Read() override;

protected:
    BVectorDataReader(BString const& format, BParamList const& options);

    /// Whether the host wants features left in the file and reached on demand.
    bool UseDirectAccessFeatureCollection() const;

    virtual void OpenImpl(BString const& fileName, BParamList const& params) = 0;
    virtual void CloseImpl() = 0;
    virtual void ReadImpl() = 0;

public:
    /// Back to STATUS_READY.
    virtual void ResetStatus() = 0;
};

} // namespace Ambrel
