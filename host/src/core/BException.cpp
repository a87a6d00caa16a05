#include "Ambrel/BException.h"

namespace Ambrel {

BException::~BException() = default;

char const* BException::GetClassName() const noexcept {
    return "BException";
}

#define AMBREL_DEFINE_EXCEPTION(Class, ...)                                                        \
    Class::Class(BString const& operationName, BString const& messageText) : __VA_ARGS__ {}        \
    Class::~Class() = default;                                                                     \
    char const* Class::GetClassName() const noexcept {                                             \
        return #Class;                                                                             \
    }                                                                                              \
    static_assert(true)

#define AMBREL_DEFINE_ROOT(Class)                                                                  \
    AMBREL_DEFINE_EXCEPTION(Class, BException(exceptionCategory, operationName, messageText))

#define AMBREL_DEFINE_DATA_MANAGER_FAILURE(Class)                                                  \
    AMBREL_DEFINE_EXCEPTION(Class, BDataManagerException(operationName, messageText))

AMBREL_DEFINE_ROOT(BDataManagerException);
AMBREL_DEFINE_ROOT(BResourceException);
AMBREL_DEFINE_ROOT(BIndexOutOfBoundsException);
AMBREL_DEFINE_DATA_MANAGER_FAILURE(BNotOpenException);
AMBREL_DEFINE_DATA_MANAGER_FAILURE(BUnsupportedCapabilityException);
AMBREL_DEFINE_DATA_MANAGER_FAILURE(BAlreadyOpenException);
AMBREL_DEFINE_DATA_MANAGER_FAILURE(BReadWriteMismatchException);
AMBREL_DEFINE_DATA_MANAGER_FAILURE(BFileNotFoundException);
AMBREL_DEFINE_DATA_MANAGER_FAILURE(BFileContentNotValidException);
AMBREL_DEFINE_DATA_MANAGER_FAILURE(BAttributeDataException);
AMBREL_DEFINE_DATA_MANAGER_FAILURE(BUnknownGeometryException);

} // namespace Ambrel
