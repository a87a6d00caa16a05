#pragma once

#include "Ambrel/BString.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Ambrel::Fuzz {

/// A folder in memory, one for each process, that every execution uses again. It goes with the
/// process when that ends by itself.
class Scratch {
public:
    /// The process's folder. Made at the first call, which also silences the logger.
    static Scratch const& Instance();

    std::string Path(std::string const& name) const { return folder + name; }
    BString File(std::string const& name) const { return BString::FromUtf8(Path(name)); }
    /// Replaces the file's bytes.
    void Write(std::string const& name, std::uint8_t const* bytes, std::size_t size) const;
    void Remove(std::string const& name) const;

    Scratch(Scratch const&) = delete;
    Scratch& operator=(Scratch const&) = delete;

private:
    Scratch();
    ~Scratch();

    std::string folder;
};

} // namespace Ambrel::Fuzz
