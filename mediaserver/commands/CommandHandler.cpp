#include "CommandHandler.hpp"

#include "content/ContentFolder.hpp"
#include "content/ContentReceiver.hpp"
#include "pages/PageTexts.hpp"
#include "shared/JsonText.hpp"
#include "shared/WebLink.hpp"

#include <QJsonDocument>
#include <QVariant>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace MediaServer
{

namespace
{

CommandAnswer success()
{
    return {200, JsonText().addFlag("success", true).end()};
}

CommandAnswer failure(int httpStatus, const QString& error)
{
    return {httpStatus, JsonText().addText("error", error).addFlag("success", false).end()};
}

CommandAnswer full(int mostItems)
{
    return failure(
        200,
        QStringLiteral("This person has %1 items already, which is the most a page can have: remove one first.").arg(mostItems));
}

CommandAnswer notUnderstood(const QString& error)
{
    return failure(400, error);
}

/// Of "fr-CH, de;q=0.5" the first language, which is the one that a table asks for.
QByteArray firstLanguage(const QByteArray& acceptLanguage)
{
    const auto end = std::find_if(acceptLanguage.begin(), acceptLanguage.end(), [](char c) { return c == ',' || c == ';'; });
    return acceptLanguage.left(static_cast<int>(end - acceptLanguage.begin()));
}

/// A JSON number that is a whole number of 64 bits.
std::optional<qint64> wholeNumber(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    // A number written as an integer is stored exactly, but only toVariant() returns it so.
    const QVariant number = value.toVariant();
    if (number.type() == QVariant::LongLong)
        return number.toLongLong();
    const double real = number.toDouble();
    // From 2^53 on neighbouring codes are the same double.
    if (std::nearbyint(real) != real || std::abs(real) > 9007199254740992.0)
        return std::nullopt;
    return static_cast<qint64>(real);
}

/// The item of a command; does not check whether it may be added.
Result<Item> itemOf(const QJsonObject& command)
{
    const QJsonValue url = command.value(QLatin1String("url"));
    const QJsonValue filename = command.value(QLatin1String("filename"));
    if (url.isUndefined() == filename.isUndefined())
        return tl::unexpected(QStringLiteral("Exactly one of \"url\" and \"filename\" is needed."));

    Item item;
    item.kind = url.isUndefined() ? ItemKind::File : ItemKind::Url;
    const QJsonValue& value = url.isUndefined() ? filename : url;
    item.value = value.toString();
    if (item.value.isEmpty()) {
        return tl::unexpected(QStringLiteral("\"%1\" has to be a text that is not empty.")
                                  .arg(item.kind == ItemKind::Url ? QLatin1String("url") : QLatin1String("filename")));
    }
    for (const char* name : {"displayname", "systemname"}) {
        const QJsonValue text = command.value(QLatin1String(name));
        if (!text.isUndefined() && !text.isString())
            return tl::unexpected(QStringLiteral("\"%1\" has to be a text.").arg(QLatin1String(name)));
    }
    item.displayName = command.value(QLatin1String("displayname")).toString();
    item.systemName = command.value(QLatin1String("systemname")).toString();
    return item;
}

}

CommandAnswer CommandHandler::storeFailed(const char* command, const QString& reason)
{
    warn(command + std::string(" failed in the database"), reason);
    return failure(500, QStringLiteral("The media server could not reach its database; nothing was changed. Try again later."));
}

void CommandHandler::warn(const std::string& what, const QString& reason)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_warnings.log(what, reason.toStdString());
}

CommandAnswer CommandHandler::notOpened(const ContentError& error)
{
    if (error.kind == ContentError::Kind::NoSuchFile)
        return failure(200, error.text);
    warn("A file could not be opened", error.reason);
    return failure(500, error.text);
}

CommandHandler::CommandHandler(ItemStore& store, const ContentFolder& content, ContentReceiver* receiver,
                               const PageAddresses& addresses, int mostItems)
    : m_store(store), m_content(content), m_receiver(receiver), m_addresses(addresses), m_mostItems(mostItems)
{
}

void CommandHandler::handle(const QByteArray& body, const Post& post, const Done& done, const QByteArray& acceptLanguage)
{
    const Step step = firstStep(body, acceptLanguage.isEmpty() ? nullptr : PageTexts::find(firstLanguage(acceptLanguage)));
    if (const auto* const answer = std::get_if<CommandAnswer>(&step))
        return done(*answer);
    if (const auto* const question = std::get_if<PageQuestion>(&step))
        return getUserPage(*question, post, done);
    if (const auto* const work = std::get_if<Work>(&step))
        return run(*work, post, done);
    const auto add = [this, file = std::get<FileItem>(step), post, done] { addFile(file, post, done); };
    if (!m_receiver)
        add();
    else if (!m_receiver->add(add))
        done(failure(503, QStringLiteral("Too many files are collected at once. Try again later.")));
}

void CommandHandler::run(const Work& work, const Post& post, const Done& done)
{
    const auto answer = std::make_shared<CommandAnswer>();
    const auto finish = [this, answer, command = work.command, done](const Result<void>& outcome) {
        done(outcome ? *answer : storeFailed(command, outcome.error()));
    };
    m_store.post(
        ItemStore::Kind::Write, [answer, job = work.job](Items& items) { *answer = job(items); },
        [post, finish](const Result<void>& outcome) { post([finish, outcome] { finish(outcome); }); });
}

