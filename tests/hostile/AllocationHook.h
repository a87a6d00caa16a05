#pragma once

#include <cstddef>
#include <cstdint>

/// This executable's operator new counts what it gives, and can be told to fail once.
namespace Ambrel::Test::Allocations {

/// Blocks that have been given and not taken back.
std::int64_t LiveBlocks() noexcept;

/// The `number`th allocation from now on fails, once; 0 for none. With and without exceptions.
void FailAt(std::uint64_t number) noexcept;
/// Whether it has been reached. Nothing fails any more.
bool StopFailing() noexcept;

/// The most bytes that were in use at once since it was made, over those that were then.
class Peak {
public:
    Peak() noexcept;
    std::size_t Bytes() const noexcept;

private:
    std::size_t before;
};

} // namespace Ambrel::Test::Allocations
