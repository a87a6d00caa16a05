#include "Ambrel/BFileUtilities.h"

#include "Ambrel/BLogger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextCodec>
#include <QVector>

#include <algorithm>
#include <iterator>
#include <memory>

#if defined(Q_OS_UNIX) && !defined(AMBREL_PORTABLE_FILES)
#include <dirent.h>
#endif

namespace Ambrel {

namespace {

/// Where the last part of the path starts.
int NameStart(QString const& path) {
    return QDir::fromNativeSeparators(path).lastIndexOf(QLatin1Char('/')) + 1;
}

/// Where the extension starts, with its dot; the end of the path when there is none.
int ExtensionStart(QString const& path) {
    int const dot = path.lastIndexOf(QLatin1Char('.'));
    return dot < NameStart(path) ? path.size() : dot;
}

/// Of a name that starts with a colon too, which Qt would look for among its own resources.
QString AbsolutePath(QString const& path) {
    bool const isAbsolute = QDir::isAbsolutePath(path) && !path.startsWith(QLatin1Char(':'));
    return isAbsolute ? path : QDir::currentPath() + QLatin1Char('/') + path;
}

/// Where the last ".." of the path ends; 0 when it has none.
int EndOfLastUp(QString const& path) {
    QString const ended = path + QLatin1Char('/');
    int const start = ended.lastIndexOf(QLatin1String("/../"));
    return start < 0 ? 0 : start + 3;
}

/// Where the path leads up from a link, it leads to what is above the link's target.
QString FollowUpwards(QString const& path) {
    int const size = EndOfLastUp(path);
    QString const followed = QFileInfo(path.left(size)).canonicalFilePath();
    return followed.isEmpty() ? path : followed + path.mid(size);
}

bool IsFile(QString const& path) {
    return QFileInfo(AbsolutePath(path)).isFile();
}

/// The letters in the case of those of `model` at the same place, or of its last letter.
QString InCaseOf(QString const& model, QString text) {
    bool upper = false;
    for (int i = 0; i < text.size(); ++i) {
        if (i < model.size() && model[i].isLetter()) {
            upper = model[i].isUpper();
        }
        if (i < model.size() || upper) {
            text[i] = upper ? text[i].toUpper() : text[i].toLower();
        }
    }
    return text;
}

/// The path with this extension or, where there is no such file but one whose extension differs in
/// its letter case alone, the path of that one; of several, the first by name.
QString WithExistingExtension(QString const& stem, QString const& extension) {
    if (IsFile(stem + extension)) {
        return stem + extension;
    }
    // Extensions have three letters; asking for each spelling is cheaper than listing the folder.
    constexpr int maxLetters = 6;
    int const letters = std::min(extension.size() - 1, maxLetters);
    for (int spelling = 0; spelling < (1 << std::max(letters, 0)); ++spelling) {
        QString candidate = extension.toUpper();
        for (int i = 0; i < letters; ++i) {
            if (spelling & (1 << (letters - 1 - i))) {
                candidate[1 + i] = candidate[1 + i].toLower();
            }
        }
        if (IsFile(stem + candidate)) {
            return stem + candidate;
        }
    }
    return stem + extension;
}

bool HasWildcard(QString const& name) {
    return name.contains(QLatin1Char('*')) || name.contains(QLatin1Char('?'));
}

/// Whether the whole name matches: `*` stands for any text and `?` for one character, all else for
/// itself in either letter case.
bool MatchesWildcard(QVector<uint> const& name, QVector<uint> const& wildcard) {
    int at = 0;
    int lastStar = -1; // in the wildcard, and where the name goes on behind what it stands for
    int afterStar = 0;
    for (int i = 0; i < name.size();) {
        uint const wanted = at < wildcard.size() ? wildcard[at] : 0;
        if (wanted == '*') {
            lastStar = at++;
            afterStar = i;
        } else if (wanted == '?' || QChar::toCaseFolded(wanted) == QChar::toCaseFolded(name[i])) {
            ++at;
            ++i;
        } else if (lastStar >= 0) {
            at = lastStar + 1;
            i = ++afterStar;
        } else {
            return false;
        }
    }
    return std::all_of(wildcard.begin() + at, wildcard.end(), [](uint c) { return c == '*'; });
}

#if defined(Q_OS_UNIX) && !defined(AMBREL_PORTABLE_FILES)
/// The names in the folder as the system has them; none when it cannot be listed. Neither
/// std::filesystem nor QDir will do: the first ends the process where memory runs out, the second
/// hides names that are not in the encoding of file names.
std::vector<QByteArray> RawNamesIn(QString const& folder) {
    std::vector<QByteArray> names;
    std::unique_ptr<DIR, int (*)(DIR*)> const open(opendir(QFile::encodeName(folder).constData()),
                                                   closedir);
    while (dirent const* const entry = open ? readdir(open.get()) : nullptr) {
        names.emplace_back(entry->d_name);
    }
    return names;
}
#else
std::vector<QByteArray> RawNamesIn(QString const& folder) {
    std::vector<QByteArray> names;
    for (QString const& name : QDir(folder).entryList(QDir::Files | QDir::Hidden)) {
        names.push_back(QFile::encodeName(name));
    }
    return names;
}
#endif

/// Logs a file whose name is not in the encoding of file names, so that it cannot be opened.
void WarnOfLostName(QString const& path) {
    BLogger::Instance()->WriteLine(
        LOG_WARNING, "BFileUtilities: %s is left out: its name is not %s.",
        BString::FromQString(path).Ascii(), QTextCodec::codecForLocale()->name().constData());
}

/// The regular files of the folder that match, sorted by name. What comes or goes meanwhile may be
/// among them or not.
std::vector<BString> FilesIn(QString const& folder, QString const& wildcard,
                             QString const& extension) {
    QVector<uint> const pattern = wildcard.toUcs4();
    // As in a shell: what is hidden, such as the "._roads.shp" of some systems, is not meant.
    bool const takesHidden = wildcard.startsWith(QLatin1Char('.'));
    std::vector<QString> paths;
    for (QByteArray const& raw : RawNamesIn(folder)) {
        QString const name = QFile::decodeName(raw);
        if ((name.startsWith(QLatin1Char('.')) && !takesHidden) ||
            !name.endsWith(extension, Qt::CaseInsensitive) ||
            !MatchesWildcard(name.toUcs4(), pattern)) {
            continue;
        }
        QString const path = QDir::cleanPath(folder + QLatin1Char('/') + name);
        if (QFile::encodeName(name) != raw) {
            WarnOfLostName(path);
        } else if (IsFile(path)) {
            paths.push_back(path);
        }
    }
    std::sort(paths.begin(), paths.end());
    std::vector<BString> sorted;
    sorted.reserve(paths.size());
    std::transform(paths.begin(), paths.end(), std::back_inserter(sorted), BString::FromQString);
    return sorted;
}

/// The file itself, or the one with the extension added where the name stands for that.
QString SingleFile(QString const& path, QString const& extension) {
    if (IsFile(path)) {
        return path;
    }
    QString const extended = WithExistingExtension(path, extension);
    bool const hasExtension = ExtensionStart(path) < path.size();
    return !hasExtension || IsFile(extended) ? extended : path;
}

} // namespace

BString BFileUtilities::CompletePath(BString const& path) {
    if (path.IsEmpty()) {
        return path;
    }
    return BString::FromQString(QDir::cleanPath(FollowUpwards(AbsolutePath(MakeQString(path)))));
}

BString BFileUtilities::ChangeExtension(BString const& path, BString const& extension) {
    QString const whole = MakeQString(path);
    int const start = ExtensionStart(whole);
    QString const replacement = InCaseOf(whole.mid(start), MakeQString(extension));
    return BString::FromQString(WithExistingExtension(whole.left(start), replacement));
}

BString BFileUtilities::ChangeExtensionForWriting(BString const& path, BString const& extension) {
    QString const whole = MakeQString(path);
    int const start = ExtensionStart(whole);
    BString const found = ChangeExtension(path, extension);
    BString const owner = ChangeExtension(found, BString::FromQString(whole.mid(start)));
    if (owner == path || !Exists(owner)) {
        return found;
    }
    QString const own = InCaseOf(whole.mid(start), MakeQString(extension));
    return BString::FromQString(whole.left(start) + own);
}

BString BFileUtilities::GetBasename(BString const& path) {
    QString const whole = MakeQString(path);
    int const start = NameStart(whole);
    return BString::FromQString(whole.mid(start, ExtensionStart(whole) - start));
}

bool BFileUtilities::Exists(BString const& path) {
    return IsFile(MakeQString(path));
}

std::uint32_t BFileUtilities::GetSize(BString const& path) {
    QFileInfo const file(AbsolutePath(MakeQString(path)));
    return file.isFile() ? static_cast<std::uint32_t>(file.size()) : 0;
}

bool BFileUtilities::MayBeWritten(BString const& path) {
    return Exists(path) || !QFileInfo::exists(AbsolutePath(MakeQString(path)));
}

bool BFileUtilities::Delete(BString const& path) {
    return Exists(path) && QFile::remove(AbsolutePath(MakeQString(path)));
}

std::vector<BString> BFileUtilities::ListFiles(BString const& name, BString const& extension) {
    QString const path = MakeQString(CompletePath(name));
    QString const wanted = MakeQString(extension);
    if (QFileInfo(path).isDir()) {
        return FilesIn(path, QStringLiteral("*"), wanted);
    }
    int const start = NameStart(path);
    if (HasWildcard(path.mid(start)) && !IsFile(path)) {
        return FilesIn(path.left(start), path.mid(start), wanted);
    }
    return {BString::FromQString(SingleFile(path, wanted))};
}

} // namespace Ambrel
