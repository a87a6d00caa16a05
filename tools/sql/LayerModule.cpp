// The virtual table of SQLite that a layer is: its operations as SQLite calls them. Nothing that
// is thrown goes through SQLite; it is kept until the statement has ended.

#include "sql/LayerModule.h"

#include "sql/Database.h"
#include "sql/JoinIndex.h"
#include "sql/ScanPlan.h"

#include <charconv>
#include <string_view>

#include <sqlite3.h>

namespace Ambrel::Tool {

namespace {

struct VirtualTable : sqlite3_vtab {
    LayerCatalogue* catalogue = nullptr;
    LayerTable* table = nullptr;
};

/// Goes through the rows that a plan finds.
struct Cursor : sqlite3_vtab_cursor {
    LayerTable* table = nullptr;
    LayerCatalogue* catalogue = nullptr;
    ScanPlan plan;
    bool isComplete = false; ///< whether rows need attributes

    std::vector<std::uint64_t> picked; ///< the records, where an area has picked them
    bool isPicked = false;
    std::uint64_t next = 0; ///< record, or position in `picked`
    std::uint64_t end = 0;
    std::uint64_t record = 0; ///< of the row
    BSharedPtr<BFeature> feature;

    JoinIndex* index = nullptr; ///< set where the rows come from it
    std::unique_ptr<Statement> lookUp;
    std::string lookUpPlan; ///< that the statement was made for
    SqlValue key;

