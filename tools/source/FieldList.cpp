#include "source/FieldList.h"

#include "terminal/Console.h"

#include <QString>

#include <sstream>

namespace Ambrel::Tool {

namespace {

std::string NamesOf(BAttributeDefs const& schema) {
    std::string names;
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        names += (i > 0 ? ", " : "") + std::string(schema.GetAt(i).name.Utf8());
    }
    return names;
}

std::uint64_t PositionOf(std::string const& name, BAttributeDefs const& schema) {
    QString const wanted = QString::fromStdString(name).trimmed();
    for (Qt::CaseSensitivity const sensitivity : {Qt::CaseSensitive, Qt::CaseInsensitive}) {
        for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
            if (wanted.compare(MakeQString(schema.GetAt(i).name), sensitivity) == 0) {
                return i;
            }
        }
    }
    throw UsageException("--fields: there is no field " + name + "; there are: " + NamesOf(schema));
}

} // namespace

FieldList::FieldList(std::string const& text, BAttributeDefs const& schema)
    : isWhole(text.empty()) {
    std::istringstream names(text);
    for (std::string name; std::getline(names, name, ',');) {
        columns.push_back(PositionOf(name, schema));
    }
    for (std::uint64_t i = 0; text.empty() && i < schema.GetCount(); ++i) {
        bool const hasWidth = schema.GetAt(i).width > 0;
        isWhole = isWhole && hasWidth;
        if (hasWidth) {
            columns.push_back(i);
        }
    }
    for (std::uint64_t const column : columns) {
        chosen.Add(schema.GetAt(column));
    }
}

void FieldList::Choose(BAttributes& attributes) const {
    if (isWhole) {
        return;
    }
    BAttributes wanted;
    wanted.Reserve(columns.size());
    for (std::uint64_t const column : columns) {
        if (column < attributes.GetCount()) {
            wanted.Add(attributes.GetAt(column));
        }
    }
    attributes = std::move(wanted);
}

} // namespace Ambrel::Tool
