#pragma once

#include <Ambrel/BException.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <typeinfo>

namespace Ambrel {

/// Lets a failing comparison print texts.
inline void PrintTo(BString const& text, std::ostream* out) {
    *out << '"' << text.Ascii() << '"';
}

} // namespace Ambrel

namespace Ambrel::Test {

inline std::string Describe(std::string const& className, BString const& operation,
                            BString const& message) {
    return className + " in " + operation.Ascii() + ": " + message.Ascii();
}

/// Whether the action throws exactly this class, not one derived from it, as described. A
/// description that ends with "*" leaves open how the message goes on.
template <class Class, class Action>
testing::AssertionResult Throws(Action action, std::string const& expected) {
    std::string thrown = "nothing";
    try {
        action();
    } catch (BException const& failure) {
        thrown = Describe(failure.GetClassName(), failure.GetOperation(), failure.GetMessage());
        bool const isOpen = expected.ends_with('*');
        if (typeid(failure) == typeid(Class) &&
            (isOpen ? thrown.starts_with(expected.substr(0, expected.size() - 1))
                    : thrown == expected)) {
            return testing::AssertionSuccess();
        }
    } catch (std::exception const& failure) {
        thrown = failure.what();
    }
    return testing::AssertionFailure() << "threw " << thrown << "\ninstead of " << expected;
}

} // namespace Ambrel::Test

/// Expects the statement to throw exactly `Class`, with this operation and message; one that ends
/// with "*" may go on in any way.
#define EXPECT_BEXCEPTION(statement, Class, operation, message)                                    \
    EXPECT_TRUE(::Ambrel::Test::Throws<Class>(                                                     \
        [&] { statement; }, ::Ambrel::Test::Describe(#Class, operation, message)))
