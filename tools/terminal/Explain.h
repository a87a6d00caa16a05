#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace Ambrel::Tool {

/// What went wrong and, where that is known, what to do, in a user's words: it names files, and no
/// class or operation. What the exception does not say, a look at the file does. `file` is what was
/// worked on; empty for none.
std::string Explain(std::exception const& error, std::string_view file);

/// "CLASS: OPERATION: MESSAGE", without what is empty: what --verbose adds.
std::string Describe(std::exception const& error);

/// The one of `names` that `word` was probably meant to be; empty where none is like it.
template <class Names>
std::string LikelyOf(std::string_view word, Names const& names);

/// How many letters have to be added, left out, replaced or swapped with their neighbours to make
/// one word of the other.
std::size_t TypingErrors(std::string_view a, std::string_view b);

template <class Names>
std::string LikelyOf(std::string_view word, Names const& names) {
    std::string best;
    std::size_t fewest = word.size() / 3 + 1; // more than that is another word
    for (auto const& name : names) {
        std::size_t const errors = TypingErrors(word, name);
        if (errors <= fewest && (best.empty() || errors < fewest)) {
            fewest = errors;
            best = name;
        }
    }
    return best;
}

} // namespace Ambrel::Tool
