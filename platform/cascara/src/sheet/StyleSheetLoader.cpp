#include "sheet/StyleSheetLoader.hpp"

#include "sheet/StyleSheetParser.hpp"
#include "values/ValueParser.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/LocalPath.hpp>
#include <Bedrock/Trace.hpp>

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
/// Of one style sheet with all it imports: sheets that import each other several times would be read without end.
constexpr int kMostImports = 256;
constexpr int kLargestFileMiB = 4;
/// Of all files that one style sheet imports, each as often as it is imported: parsed rules take many times as much memory.
constexpr int kMostImportedMiB = 4;
/// Of one style sheet with all it imports. A node that all rules apply to takes a second for as many.
constexpr std::size_t kMostRules = 20000;

QString fileName(const QString& url)
{
    if (url.startsWith(QLatin1String("qrc:"), Qt::CaseInsensitive))
        return url.mid(3);
    return Bedrock::localPath(url);
}

QString identity(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? path : canonical;
}
}

void StyleSheetLoader::warnAt(const QString& text, int place, const QString& path, const QString& what)
{
    const QString before = text.left(place);
    const int column = place - before.lastIndexOf(QLatin1Char('\n'));
    m_warnings->log(path, before.count(QLatin1Char('\n')) + 1, column, what);
}

void StyleSheetLoader::warnOfEncoding(const QByteArray& bytes, QString& text, const QString& path)
{
    const int nul = text.indexOf(QChar(0));
    if (nul >= 0)
        warnAt(text, nul, path, QStringLiteral("this is a NUL byte, which no text has: save the file as UTF-8"));
    const int place = text.indexOf(QChar(QChar::ReplacementCharacter));
    if (place >= 0 && !bytes.contains("\xEF\xBF\xBD"))
        warnAt(text, place, path, QStringLiteral("this is no UTF-8 text: save the file as UTF-8"));
    // CSS Syntax, preprocessing of the input stream.
    text.replace(QChar(0), QChar(QChar::ReplacementCharacter));
}

bool StyleSheetLoader::readFile(const QString& path, QString& text, QString& error)
{
    const auto read = Bedrock::readBoundedFile(path, kLargestFileMiB, error);
    if (!read)
        return false;
    const QByteArray& bytes = *read;
    m_bytes += bytes.size();
    text = QString::fromUtf8(bytes.constData(), bytes.size()); // with its size: a NUL byte does not end it
    warnOfEncoding(bytes, text, path);
    return true;
}

void StyleSheetLoader::loadText(const QString& text, const QString& name, const QString& baseDirectory)
{
    auto sheet = StyleSheetParser::parse(text, name, baseDirectory);
    sheet->warnings = m_warnings;
    for (const auto& import : sheet->imports)
        loadImport(import, name, baseDirectory);
    boundRules(*sheet);
    if (m_isMadeLater)
        NameChecker(*sheet, m_isMadeLater).run();
    for (const auto& error : sheet->errors)
        m_warnings->log(name, error.line, error.column, error.text);
    m_result.push_back(std::move(sheet));
}

void StyleSheetLoader::boundRules(StyleSheet& sheet)
{
    const std::size_t left = kMostRules - m_rules;
    m_rules += std::min(left, sheet.rules.size());
    if (sheet.rules.size() <= left)
        return;
    const auto& declarations = sheet.rules[left]->declarations;
    const int line = declarations.empty() ? 1 : declarations.front().line;
    const int column = declarations.empty() ? 1 : declarations.front().column;
    m_warnings->log(sheet.name, line, column,
                    QStringLiteral("there are more than %1 rules, those of imported sheets included; this one and those that "
                                   "follow are skipped")
                        .arg(kMostRules));
    sheet.rules.resize(left);
}

bool StyleSheetLoader::loadFile(const QString& path)
{
    QString text;
    QString error;
    if (!readFile(path, text, error)) {
        Bedrock::Trace::warning("StyleEngine # Cannot read style sheet '%s': %s; it is skipped", path.toUtf8().constData(),
                                error.toUtf8().constData());
        return false;
    }
    m_bytes = 0; // those of imports are counted
    m_loading.append(identity(path));
    loadText(text, path, QFileInfo(path).path());
    m_loading.removeLast();
    return true;
}

void StyleSheetLoader::loadImport(const StyleSheet::Import& import, const QString& importingName, const QString& baseDirectory)
{
    if (m_isFull)
        return;
    if (m_imports >= kMostImports) {
        m_isFull = true;
        m_warnings->log(
            importingName, import.line, import.column,
            QStringLiteral("@import: more than %1 imports; this one and those that follow are skipped").arg(kMostImports));
        return;
    }
    ++m_imports;
    const QString path = fileName(ValueParser::resolve(import.url, baseDirectory));
    if (m_loading.contains(identity(path))) {
        m_warnings->log(importingName, import.line, import.column,
                        QStringLiteral("@import: '%1' imports this file itself; it is skipped").arg(path));
        return;
    }
    QString text;
    QString error;
    if (!readFile(path, text, error)) {
        m_warnings->log(importingName, import.line, import.column,
                        QStringLiteral("@import: cannot read '%1': %2; it is skipped").arg(path, error));
        return;
    }
    if (m_bytes > qint64(kMostImportedMiB) << 20) {
        m_isFull = true;
        m_warnings->log(
            importingName, import.line, import.column,
            QStringLiteral("@import: with '%1' the imported files have more than %2 MiB together, each counted as often as it is "
                           "imported; this one and those that follow are skipped: import it once")
                .arg(path)
                .arg(kMostImportedMiB));
        return;
    }
    m_loading.append(identity(path));
    loadText(text, path, QFileInfo(path).path());
    m_loading.removeLast();
}
}
