#include "text/FontFile.hpp"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace Trellis
{
namespace
{
// The layout of an OpenType font file: a header, a directory of tables sorted by tag, and the tables on multiples of 4 bytes.
constexpr int kHeaderBytes = 12;
constexpr int kEntryBytes = 16;
constexpr quint32 kTrueType = 0x00010000u, kAppleTrueType = 0x74727565u, kOpenType = 0x4f54544fu;
constexpr quint32 kWoff = 0x774f4646u, kWoff2 = 0x774f4632u, kCollection = 0x74746366u;
constexpr int kWeightAt = 4, kSelectionAt = 62; ///< in the table "OS/2"
constexpr int kMacStyleAt = 44;                 ///< in the table "head"
constexpr quint16 kItalicSelection = 0x01, kRegularSelection = 0x40, kItalicMacStyle = 0x02;

using Tables = std::map<QByteArray, QByteArray>;

template <class T>
T readAt(const QByteArray& bytes, int place)
{
    return qFromBigEndian<T>(bytes.constData() + place);
}

template <class T>
void writeAt(QByteArray& bytes, int place, T value)
{
    qToBigEndian(value, bytes.data() + place);
}

template <class T>
void append(QByteArray& bytes, T value)
{
    bytes.resize(bytes.size() + int(sizeof(T)));
    writeAt(bytes, bytes.size() - int(sizeof(T)), value);
}

/// Empty for what is no font. They last as long as `font`.
Tables tablesOf(const QByteArray& font)
{
    Tables tables;
    if (font.size() < kHeaderBytes)
        return tables;
    const auto version = readAt<quint32>(font, 0);
    const int count = readAt<quint16>(font, 4);
    if ((version != kTrueType && version != kAppleTrueType && version != kOpenType)
        || font.size() < kHeaderBytes + count * kEntryBytes)
        return tables;
    for (int i = 0; i < count; ++i) {
        const int entry = kHeaderBytes + i * kEntryBytes;
        const auto offset = readAt<quint32>(font, entry + 8), length = readAt<quint32>(font, entry + 12);
        if (quint64(offset) + length > quint64(font.size()))
            return {};
        // Without a copy: a font may have tens of megabytes.
        tables[font.mid(entry, 4)] = QByteArray::fromRawData(font.constData() + offset, int(length));
    }
    return tables;
}

/// Why the file cannot be used, which has not the tables of a font.
QString complaintAbout(const QByteArray& font)
{
    const auto version = font.size() >= kHeaderBytes ? readAt<quint32>(font, 0) : 0u;
    if (version == kWoff || version == kWoff2)
        return QStringLiteral("it is a WOFF font, which is for the web: save it as TrueType or OpenType (.ttf, .otf)");
    if (version == kCollection)
        return QStringLiteral("it is a collection of fonts: save the one as TrueType or OpenType (.ttf, .otf)");
    return QStringLiteral("it is no TrueType or OpenType font, or a damaged one");
}

QByteArray nameTable(const QString& family)
{
    // Family, style, unique name, full name, PostScript name.
    const std::array<std::pair<quint16, QString>, 5> names{{{quint16(1), family},
                                                            {quint16(2), QStringLiteral("Regular")},
                                                            {quint16(3), family},
                                                            {quint16(4), family},
                                                            {quint16(6), family}}};
    QByteArray table, texts;
    append(table, quint16(0));
    append(table, quint16(names.size()));
    append(table, quint16(6 + 12 * names.size()));
    for (const auto& [id, text] : names) {
        const int start = texts.size();
        for (const QChar letter : text)
            append(texts, quint16(letter.unicode()));
        for (const auto value : {quint16(3), quint16(1), quint16(0x409), id, quint16(texts.size() - start), quint16(start)})
            append(table, value);
    }
    return table + texts;
}

void changeStyle(Tables& tables, const FontNaming& naming)
{
    QByteArray& os2 = tables["OS/2"];
    QByteArray& head = tables["head"];
    if (naming.weight > 0 && os2.size() > kWeightAt + 1)
        writeAt(os2, kWeightAt, quint16(naming.weight));
    if (!naming.isItalic)
        return;
    if (os2.size() > kSelectionAt + 1)
        writeAt(os2, kSelectionAt,
                quint16((readAt<quint16>(os2, kSelectionAt) | kItalicSelection) & ~unsigned(kRegularSelection)));
    if (head.size() > kMacStyleAt + 1)
        writeAt(head, kMacStyleAt, quint16(readAt<quint16>(head, kMacStyleAt) | kItalicMacStyle));
}
}

bool isFont(const QByteArray& bytes, QString& error)
{
    const Tables tables = tablesOf(bytes);
    const auto has = [&tables](const char* tag) { return tables.count(tag) > 0; };
    if (has("cmap") && has("head") && has("hmtx") && (has("glyf") || has("CFF ") || has("CFF2")))
        return true;
    error = complaintAbout(bytes);
    return false;
}

std::optional<QByteArray> renamedFont(const QByteArray& font, const FontNaming& naming, QString& error)
{
    if (!isFont(font, error))
        return std::nullopt;
    Tables tables = tablesOf(font);
    changeStyle(tables, naming);
    tables["name"] = nameTable(naming.family);
    const int count = int(tables.size());
    QByteArray result;
    result.reserve(font.size() + count * kEntryBytes + tables["name"].size());
    result += font.left(4);
    for (const int value : {count, 0, 0, 0}) // the fields for a binary search are not used
        append(result, quint16(value));
    int place = kHeaderBytes + count * kEntryBytes;
    for (const auto& [tag, bytes] : tables) {
        result += tag;
        append(result, quint32(0));
        append(result, quint32(place));
        append(result, quint32(bytes.size()));
        place += (bytes.size() + 3) / 4 * 4;
    }
    for (const auto& table : tables) {
        result += table.second;
        while (result.size() % 4 != 0)
            result += '\0';
    }
    return result;
}
}
