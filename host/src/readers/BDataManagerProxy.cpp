#include "Ambrel/BDataManagerProxy.h"

#include "Ambrel/BException.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>

namespace Ambrel {

namespace {

/// Gives the reader back to the proxy that has made it.
struct DestroyReader {
    BDataManagerProxy* proxy;
    void operator()(BDataReader* reader) const { proxy->DestroyObject(reader); }
};

} // namespace

BDataManagerProxy::~BDataManagerProxy() = default;

bool BDataManagerProxy::CanRead(BString& fileName, BParamList const& params) {
    try {
        std::unique_ptr<BDataReader, DestroyReader> const reader(
            CreateReader(fileName, params, nullptr, nullptr), DestroyReader{this});
        if (!reader) {
            return false;
        }
        reader->Open(fileName, params);
        bool const hasLayers = reader->GetLayers().GetCount() > 0;
        reader->Close();
        return hasLayers;
    } catch (std::exception const&) {
        return false;
    }
}

bool BDataManagerProxy::CanWrite(BString const&, BParamList const&) {
    return false;
}

bool BDataManagerProxy::CanWrite(BString const&) {
    return false;
}

BDataManager* BDataManagerProxy::CreateWriter(BString const& fileName, BParamList const&,
                                              BCoordSysRepository*, BLogger*) {
    throw BUnsupportedCapabilityException(
        "BDataManagerProxy::CreateWriter",
        BString::Format("No writer can be made for %s", fileName.Ascii()));
}

void BDataManagerProxy::DestroyObject(BDataManager* object) {
    delete object;
}

BString BDataManagerProxy::MakeTempInputFileName(BString const& fileName,
                                                 std::vector<BString>& names) {
    QString const unique = QUuid::createUuid().toString(QUuid::WithoutBraces);
    QString const last = QFileInfo(MakeQString(fileName)).fileName();
    names.push_back(BString::FromQString(QDir::tempPath() + QStringLiteral("/Ambrel-") + unique +
                                         QLatin1Char('-') + last));
    return names.back();
}

void BDataManagerProxy::Initialize(BDataManager* object, BCoordSysRepository* repository,
                                   BLogger* logger) {
    object->repository = repository;
    object->logger = logger;
}

} // namespace Ambrel
