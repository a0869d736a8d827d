#pragma once

#include "sheet/StyleSheet.hpp"

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace Cascara
{
/// Parses a style sheet and, before it, those it imports; logs what is wrong in them.
class StyleSheetLoader
{
public:
    /// Sheets are put at the end of `result`.
    explicit StyleSheetLoader(std::vector<std::unique_ptr<StyleSheet>>& result) : m_result(result) {}

    void loadText(const QString& text, const QString& name, const QString& baseDirectory);
    /// False, with a warning, when the file cannot be read.
    bool loadFile(const QString& path);

private:
    void loadImport(const StyleSheet::Import& import, const QString& importingName, const QString& baseDirectory);

    std::vector<std::unique_ptr<StyleSheet>>& m_result;
    /// Files in the middle of being loaded, from the outermost to the innermost.
    QStringList m_loading;
    int m_imports = 0; ///< so far; bounded
};
}
