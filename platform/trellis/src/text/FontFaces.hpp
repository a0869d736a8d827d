#pragma once

#include <Cascara/FontFace.hpp>

#include <QByteArray>
#include <QHash>
#include <QStringList>

#include <vector>

namespace Trellis
{
/// The fonts that style sheets bring along. Each is registered under a name that comes of its contents, so that a file is
/// registered once however often sheets are read, and no installed font of its own name is taken for it. One for the process,
/// main thread only.
class FontFaces
{
public:
    [[nodiscard]] static FontFaces& instance();

    /// These faces, and no others, are bound from now on. Reads and registers their files; one that is no font is a warning, and
    /// texts have the next family of their list.
    void set(const std::vector<Cascara::FontFace>& faces);
    /// `written` with the name that a family is registered under in place of one that is bound.
    [[nodiscard]] QStringList resolved(const QStringList& written) const;
    /// Fonts registered since the process began.
    [[nodiscard]] int registered() const noexcept { return m_names.size(); }

private:
    struct Source
    {
        QByteArray bytes;
        const Cascara::FontFace* face;
        QByteArray identity; ///< what distinguishes this registration from others
    };
    [[nodiscard]] static std::vector<Source> readSources(const std::vector<const Cascara::FontFace*>& faces);
    bool registerFont(const Source& source, const QString& name);

    QHash<QString, QString> m_bound; ///< the written family, in lower case, to the registered one
    QHash<QByteArray, bool> m_names; ///< registered name and contents to whether that succeeded
};
}
