#include "ShpReader/writing/StagedFiles.h"

#include "Ambrel/BFileUtilities.h"

#include <QCoreApplication>
#include <QFile>

namespace Ambrel {

namespace {

BString FindFreeName(BString const& target, char const* extension) {
    long long const process = QCoreApplication::applicationPid();
    for (int number = 0;; ++number) {
        BString name = BString::Format("%s.%lld-%d.%s", target.Ascii(), process, number, extension);
        if (!QFile::exists(MakeQString(name))) {
            return name;
        }
    }
}

/// Both names are in one folder; nothing has the second.
bool Rename(BString const& from, BString const& to) {
    return QFile::rename(MakeQString(from), MakeQString(to));
}

} // namespace

StagedFiles::~StagedFiles() {
    for (File const& file : files) {
        if (!file.isPlaced && !file.temporary.IsEmpty()) {
            BFileUtilities::Delete(file.temporary);
        }
    }
}

BString StagedFiles::Add(BString const& target) {
    files.push_back({target, FindFreeName(target, "tmp"), BString()});
    return files.back().temporary;
}

void StagedFiles::AddRemoval(BString const& target) {
    files.push_back({target, BString(), BString()});
}

BString StagedFiles::PutInPlace() {
    for (File& file : files) {
        file.isPlaced =
            SetAside(file) && (file.temporary.IsEmpty() || Rename(file.temporary, file.target));
        if (!file.isPlaced) {
            BString const failed = file.target;
            Undo();
            return failed;
        }
    }
    for (File const& file : files) {
        if (!file.former.IsEmpty()) {
            BFileUtilities::Delete(file.former);
        }
    }
    return {};
}

bool StagedFiles::SetAside(File& file) {
    if (!QFile::exists(MakeQString(file.target))) {
        return true;
    }
    BString const former = FindFreeName(file.target, "old");
    if (!BFileUtilities::MayBeWritten(file.target) || !Rename(file.target, former)) {
        return false;
    }
    file.former = former;
    return true;
}

void StagedFiles::Undo() {
    for (File& file : files) {
        if (file.isPlaced && !file.temporary.IsEmpty()) {
            BFileUtilities::Delete(file.target);
        }
        if (!file.former.IsEmpty()) {
            Rename(file.former, file.target);
            file.former = BString();
        }
    }
}

} // namespace Ambrel
