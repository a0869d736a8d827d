#include "text/FontFaces.hpp"

#include "text/FontFile.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Cascara/StyleEngine.hpp>

#include <QCryptographicHash>
#include <QFontDatabase>

#include <map>

namespace Trellis
{
namespace
{
constexpr int kLargestFileMiB = 32;

/// Of the fastest kind: it has to tell the fonts of a presentation from one another, no more.
QByteArray digest(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().left(24);
}

void warn(const Cascara::FontFace& face, const QString& file, const QString& reason)
{
    Cascara::StyleEngine::warnOfFontFace(face, QStringLiteral("cannot use '%1': %2; texts have the next font").arg(file, reason));
}

/// What distinguishes one registration of a font from another.
QByteArray identity(const QByteArray& bytes, const Cascara::FontFace& face)
{
    return digest(bytes) + '/' + QByteArray::number(face.weight) + (face.isItalic ? "i" : "");
}
}

FontFaces& FontFaces::instance()
{
    static FontFaces faces;
    return faces;
}

/// The first file of each face that is a font.
std::vector<FontFaces::Source> FontFaces::readSources(const std::vector<const Cascara::FontFace*>& faces)
{
    std::vector<Source> sources;
    for (const Cascara::FontFace* face : faces)
        for (const QString& file : face->files) {
            QString error;
            const auto bytes = Bedrock::readBoundedFile(file, kLargestFileMiB, error);
            if (bytes && isFont(*bytes, error)) {
                sources.push_back({*bytes, face, identity(*bytes, *face)});
                break;
            }
            warn(*face, file, error);
        }
    return sources;
}

void FontFaces::set(const std::vector<Cascara::FontFace>& faces)
{
    m_bound.clear();
    std::map<QString, std::vector<const Cascara::FontFace*>> families;
    for (const Cascara::FontFace& face : faces)
        families[face.family.toLower()].push_back(&face);
    for (const auto& [family, members] : families) {
        const std::vector<Source> sources = readSources(members);
        // All faces of a family have one name, so that the one with the right weight is found.
        QByteArray all;
        for (const Source& source : sources)
            all += source.identity;
        const QString name = QStringLiteral("sheet-font-") + QString::fromLatin1(digest(all));
        for (const Source& source : sources)
            if (registerFont(source, name))
                m_bound.insert(family, name);
    }
}

bool FontFaces::registerFont(const Source& source, const QString& name)
{
    const QByteArray key = name.toLatin1() + source.identity;
    const auto known = m_names.constFind(key);
    if (known != m_names.constEnd())
        return *known;
    QString error;
    const auto font = renamedFont(source.bytes, {name, source.face->weight, source.face->isItalic}, error);
    const bool isRegistered =
        font && QFontDatabase::applicationFontFamilies(QFontDatabase::addApplicationFontFromData(*font)).contains(name);
    if (!isRegistered)
        warn(*source.face, source.face->files.join(QStringLiteral(", ")), QStringLiteral("its contents are damaged"));
    m_names.insert(key, isRegistered);
    return isRegistered;
}

QStringList FontFaces::resolved(const QStringList& written) const
{
    if (m_bound.isEmpty())
        return written;
    QStringList result;
    for (const QString& family : written)
        result << m_bound.value(family.toLower(), family);
    return result;
}
}
