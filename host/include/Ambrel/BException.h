#pragma once

#include "Ambrel/BString.h"

#include <exception>

namespace Ambrel {

/// The category of everything that is thrown by the host and its plug-ins.
inline constexpr char const* exceptionCategory = "Ambrel Exception";

/// Base of all failures that the host and its plug-ins report.
class AMBREL_API BException : public std::exception {
public:
    BException(BString const& categoryName, BString const& operationName,
               BString const& messageText)
        : category(categoryName), operation(operationName), message(messageText) {}
    BException(BException const&) noexcept = default;
    BException& operator=(BException const&) noexcept = default;
    ~BException() override;

    /// The message as UTF-8; valid while the exception lives.
    char const* what() const noexcept override { return message.Ascii(); }
    /// exceptionCategory.
    BString const& GetCategory() const noexcept { return category; }
    /// Where it happened: class name, two colons, operation name.
    BString const& GetOperation() const noexcept { return operation; }
    /// What is wrong, often a file name.
    BString const& GetMessage() const noexcept { return message; }
    /// Why the system refused to open a file, as errno has it (ENOENT, EMFILE, …); 0 where the
    /// exception does not come from the system.
    int GetReason() const noexcept { return reason; }
    void SetReason(int errorNumber) noexcept { reason = errorNumber; }
    /// The name of the exception's class.
    virtual char const* GetClassName() const noexcept;

private:
    BString category;
    BString operation;
    BString message;
    int reason = 0;
};

/// Declares a failure that is built from the operation and the message alone; its category is
/// exceptionCategory.
#define AMBREL_DECLARE_EXCEPTION(Class, Base)                                                      \
    class AMBREL_API Class : public Base {                                                         \
    public:                                                                                        \
        Class(BString const& operationName, BString const& messageText);                           \
        Class(Class const&) noexcept = default;                                                    \
        Class& operator=(Class const&) noexcept = default;                                         \
        ~Class() override;                                                                         \
        char const* GetClassName() const noexcept override;                                        \
    }

/// Base of the failures of data managers; a handler for it catches them all.
AMBREL_DECLARE_EXCEPTION(BDataManagerException, BException);
/// An operation on a reader or a table that is not open.
AMBREL_DECLARE_EXCEPTION(BNotOpenException, BDataManagerException);
/// Something that this kind of object cannot do.
AMBREL_DECLARE_EXCEPTION(BUnsupportedCapabilityException, BDataManagerException);
/// A resource, memory above all, that could not be had.
AMBREL_DECLARE_EXCEPTION(BResourceException, BException);
/// An object that is open already.
AMBREL_DECLARE_EXCEPTION(BAlreadyOpenException, BDataManagerException);
/// An operation in the wrong file mode.
AMBREL_DECLARE_EXCEPTION(BReadWriteMismatchException, BDataManagerException);
/// A file that is missing or does not open.
AMBREL_DECLARE_EXCEPTION(BFileNotFoundException, BDataManagerException);
/// A malformed file.
AMBREL_DECLARE_EXCEPTION(BFileContentNotValidException, BDataManagerException);
/// An index that is not below the count.
AMBREL_DECLARE_EXCEPTION(BIndexOutOfBoundsException, BException);
/// Attribute values that cannot be found, converted or written.
AMBREL_DECLARE_EXCEPTION(BAttributeDataException, BDataManagerException);
/// A geometry of a kind that cannot be decoded or drawn.
AMBREL_DECLARE_EXCEPTION(BUnknownGeometryException, BDataManagerException);

#undef AMBREL_DECLARE_EXCEPTION

} // namespace Ambrel
