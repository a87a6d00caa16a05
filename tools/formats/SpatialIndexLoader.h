#pragma once

#include "sql/Database.h"

#include "Ambrel/BRect.h"

#include <array>
#include <memory>
#include <vector>

namespace Ambrel::Tool {

/// Fills a new R-tree of SQLite. One rectangle after the other costs a walk down the tree for each;
/// here the first million of them (24 bytes each) are kept and laid into full nodes along a
/// Hilbert curve, which is many times as fast, and only further ones are inserted.
///
/// The nodes are written as SQLite's R-tree module documents them in its source: a blob for each in
/// big-endian order, with its depth (of the root alone) and its count in two bytes each, and its
/// cells: an id in 8 bytes and the bounds as 32-bit floating point numbers, rounded outwards.
class SpatialIndexLoader final {
public:
    /// Creates the R-tree. Throws SqlException, as every operation does.
    SpatialIndexLoader(Database& targetDatabase, std::string const& indexName);

    void Add(std::uint32_t id, BRect const& rectangle);
    /// Writes what waits.
    void Finish();

private:
    struct Cell {
        std::array<float, 4> bounds; ///< x from, x to, y from, y to
        std::uint32_t id;            ///< of a feature or a node
        std::uint32_t place;         ///< on the curve; then the node
    };
    using Cells = std::vector<Cell>;

    void SortAlongCurve();
    void WriteTree();
    Cells WriteLevel(Cells& cells, std::uint32_t depth);
    void WriteNode(std::uint32_t number, Cell const* cells, std::size_t count, std::uint32_t depth);
    void WriteOwners(char const* table, Cells const& cells);
    std::string TableOf(char const* suffix) const { return QuotedName(name + suffix); }

    Database& database;
    std::string name;
    Cells waiting;
    std::uint32_t nodes = 1; ///< the first is the root
    std::size_t nodeSize = 0;
    std::unique_ptr<Statement> nodeInsertion;
    std::unique_ptr<Statement> insertion; ///< set once the first have been laid out
};

} // namespace Ambrel::Tool
