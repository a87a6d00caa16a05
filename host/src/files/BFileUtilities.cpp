#include "Ambrel/BFileUtilities.h"

#include "Ambrel/BLogger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextCodec>

#include <algorithm>
#include <filesystem>

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

/// Where the path leads up from a link, it leads to what is above the link's target.
QString FollowUpwards(QString const& path) {
    static QRegularExpression const upToLastUp(QStringLiteral("^.*/\\.\\.(?=/|$)"),
                                               QRegularExpression::DotMatchesEverythingOption);
    int const size = upToLastUp.match(path).capturedLength();
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
    constexpr int mostLetters = 6;
    int const letters = std::min(extension.size() - 1, mostLetters);
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

/// Matches whole names; `*` stands for any text and `?` for one character, all else for itself.
QRegularExpression WildcardPattern(QString const& wildcard) {
    QString pattern = QRegularExpression::escape(wildcard);
    pattern.replace(QStringLiteral("\\*"), QStringLiteral(".*"));
    pattern.replace(QStringLiteral("\\?"), QStringLiteral("."));
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              QRegularExpression::CaseInsensitiveOption |
                                  QRegularExpression::DotMatchesEverythingOption);
}

/// Logs which files match and can not be opened: their names are not in the encoding of file names,
/// and QDir does not list them.
template <class Matches>
void WarnOfLostNames(QString const& folder, Matches&& matches) {
    std::error_code error; // what can not be listed has no files
    std::filesystem::path const path(QFile::encodeName(folder).toStdString());
    for (std::filesystem::directory_iterator file(path, error), end; !error && file != end;
         file.increment(error)) {
        QByteArray const bytes = QByteArray::fromStdString(file->path().filename().string());
        QString const name = QFile::decodeName(bytes);
        std::error_code unknown; // a file that has gone meanwhile is none
        if (QFile::encodeName(name) != bytes && matches(name) && file->is_regular_file(unknown)) {
            BLogger::Instance()->WriteLine(
                LOG_WARNING, "BFileUtilities: %s is left out: its name is not %s.",
                BString::FromQString(QDir(folder).filePath(name)).Ascii(),
                QTextCodec::codecForLocale()->name().constData());
        }
    }
}

/// The regular files of the folder that match, sorted by name.
std::vector<BString> FilesIn(QString const& folder, QString const& wildcard,
                             QString const& extension) {
    QRegularExpression const pattern = WildcardPattern(wildcard);
    auto const matches = [&](QString const& name) {
        return name.endsWith(extension, Qt::CaseInsensitive) && pattern.match(name).hasMatch();
    };
    // As in a shell: what is hidden, such as the "._roads.shp" of some systems, is not meant.
    QDir::Filters const filters =
        wildcard.startsWith(QLatin1Char('.')) ? QDir::Files | QDir::Hidden : QDir::Files;
    std::vector<BString> paths;
    for (QFileInfo const& file : QDir(folder).entryInfoList(filters, QDir::Name)) {
        if (file.isFile() && matches(file.fileName())) {
            paths.push_back(BString::FromQString(QDir::cleanPath(file.absoluteFilePath())));
        }
    }
    WarnOfLostNames(folder, matches);
    return paths;
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
    return QFile::remove(AbsolutePath(MakeQString(path)));
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
