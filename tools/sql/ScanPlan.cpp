#include "sql/ScanPlan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include <sqlite3.h>

namespace Ambrel::Tool {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

struct ArgumentRule {
    LayerTable::HiddenColumn column;
    char ifEqual;
    char ifAbove; ///< the column's value is at least the constraint's
    char ifBelow;
};
/// A rectangle that begins right of a line ends right of it too, so both bounds narrow the area.
constexpr ArgumentRule rules[] = {
    {LayerTable::Record, ScanPlan::RecordIs, ScanPlan::RecordFrom, ScanPlan::RecordTo},
    {LayerTable::XMin, ScanPlan::AtX, ScanPlan::RightOf, ScanPlan::LeftOf},
    {LayerTable::XMax, ScanPlan::AtX, ScanPlan::RightOf, ScanPlan::LeftOf},
    {LayerTable::YMin, ScanPlan::AtY, ScanPlan::Above, ScanPlan::Below},
    {LayerTable::YMax, ScanPlan::AtY, ScanPlan::Above, ScanPlan::Below},
};

/// What the constraint is for in a plan; 0 for nothing.
char ArgumentFor(LayerTable const& table, int column, int operation) {
    LayerTable::HiddenColumn const hidden =
        column < 0 ? LayerTable::Record : table.HiddenAt(column);
    auto const* const rule =
        std::find_if(std::begin(rules), std::end(rules),
                     [=](ArgumentRule const& r) { return r.column == hidden; });
    if (rule == std::end(rules)) {
        return 0;
    }
    switch (operation) {
    case SQLITE_INDEX_CONSTRAINT_EQ: return rule->ifEqual;
    case SQLITE_INDEX_CONSTRAINT_GT:
    case SQLITE_INDEX_CONSTRAINT_GE: return rule->ifAbove;
    case SQLITE_INDEX_CONSTRAINT_LT:
    case SQLITE_INDEX_CONSTRAINT_LE: return rule->ifBelow;
    default: return 0;
    }
}

/// Whether the constraint compares a field with a value that is another one each time: a constant
/// is met by one scan.
bool IsJoin(LayerTable const& table, sqlite3_index_info& question, int constraint) {
    auto const& asked = question.aConstraint[constraint];
    sqlite3_value* constant = nullptr;
    return asked.iColumn >= 0 && asked.iColumn < table.FieldCount() &&
           asked.op == SQLITE_INDEX_CONSTRAINT_EQ &&
           sqlite3_vtab_rhs_value(&question, constraint, &constant) != SQLITE_OK &&
           sqlite3_stricmp(sqlite3_vtab_collation(&question, constraint), "BINARY") == 0;
}

void Use(sqlite3_index_info& question, int constraint, ScanPlan& plan, char argument) {
    plan.arguments += argument;
    question.aConstraintUsage[constraint].argvIndex = static_cast<int>(plan.arguments.size());
}

/// The constraint that settles the plan alone, if there is one.
bool UseBest(LayerTable const& table, sqlite3_index_info& question, ScanPlan& plan) {
    for (int i = 0; i < question.nConstraint; ++i) {
        auto const& asked = question.aConstraint[i];
        if (asked.usable && ArgumentFor(table, asked.iColumn, asked.op) == ScanPlan::RecordIs) {
            Use(question, i, plan, ScanPlan::RecordIs);
            question.idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
            question.estimatedRows = 1;
            question.estimatedCost = 2;
            return true;
        }
    }
    for (int i = 0; i < question.nConstraint; ++i) {
        if (question.aConstraint[i].usable && IsJoin(table, question, i)) {
            Use(question, i, plan, ScanPlan::Key);
            plan.keyColumn = question.aConstraint[i].iColumn;
            question.estimatedRows = 10;
            question.estimatedCost = 20;
            return true;
        }
    }
    return false;
}

void UseAll(LayerTable const& table, sqlite3_index_info& question, ScanPlan& plan) {
    double share = 1;
    for (int i = 0; i < question.nConstraint; ++i) {
        auto const& asked = question.aConstraint[i];
        char const argument = asked.usable ? ArgumentFor(table, asked.iColumn, asked.op) : '\0';
        if (argument) {
            Use(question, i, plan, argument);
            share /= 3;
        }
    }
    auto const count = static_cast<double>(table.Count());
    double const rows = std::max(count * share, 1.0);
    question.estimatedRows = static_cast<sqlite3_int64>(rows);
    // Looking at the rectangles of all records costs a tenth of fetching them.
    question.estimatedCost = rows + (plan.arguments.empty() ? 0 : count / 10) + 10;
}

/// Every plan gives the records in their order.
void TellOrder(LayerTable const& table, sqlite3_index_info& question) {
    if (question.nOrderBy == 1 && !question.aOrderBy[0].desc) {
        int const column = question.aOrderBy[0].iColumn;
        question.orderByConsumed =
            column < 0 || table.HiddenAt(column) == LayerTable::Record ? 1 : 0;
    }
}

bool IsNumber(sqlite3_value* value) {
    int const type = sqlite3_value_type(value);
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

} // namespace

std::string ScanPlan::Text() const {
    return std::to_string(columns) + "," + std::to_string(keyColumn.value_or(-1)) + "," + arguments;
}

ScanPlan ScanPlan::FromText(std::string const& text) {
    ScanPlan plan;
    char const* const end = text.data() + text.size();
    char const* const comma = std::from_chars(text.data(), end, plan.columns).ptr;
    int key = -1;
    char const* const next = std::from_chars(comma + 1, end, key).ptr;
    plan.keyColumn = key < 0 ? std::nullopt : std::optional(key);
    plan.arguments.assign(next + 1, end);
    return plan;
}

void ChoosePlan(LayerTable const& table, sqlite3_index_info& question) {
    ScanPlan plan;
    plan.columns = question.colUsed;
    if (!UseBest(table, question, plan)) {
        UseAll(table, question, plan);
    }
    TellOrder(table, question);
    question.idxStr = sqlite3_mprintf("%s", plan.Text().c_str());
    question.needToFreeIdxStr = 1;
}

ScanRange::ScanRange(LayerTable const& table, ScanPlan const& plan, sqlite3_value** values)
    : end(table.Count()) {
    for (std::size_t i = 0; i < plan.arguments.size(); ++i) {
        // Other values compare in ways of their own, which is left to SQLite.
        if (IsNumber(values[i])) {
            Narrow(plan.arguments[i], sqlite3_value_double(values[i]));
        }
    }
}

void ScanRange::Narrow(char argument, double bound) {
    auto const clamped = [this](double value) {
        return static_cast<std::uint64_t>(std::clamp(value, 0.0, static_cast<double>(end)));
    };
    switch (argument) {
    case ScanPlan::RecordIs:
    case ScanPlan::RecordFrom:
        first = std::max(first, clamped(std::floor(bound)));
        if (argument == ScanPlan::RecordFrom) {
            return;
        }
        [[fallthrough]];
    case ScanPlan::RecordTo: end = std::min(end, clamped(std::ceil(bound) + 1)); return;
    case ScanPlan::Key: return;
    default: break;
    }
    if (!area) {
        area = BRect(-infinity, -infinity, infinity, infinity);
    }
    bool const isAtX = argument == ScanPlan::AtX;
    bool const isAtY = argument == ScanPlan::AtY;
    area->xMin = isAtX || argument == ScanPlan::RightOf ? std::max(area->xMin, bound) : area->xMin;
    area->xMax = isAtX || argument == ScanPlan::LeftOf ? std::min(area->xMax, bound) : area->xMax;
    area->yMin = isAtY || argument == ScanPlan::Above ? std::max(area->yMin, bound) : area->yMin;
    area->yMax = isAtY || argument == ScanPlan::Below ? std::min(area->yMax, bound) : area->yMax;
}

} // namespace Ambrel::Tool