    bool isAtEnd = true;
};

Cursor& CursorOf(sqlite3_vtab_cursor* cursor) {
    return *static_cast<Cursor*>(cursor);
}

template <class Action>
int Kept(LayerCatalogue& catalogue, Action&& action) noexcept {
    try {
        action();
        return SQLITE_OK;
    } catch (...) {
        catalogue.failure = std::current_exception();
        return SQLITE_ERROR;
    }
}

int Connect(sqlite3* database, void* context, int, char const* const* words, sqlite3_vtab** result,
            char**) {
    auto& catalogue = *static_cast<LayerCatalogue*>(context);
    return Kept(catalogue, [&] {
        std::string_view const word(words[3]); // behind module, database and table
        std::size_t position = 0;
        std::from_chars(word.data(), word.data() + word.size(), position);
        auto made = std::make_unique<VirtualTable>();
        made->catalogue = &catalogue;
        made->table = catalogue.tables.at(position).get();
        if (sqlite3_declare_vtab(database, made->table->Declaration().c_str()) != SQLITE_OK) {
            throw SqlException(database);
        }
        *result = made.release();
    });
}

int Disconnect(sqlite3_vtab* table) {
    delete static_cast<VirtualTable*>(table);
    return SQLITE_OK;
}

int BestIndex(sqlite3_vtab* table, sqlite3_index_info* question) {
    auto& self = *static_cast<VirtualTable*>(table);
    return Kept(*self.catalogue, [&] { ChoosePlan(*self.table, *question); });
}

int Open(sqlite3_vtab* table, sqlite3_vtab_cursor** result) {
    auto& self = *static_cast<VirtualTable*>(table);
    return Kept(*self.catalogue, [&] {
        auto cursor = std::make_unique<Cursor>();
        cursor->table = self.table;
        cursor->catalogue = self.catalogue;
        *result = cursor.release();
    });
}

int Close(sqlite3_vtab_cursor* cursor) {
    delete static_cast<Cursor*>(cursor);
    return SQLITE_OK;
}

/// The next row that can be delivered.
void Advance(Cursor& cursor) {
    if (cursor.index) {
        cursor.isAtEnd = !cursor.lookUp->Step();
        if (!cursor.isAtEnd) {
            cursor.record = static_cast<std::uint64_t>(cursor.lookUp->Integer(0));
        }
        return;
    }
    cursor.isAtEnd = true;
    while (cursor.isAtEnd && cursor.next < cursor.end) {
        cursor.record = cursor.isPicked ? cursor.picked[cursor.next] : cursor.next;
        ++cursor.next;
        cursor.feature = cursor.table->Fetch(cursor.record, cursor.isComplete);
        cursor.isAtEnd = !cursor.feature;
    }
}

/// The value that rows are looked up by, where the index compares it as SQL does: text with text,
/// numbers with numbers.
/// Others are compared by SQLite, after a scan.
bool TakeKey(Cursor& cursor, sqlite3_value* value) {
    bool const isText = std::string_view(cursor.table->TypeOf(*cursor.plan.keyColumn)) == "TEXT";
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER: cursor.key = sqlite3_value_int64(value); return !isText;
    case SQLITE_FLOAT: cursor.key = sqlite3_value_double(value); return !isText;
    case SQLITE_TEXT: {
        auto const* const text = reinterpret_cast<char const*>(sqlite3_value_text(value));
        auto const size = static_cast<std::size_t>(sqlite3_value_bytes(value));
        cursor.key = std::string(text, size);
        return isText;
    }
    default: return false;
    }
}

void StartLookUp(Cursor& cursor, std::string const& plan, sqlite3_value* value) {
    if (!TakeKey(cursor, value)) {
        return;
    }
    JoinIndex* const index =
        cursor.table->IndexFor(plan, *cursor.plan.keyColumn, cursor.plan.columns);
    if (!index) {
        return;
    }
    if (!cursor.lookUp || cursor.lookUpPlan != plan) {
        cursor.lookUp = index->MakeLookUp();
        cursor.lookUpPlan = plan;
    }
    sqlite3_reset(cursor.lookUp->Handle());
    BindValue(*cursor.lookUp, 1, cursor.key);
    cursor.index = index;
}

void StartScan(Cursor& cursor, sqlite3_value** values) {
    ScanRange const range(*cursor.table, cursor.plan, values);
    cursor.isPicked = range.area.has_value();
    cursor.next = range.first;
    cursor.end = range.end;
    if (cursor.isPicked) {
        cursor.picked = cursor.table->RecordsIn(*range.area);
        std::erase_if(cursor.picked, [&](std::uint64_t record) {
            return record < range.first || record >= range.end;
        });
        cursor.next = 0;
        cursor.end = cursor.picked.size();
    }
}

int Filter(sqlite3_vtab_cursor* handle, int, char const* text, int, sqlite3_value** values) {
    Cursor& cursor = CursorOf(handle);
    return Kept(*cursor.catalogue, [&] {
        cursor.plan = ScanPlan::FromText(text);
        cursor.isComplete = cursor.table->NeedsAttributes(cursor.plan.columns);
        cursor.index = nullptr;
        if (cursor.plan.keyColumn && sqlite3_value_type(values[0]) == SQLITE_NULL) {
            cursor.isAtEnd = true; // nothing equals it
            return;
        }
        if (cursor.plan.keyColumn) {
            StartLookUp(cursor, text, values[0]);
        }
        if (!cursor.index) {
            StartScan(cursor, values);
        }
        Advance(cursor);
    });
}

int Next(sqlite3_vtab_cursor* handle) {
    Cursor& cursor = CursorOf(handle);
    return Kept(*cursor.catalogue, [&] { Advance(cursor); });
}

int Eof(sqlite3_vtab_cursor* cursor) {
    return CursorOf(cursor).isAtEnd ? 1 : 0;
}

int Column(sqlite3_vtab_cursor* handle, sqlite3_context* context, int column) {
    Cursor& cursor = CursorOf(handle);
    return Kept(*cursor.catalogue, [&] {
        if (cursor.index) {
            sqlite3_result_value(context, sqlite3_column_value(cursor.lookUp->Handle(),
                                                               cursor.index->PlaceOf(column)));
        } else {
            SetResult(context, cursor.table->ValueOf(cursor.record, *cursor.feature, column));
        }
    });
}

int RowId(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
    *id = static_cast<sqlite3_int64>(CursorOf(cursor).record);
    return SQLITE_OK;
}

sqlite3_module MakeModule() {
    sqlite3_module module = {};
    module.xCreate = Connect;
    module.xConnect = Connect;
    module.xBestIndex = BestIndex;
    module.xDisconnect = Disconnect;
    module.xDestroy = Disconnect;
    module.xOpen = Open;
    module.xClose = Close;
    module.xFilter = Filter;
    module.xNext = Next;
    module.xEof = Eof;
    module.xColumn = Column;
    module.xRowid = RowId;
    return module;
}

} // namespace

void RegisterLayerModule(Database& database, LayerCatalogue& catalogue) {
    static sqlite3_module const module = MakeModule();
    if (sqlite3_create_module_v2(database.Handle(), "ambrel", &module, &catalogue, nullptr) !=
        SQLITE_OK) {
        throw SqlException(database.Handle());
    }
}

} // namespace Ambrel::Tool
