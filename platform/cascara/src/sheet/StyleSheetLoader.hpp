#pragma once

#include "sheet/NameChecker.hpp"
#include "sheet/StyleSheet.hpp"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <utility>
#include <vector>

namespace Cascara
{
/// Parses a style sheet and, before it, those it imports; logs what is wrong in them.
class StyleSheetLoader
{
public:
    /// Sheets are put at the end of `result`. Names are compared with StyleVocabulary unless `isMadeLater` is null.
    StyleSheetLoader(std::vector<std::unique_ptr<StyleSheet>>& result, NameChecker::IsMadeLater isMadeLater)
        : m_result(result), m_isMadeLater(std::move(isMadeLater))
    {
    }

    void loadText(const QString& text, const QString& name, const QString& baseDirectory);
    /// False, with a warning, when the file cannot be read.
    bool loadFile(const QString& path);

private:
    /// The reason why not in `error`.
    bool readFile(const QString& path, QString& text, QString& error);
    void warnAt(const QString& text, int place, const QString& path, const QString& what);
    /// Warns of invalid UTF-8, with the place of the first such byte. The rest of the file is used.
    void warnOfEncoding(const QByteArray& bytes, QString& text, const QString& path);
    /// Drops the rules that are too many, with a warning.
    void boundRules(StyleSheet& sheet);
    void loadImport(const StyleSheet::Import& import, const QString& importingName, const QString& baseDirectory);

    std::vector<std::unique_ptr<StyleSheet>>& m_result;
    const NameChecker::IsMadeLater m_isMadeLater;
    /// Files in the middle of being loaded, from the outermost to the innermost.
    QStringList m_loading;
    std::shared_ptr<SheetWarnings> m_warnings = std::make_shared<SheetWarnings>();
    std::size_t m_rules = 0; ///< so far; bounded
    int m_imports = 0;       ///< so far; bounded
    qint64 m_bytes = 0;      ///< of what was imported so far; bounded
    bool m_isFull = false;   ///< a bound was reached: no further import is read
};
}
