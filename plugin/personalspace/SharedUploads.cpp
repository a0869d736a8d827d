#include "personalspace/SharedUploads.hpp"

#include "collections/CollectionKeeper.hpp"
#include "personalspace/KeptContents.hpp"
#include "shared/AfterUpdate.hpp"

#include <Bedrock/Trace.hpp>

#include <QJsonObject>

namespace Tavola
{
namespace
{
/// What the server tells things apart by.
QString thingOf(const UploadableItem& item)
{
    return item.kind + QLatin1Char(' ') + item.value;
}

/// Whether the server has done it; a failure is logged.
bool isDone(const char* what, const folly::Try<QJsonObject>& result)
{
    if (!result.hasException() && isSuccess(result.value()))
        return true;
    const QByteArray reason = result.hasException() ? failureText(result) : getErrorText(result.value()).toUtf8();
    Bedrock::Trace::warning("SharedUploads # Failed to %s user item : %s", what, reason.constData());
    return false;
}
}

void SharedUploads::given(const UploadableItem& item)
{
    if (CollectionKeeper::isShared())
        m_owed.insert(thingOf(item));
}

void SharedUploads::deleted(const UploadableItem& item)
{
    if (!CollectionKeeper::isShared())
        return;
    m_owed.erase(thingOf(item));
    m_deleted.insert(thingOf(item));
    retry();
}

void SharedUploads::appeared(const UploadableItem& item)
{
    if (m_deleted.count(thingOf(item)) > 0)
        giveAgain(item);
}

void SharedUploads::removedElsewhere(const UploadableItem& item)
{
    if (m_owed.count(thingOf(item)) == 0)
        return;
    if (const auto other = find(thingOf(item)))
        giveAgain(*other);
    else
        deleteUnused(item);
}

void SharedUploads::retry()
{
    const std::set<QString> things = m_deleted;
    for (const QString& thing : things)
        if (const auto item = find(thing))
            giveAgain(*item);
}

void SharedUploads::giveAgain(const UploadableItem& item)
{
    m_deleted.erase(thingOf(item));
    afterUpdate(sendItemCommand("additem", m_code, item), [code = m_code, item](folly::Try<QJsonObject>&& result) {
        if (SharedUploads* const uploads = KeptContents::uploads(code))
            uploads->gaveAgain(item, isDone("upload", result));
    });
}

void SharedUploads::gaveAgain(const UploadableItem& item, bool isDone)
{
    if (!isDone) {
        m_deleted.insert(thingOf(item));
        return;
    }
    m_owed.insert(thingOf(item));
    deleteUnused(item);
}

void SharedUploads::deleteUnused(const UploadableItem& item)
{
    if (find(thingOf(item)))
        return;
    afterUpdate(sendItemCommand("deleteitem", m_code, item), [code = m_code, item](folly::Try<QJsonObject>&& result) {
        (void)isDone("delete", result);
        if (SharedUploads* const uploads = KeptContents::uploads(code))
            uploads->deleted(item);
    });
}

std::optional<UploadableItem> SharedUploads::find(const QString& thing) const
{
    for (const auto& entry : PersonalSpaceContents::personalContent(m_code)->items()) {
        const UploadableItem item = parseFiles(entry.second);
        if (thingOf(item) == thing)
            return item;
    }
    return std::nullopt;
}
}
