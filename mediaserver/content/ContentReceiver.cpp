#include "ContentReceiver.hpp"

#include "items/ItemStore.hpp"
#include "shared/JsonResponse.hpp"
#include "shared/JsonText.hpp"

#include <QUrl>
#include <QUrlQuery>

#include <algorithm>
#include <utility>

namespace MediaServer
{

namespace
{

using Kind = ContentReceiver::Standing::Kind;

Http::Response error(int status, const QString& text)
{
    return jsonResponse(status, JsonText().addText("error", text).end());
}

QString otherFileText(const QString& name)
{
    return QStringLiteral("The content folder has another file \"%1\": give the table's file a name of its own.").arg(name);
}

/// A number of bytes as addresses have it: digits alone.
std::optional<qint64> bytesIn(const QString& text)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    return isNumber && number >= 0 && QString::number(number) == text ? std::optional<qint64>(number) : std::nullopt;
}

}

bool isSha256(const QByteArray& text)
{
    return text.size() == 64
        && std::all_of(text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

ContentReceiver::ContentReceiver(ItemStore& store, const ContentFolder& content, const QString& contentFolder,
                                 const ContentLimits& limits)
    : m_store(store), m_content(content), m_limits(limits), m_files(contentFolder),
      m_hashes(content, [this](WaitingThread::Task task) { m_thread.post(std::move(task)); })
{
}

ContentReceiver::Standing ContentReceiver::announce(const QString& name, const QByteArray& sha256, qint64 size)
{
    const Asked asked{{name, sha256}, size, 0};
    if (!ContentFolder::isBareName(name))
        return {Kind::Refused, m_content.open(name).error().text};
    const Standing standing = compare(asked);
    return standing.kind == Kind::Coming ? expect(asked) : standing;
}

/// What the content folder says about a file; Coming when it has none of that name.
ContentReceiver::Standing ContentReceiver::compare(const Asked& asked)
{
    const auto file = m_content.open(asked.id.name);
    if (!file) {
        return file.error().kind == ContentError::Kind::NoSuchFile ? Standing{Kind::Coming}
                                                                   : Standing{Kind::Failed, file.error().reason};
    }
    if (file->size() != asked.size)
        return {Kind::Refused, otherFileText(asked.id.name)};
    const QByteArray hash = m_hashes.known(asked.id.name, *file);
    if (hash.isNull())
        return {Kind::Unread};
    return hash == asked.id.sha256 ? Standing{Kind::There} : Standing{Kind::Refused, otherFileText(asked.id.name)};
}

ContentReceiver::Standing ContentReceiver::expect(const Asked& asked)
{
    const QString& name = asked.id.name;
    if (!m_files.isWritable())
        return {Kind::Refused, m_content.open(name).error().text};
    if (ContentFolder::contentType(name) == "application/octet-stream")
        return {Kind::Refused, QStringLiteral("\"%1\" is of no type that the media server takes from tables.").arg(name)};
    if (asked.size > m_limits.fileBytes) {
        return {Kind::Refused,
                QStringLiteral("\"%1\" has %2 bytes; the media server takes %3 at most from tables (--max-content).")
                    .arg(name)
                    .arg(asked.size)
                    .arg(m_limits.fileBytes)};
    }
    const auto expected = m_store.expect({name, asked.id.sha256, asked.size});
    if (!expected)
        return {Kind::Failed, expected.error()};
    if (!*expected)
        return {Kind::Refused,
                QStringLiteral("Another file \"%1\" is on its way: give the table's file a name of its own.").arg(name)};
    return {Kind::Coming};
}

std::optional<ContentReceiver::Asked> ContentReceiver::parse(const QByteArray& encodedName)
{
    const int mark = encodedName.indexOf('?');
    const QUrlQuery query(QString::fromLatin1(mark < 0 ? QByteArray() : encodedName.mid(mark + 1)));
    Asked asked;
    asked.id.name = QString::fromUtf8(QByteArray::fromPercentEncoding(encodedName.left(mark)));
    asked.id.sha256 = query.queryItemValue(QStringLiteral("sha256")).toLatin1();
    const auto size = bytesIn(query.queryItemValue(QStringLiteral("size")));
    const QString from = query.queryItemValue(QStringLiteral("from"));
    const auto begin = from.isEmpty() ? std::optional<qint64>(0) : bytesIn(from);
    if (!ContentFolder::isBareName(asked.id.name) || !isSha256(asked.id.sha256) || !size || !begin)
        return std::nullopt;
    asked.size = *size;
    asked.from = *begin;
    return asked;
}

void ContentReceiver::handle(const Http::Request& request, const QByteArray& encodedName, Http::Reply reply)
{
    const auto asked = parse(encodedName);
    if (!asked)
        return reply.send(error(400, QStringLiteral("The address has to be /content/NAME?sha256=HEX&size=BYTES.")));
    if (request.method != "PUT" && request.method != "GET") {
        Http::Response response = error(405, QStringLiteral("Content is sent by PUT."));
        response.addHeader("Allow", "GET, PUT");
        return reply.send(std::move(response));
    }
    const auto shared = std::make_shared<Http::Reply>(std::move(reply));
    if (!add([this, request, asked = *asked, shared] { answer(request, asked, shared); }))
        shared->send(error(503, QStringLiteral("Too many pieces come at once. Try again later.")));
}

void ContentReceiver::answer(const Http::Request& request, const Asked& asked, const SharedReply& reply)
{
    if (request.method == "PUT")
        takePiece(asked, request.body, reply);
    else
        answerState(asked, reply);
}

void ContentReceiver::answerState(const Asked& asked, const SharedReply& reply)
{
    const Standing standing = compare(asked);
    if (standing.kind != Kind::Unread)
        return answerStanding(asked, standing, reply);
    m_hashes.read(asked.id.name, [this, asked, reply] { answerStanding(asked, compare(asked), reply); });
}

void ContentReceiver::answerStanding(const Asked& asked, const Standing& standing, const SharedReply& reply)
{
    switch (standing.kind) {
    case Kind::There:
        if (const auto forgotten = m_store.forgetExpected(asked.id.name); !forgotten)
            return fail(500, "What came cannot be noted in the database", forgotten.error(), reply);
        return reply->send(jsonResponse(200, JsonText().addText("state", QStringLiteral("there")).end()));
    case Kind::Refused: return reply->send(error(409, standing.text));
    case Kind::Unread: return fail(503, "A file changes while it is read", asked.id.name, reply);
    case Kind::Failed: return fail(500, "A file could not be opened", standing.text, reply);
    case Kind::Coming: break;
    }
    const auto expected = m_store.expected(asked.id.name);
    if (!expected)
        return fail(500, "What is expected from tables cannot be read", expected.error(), reply);
    if (!*expected || (*expected)->sha256 != asked.id.sha256 || (*expected)->size != asked.size)
        return reply->send(error(404, QStringLiteral("No item waits for this \"%1\".").arg(asked.id.name)));
    answerComing(m_files.received(asked.id), reply);
}

void ContentReceiver::answerComing(qint64 received, const SharedReply& reply) const
{
    JsonText json;
    json.addNumber("piece", m_limits.pieceBytes).addNumber("received", received).addText("state", QStringLiteral("coming"));
    reply->send(jsonResponse(200, json.end()));
}

void ContentReceiver::takePiece(const Asked& asked, const QByteArray& piece, const SharedReply& reply)
{
    const Standing standing = compare(asked);
    const auto expected = m_store.expected(asked.id.name);
    const bool isExpected = expected && *expected && (*expected)->sha256 == asked.id.sha256 && (*expected)->size == asked.size;
    if (standing.kind != Kind::Coming || !isExpected)
        return answerState(asked, reply);
    if (m_placing.count(asked.id.name) != 0)
        return reply->send(error(503, QStringLiteral("\"%1\" is being checked.").arg(asked.id.name)));
    if (piece.size() > asked.size - asked.from)
        return reply->send(error(400, QStringLiteral("The piece goes beyond the end of the file.")));
    const auto received = m_files.append(asked.id, asked.from, piece);
    if (!received)
        return fail(507, "Content of a table could not be written", received.error(), reply);
    // A piece that brings nothing still asks for the end, which may have failed before.
    if (*received < asked.size)
        return answerComing(*received, reply);
    place(asked, reply);
}

void ContentReceiver::place(const Asked& asked, const SharedReply& reply)
{
    m_placing.insert(asked.id.name);
    m_disk.add([this, asked, reply] {
        const auto file = std::make_shared<Http::File>();
        QString reason;
        const auto ending = m_files.place(asked.id, *file, reason);
        m_thread.post([this, asked, ending, file, reason, reply] { placed(asked, ending, *file, reason, reply); });
    });
}

void ContentReceiver::placed(const Asked& asked, IncomingFiles::Ending ending, const Http::File& file, const QString& reason,
                             const SharedReply& reply)
{
    m_placing.erase(asked.id.name);
    switch (ending) {
    case IncomingFiles::Ending::Placed: m_hashes.remember(asked.id.name, file, asked.id.sha256); break;
    case IncomingFiles::Ending::NameInUse: break;
    case IncomingFiles::Ending::OtherContent:
        return reply->send(error(422, QStringLiteral("What came of \"%1\" has another hash.").arg(asked.id.name)));
    case IncomingFiles::Ending::Failed: return fail(507, "Content of a table could not be written", reason, reply);
    }
    answerState(asked, reply);
}

void ContentReceiver::fail(int status, const char* what, const QString& reason, const SharedReply& reply)
{
    m_warnings.log(what, reason.toStdString());
    reply->send(error(status, QStringLiteral("The media server cannot take this now. Try again later.")));
}

}