CommandHandler::Step CommandHandler::firstStep(const QByteArray& body, const PageTexts* texts)
{
    QJsonParseError parsing;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parsing);
    if (parsing.error != QJsonParseError::NoError) {
        return notUnderstood(
            QStringLiteral("The request is not JSON: %1 at byte %2.").arg(parsing.errorString()).arg(parsing.offset));
    }
    if (!document.isObject())
        return notUnderstood(QStringLiteral("The request has to be a JSON object."));
    const QJsonObject command = document.object();

    const QString name = command.value(QLatin1String("command")).toString();
    const bool getUserPageAsked = name == QLatin1String("getuserpage");
    const bool addItemAsked = name == QLatin1String("additem");
    if (!getUserPageAsked && !addItemAsked && name != QLatin1String("deleteitem")) {
        return notUnderstood(name.isEmpty()
                                 ? QStringLiteral("\"command\" is missing.")
                                 : QStringLiteral("The command \"%1\" is not known. Known are \"getuserpage\", \"additem\""
                                                  " and \"deleteitem\".")
                                       .arg(name));
    }
    const auto tessel = wholeNumber(command.value(QLatin1String("tessel")));
    if (!tessel)
        return notUnderstood(QStringLiteral("\"tessel\" has to be a whole number of 64 bits."));
    if (getUserPageAsked)
        return PageQuestion{*tessel, texts};

    const auto item = itemOf(command);
    if (!item)
        return notUnderstood(item.error());
    if (!addItemAsked)
        return deleteItem(*tessel, *item);
    if (item->kind == ItemKind::File)
        return FileItem{*tessel, *item, command};
    if (!parseWebLink(item->value))
        return failure(200, QStringLiteral("\"%1\" is not a web address that begins with http:// or https://.").arg(item->value));
    return addItem(*tessel, *item, false);
}

void CommandHandler::getUserPage(const PageQuestion& question, const Post& post, const Done& done)
{
    // Every card that is put down asks for it.
    const QString known = m_store.rememberedToken(question.tessel);
    if (!known.isEmpty())
        return done(pageAnswer(known, question.texts));
    const auto finish = [this, texts = question.texts, done](const Result<QString>& token) {
        done(token ? pageAnswer(*token, texts) : storeFailed("getuserpage", token.error()));
    };
    m_store.findToken(question.tessel,
                      [post, finish](const Result<QString>& token) { post([finish, token] { finish(token); }); });
}

CommandAnswer CommandHandler::pageAnswer(const QString& token, const PageTexts* texts) const
{
    return {200,
            JsonText()
                .addText("qrcodeurl", m_addresses.qrCode(token, texts))
                .addFlag("success", true)
                .addText("userpageurl", m_addresses.page(token, texts))
                .end()};
}

std::optional<CommandAnswer> CommandHandler::checkFile(const Item& item, const QJsonObject& command, bool& isComing)
{
    const QByteArray sha256 = command.value(QLatin1String("sha256")).toString().toLatin1();
    const auto size = wholeNumber(command.value(QLatin1String("size")));
    const bool isDescribed = isSha256(sha256) && size && *size >= 0;
    if (!m_receiver || !isDescribed) {
        const auto file = m_content.open(item.value);
        return file ? std::nullopt : std::optional<CommandAnswer>(notOpened(file.error()));
    }
    const ContentReceiver::Standing standing = m_receiver->announce(item.value, sha256, *size);
    using Kind = ContentReceiver::Standing::Kind;
    switch (standing.kind) {
    case Kind::Coming: isComing = true; return std::nullopt;
    case Kind::There: return std::nullopt;
    case Kind::Unread: return CommandAnswer{503, {}, item.value};
    case Kind::Refused: return failure(200, standing.text);
    case Kind::Failed: break;
    }
    warn("A file could not be opened", standing.text);
    return failure(500, QStringLiteral("The media server cannot read \"%1\" at the moment. Try again later.").arg(item.value));
}

void CommandHandler::addFile(const FileItem& file, const Post& post, const Done& done)
{
    // A file is not expected for an item that is refused.
    const auto hasRoom = m_store.hasRoom(file.tessel, file.item, m_mostItems);
    if (!hasRoom)
        return done(storeFailed("additem", hasRoom.error()));
    if (!*hasRoom)
        return done(full(m_mostItems));
    bool isComing = false;
    if (const auto refused = checkFile(file.item, file.command, isComing))
        return done(*refused);
    run(addItem(file.tessel, file.item, isComing), post, done);
}

CommandHandler::Work CommandHandler::addItem(qint64 tessel, const Item& item, bool isComing) const
{
    return Work{"additem", [tessel, item, isComing, most = m_mostItems](Items& items) -> CommandAnswer {
                    if (!items.hasRoom(tessel, item, most))
                        return full(most);
                    items.add(tessel, item);
                    if (!isComing)
                        return success();
                    return {200, JsonText().addText("content", QStringLiteral("coming")).addFlag("success", true).end()};
                }};
}

CommandHandler::Work CommandHandler::deleteItem(qint64 tessel, const Item& item)
{
    return {"deleteitem", [tessel, item](Items& items) -> CommandAnswer {
                // Success as well for an item that its owner, or another table, has removed before.
                (void)items.remove(tessel, item.kind, item.value);
                return success();
            }};
}

}
