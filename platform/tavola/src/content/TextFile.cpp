#include "content/TextFile.hpp"

#include <QFile>
#include <QTextCodec>

#include <algorithm>

namespace Tavola
{
namespace
{
/// A text in another encoding has fewer bytes that are no UTF-8 than this part of it; what has more is taken for no text.
constexpr int kReadablePart = 3;
}

QString TextFile::kibibytes(qint64 bytes)
{
    return QString::number((bytes + 1023) / 1024);
}

TextFile TextFile::read(const QString& path, qint64 mostBytes)
{
    TextFile result;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.state = State::Unreadable;
        result.complaint = file.errorString();
        return result;
    }
    QByteArray bytes = file.read(mostBytes + 1);
    if (bytes.size() > mostBytes) {
        result.state = State::Cut;
        bytes.chop(1);
    }
    result.shownBytes = bytes.size();
    result.fileBytes = std::max<qint64>(file.size(), bytes.size());

    QTextCodec::ConverterState decoding;
    QTextCodec* const utf8 = QTextCodec::codecForName("UTF-8");
    result.text = QTextCodec::codecForUtfText(bytes, utf8)->toUnicode(bytes.constData(), bytes.size(), &decoding);
    int wrong = decoding.invalidChars;
    // A character that the limit has cut in two is left out; one that the file's end has cut is wrong.
    if (decoding.remainingChars > 0 && result.state == State::Whole) {
        result.text += QChar(QChar::ReplacementCharacter);
        ++wrong;
    }
    if (result.text.contains(QChar(0)) || wrong > result.text.size() / kReadablePart) {
        result.state = State::NoText;
        result.text.clear();
        result.complaint = QStringLiteral("it is no text: save it as UTF-8 text, or show it as a picture or a PDF document");
    } else if (result.state == State::Cut) {
        result.complaint =
            QStringLiteral("it has %1 KiB, and the first %2 KiB of them are shown: shorten it, or show it as a PDF document")
                .arg(kibibytes(result.fileBytes), kibibytes(result.shownBytes));
    } else if (wrong > 0) {
        result.complaint =
            QStringLiteral("%1 of its characters are no UTF-8 and shown as \uFFFD: save it as UTF-8 text").arg(wrong);
    }
    return result;
}
}
