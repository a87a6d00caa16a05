#pragma once

#include "sql/LayerTable.h"

#include <exception>
#include <memory>
#include <vector>

namespace Ambrel::Tool {

class Database;

/// The layers that a connection has as tables. It must outlive the connection's statements.
struct LayerCatalogue {
    std::vector<std::unique_ptr<LayerTable>> tables;
    /// What a table has thrown while SQLite was asking it.
    std::exception_ptr failure;
};

/// Lets the connection know the module "ambrel", whose one argument is a table's position in the
/// catalogue.
void RegisterLayerModule(Database& database, LayerCatalogue& catalogue);

} // namespace Ambrel::Tool
