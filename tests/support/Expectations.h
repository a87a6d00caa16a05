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
    return className + " (\"" + operation.Ascii() + "\", \"" + message.Ascii() + "\")";
}

/// Whether the action throws exactly this class, not one derived from it, with this operation and
/// message.
template <class Class, class Action>
testing::AssertionResult Throws(Action action, char const* className, BString const& operation,
                                BString const& message) {
    try {
        action();
    } catch (BException const& failure) {
        if (typeid(failure) == typeid(Class) && failure.GetOperation() == operation &&
            failure.GetMessage() == message) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure()
               << "threw "
               << Describe(failure.GetClassName(), failure.GetOperation(), failure.GetMessage())
               << "\ninstead of " << Describe(className, operation, message);
    } catch (std::exception const& failure) {
        return testing::AssertionFailure()
               << "threw " << typeid(failure).name() << ": " << failure.what();
    }
    return testing::AssertionFailure() << "threw nothing";
}

} // namespace Ambrel::Test

/// Expects the statement to throw exactly `Class`, with this operation and message.
#define EXPECT_BEXCEPTION(statement, Class, operation, message)                                    \
    EXPECT_TRUE(::Ambrel::Test::Throws<Class>([&] { statement; }, #Class, operation, message))
