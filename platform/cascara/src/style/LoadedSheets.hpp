#pragma once

#include "sheet/StyleSheet.hpp"

#include <QSet>
#include <QStringList>

#include <memory>
#include <vector>

namespace Cascara
{
/// The style sheets in use, in their order. Main thread only.
class LoadedSheets
{
public:
    using Sheets = std::vector<std::unique_ptr<StyleSheet>>;

    void add(Sheets sheets);
    /// All are out of use; their declarations may still be at work until `freeRetired`.
    void retireAll();
    void freeRetired() { m_retired.clear(); }
    [[nodiscard]] const Sheets& all() const noexcept { return m_sheets; }

    /// Returns whether any rule came into force, or is not in force any more.
    bool updateRulesInForce(const Media& media);
    /// The last of that name that is in force; null for none.
    [[nodiscard]] std::shared_ptr<const Keyframes> findKeyframes(const QString& name) const;
    /// As StyleEngine::placeOfFile.
    [[nodiscard]] QString placeOfFile(const QString& path) const;
    /// Warns, once for each declaration, of keyframes and variables that no sheet has, also in rules that match nothing yet. A
    /// later sheet may have them: to be called when all are there.
    void reportMissing();

private:
    [[nodiscard]] QStringList keyframeNames() const;
    [[nodiscard]] QSet<QString> variableNames() const;

    Sheets m_sheets;
    Sheets m_retired;
    bool m_isChecked = true; ///< nothing was added since the last check
};
}
