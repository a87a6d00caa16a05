#pragma once

#include "Ambrel/BDataManager.h"

namespace Ambrel {

/// A plug-in's face to the host: tells what it serves and makes readers and writers.
/// The order of the virtual functions is part of the interface.
class AMBREL_API BDataManagerProxy {
public:
    BDataManagerProxy() noexcept = default;
    BDataManagerProxy(BDataManagerProxy const&) = delete;
    BDataManagerProxy& operator=(BDataManagerProxy const&) = delete;
    virtual ~BDataManagerProxy();

    /// Whether a reader made by this proxy opens the file. It is tried out; nothing is thrown.
    virtual bool CanRead(BString& fileName, BParamList const& params);
    /// Whether the plug-in serves the format, such as DS_SHP.
    virtual bool SupportsFormat(BString const& format) = 0;
    /// Whether the plug-in writes the format. False, unless a plug-in says otherwise.
    virtual bool CanWrite(BString const& format, BParamList const& params);
    virtual bool CanWrite(BString const& format);
    /// A new, unopened reader, owned by the caller.
    virtual BDataReader* CreateReader(BString const& fileName, BParamList const& params,
                                      BCoordSysRepository* repository, BLogger* logger) = 0;
    /// Throws BUnsupportedCapabilityException, unless a plug-in says otherwise.
    virtual BDataManager* CreateWriter(BString const& fileName, BParamList const& params,
                                       BCoordSysRepository* repository, BLogger* logger);
    /// Deletes what this proxy has made.
    virtual void DestroyObject(BDataManager* object);
    /// A name for a temporary copy of the input: a fresh path in the folder for temporary files
    /// with the name's own last part. It is added to the list.
    virtual BString MakeTempInputFileName(BString const& fileName, std::vector<BString>& names);

protected:
    /// Gives a new object what the host hands to every one.
    void Initialize(BDataManager* object, BCoordSysRepository* repository, BLogger* logger);
};

} // namespace Ambrel
