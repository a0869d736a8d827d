#include "server/PersonalSpaceUploader.hpp"

#include "collections/CollectionKeeper.hpp"
#include "personalspace/KeptContents.hpp"
#include "personalspace/PersonalSpaceContents.hpp"
#include "server/IconDownloader.hpp"
#include "server/JSONRequests.hpp"
#include "shared/AfterUpdate.hpp"

#include <Bedrock/Trace.hpp>

#include <QJsonObject>
#include <QUrl>

#include <utility>

namespace Tavola
{
namespace
{
void logDeleteFailure(const QByteArray& text)
{
    Bedrock::Trace::warning("PersonalSpaceUploader # Failed to delete user item : %s", text.constData());
}
}

PersonalSpaceUploader::PersonalSpaceUploader(unsigned long code) : m_code(code), m_iconDownloader(IconDownloader::instance()) {}

PersonalSpaceUploader::~PersonalSpaceUploader() = default;

void PersonalSpaceUploader::setCode(unsigned long code)
{
    m_code = code;
}

void PersonalSpaceUploader::updateUserPage()
{
    QJsonObject request;
    request.insert(QLatin1String("command"), QLatin1String("getuserpage"));
    request.insert(QLatin1String("tessel"), tesselValue(m_code));

    afterUpdate(folly::makeFutureWith([&request] { return requestJSON(request); }),
                [code = m_code](folly::Try<QJsonObject>&& result) {
                    if (result.hasException()) {
                        setUserPage(UserPage(), code, QString::fromUtf8(failureText(result)));
                        return;
                    }
                    const QJsonObject& answer = result.value();
                    if (!isSuccess(answer)) {
                        setUserPage(UserPage(), code, getErrorText(answer));
                        return;
                    }
                    const QString url = answer.value(QLatin1String("userpageurl")).toString();
                    setUserPage(UserPage{url, QString()}, code, QString());
                    getUserQR(code, url, answer.value(QLatin1String("qrcodeurl")).toString());
                });
}

void PersonalSpaceUploader::getUserQR(unsigned long code, const QString& userPageUrl, const QString& qrCodeUrl)
{
    // The call throws while the same address is being downloaded: a failed download like any other.
    // The continuation does not keep the downloader alive, since a download that never completes would keep it for ever.
    auto icon =
        folly::makeFutureWith([&qrCodeUrl] { return IconDownloader::instance()->getUserIcon(QUrl::fromUserInput(qrCodeUrl)); });

    afterUpdate(std::move(icon), [code, userPageUrl, qrCodeUrl](folly::Try<QString>&& path) {
        if (path.hasException()) {
            Bedrock::Trace::warning("PersonalSpaceUploader # Failed to download QR icon for marker %llu from %s : %s",
                                    static_cast<unsigned long long>(code), qrCodeUrl.toUtf8().constData(),
                                    failureText(path).constData());
            return;
        }
        const auto contents = PersonalSpaceContents::personalContent(code);
        UserPage page = contents->userPage();
        if (page.url != userPageUrl)
            return;
        page.qrIcon = path.value();
        contents->setUserPage(page);
    });
}

void PersonalSpaceUploader::uploadItem(long id)
{
    const auto contents = PersonalSpaceContents::personalContent(m_code);
    const PersonalSpaceContents::Item item = contents->item(id);
    if (item.status != ItemStatus::Ready && item.status != ItemStatus::Failed)
        return;
    contents->setItemStatus(ItemStatus::Uploading, id);

    const UploadableItem uploadable = parseFiles(item);
    if (uploadable.value.isEmpty()) {
        setContentStatus(ItemStatus::Failed, m_code, id, QLatin1String("Failed to find anything to upload"));
        return;
    }
    afterUpdate(sendItemCommand("additem", m_code, uploadable), [code = m_code, id](folly::Try<QJsonObject>&& result) {
        if (result.hasException())
            setContentStatus(ItemStatus::Failed, code, id, QString::fromUtf8(failureText(result)));
        else if (isSuccess(result.value()))
            setContentStatus(ItemStatus::Uploaded, code, id, QString());
        else
            setContentStatus(ItemStatus::Failed, code, id, getErrorText(result.value()));
    });
}

void PersonalSpaceUploader::removeItem(long id)
{
    const PersonalSpaceContents::Item item = PersonalSpaceContents::personalContent(m_code)->item(id);
    // Where tables share what a card collects, another one may have uploaded it just now.
    const bool isElsewhere =
        CollectionKeeper::isShared() && (item.status == ItemStatus::Ready || item.status == ItemStatus::Failed);
    if (item.status != ItemStatus::Uploaded && !isElsewhere)
        return;
    const UploadableItem uploadable = parseFiles(item);
    if (!isLastCopy(id)) {
        if (SharedUploads* const uploads = KeptContents::uploads(m_code))
            uploads->given(uploadable);
        return;
    }
    auto sent = sendItemCommand("deleteitem", m_code, uploadable);
    afterUpdate(std::move(sent), [code = m_code, id, uploadable](folly::Try<QJsonObject>&& result) {
        if (result.hasException())
            logDeleteFailure(failureText(result));
        else if (isSuccess(result.value()))
            setContentStatus(ItemStatus::Ready, code, id, QString());
        else
            logDeleteFailure(getErrorText(result.value()).toUtf8());
        if (SharedUploads* const uploads = KeptContents::uploads(code))
            uploads->deleted(uploadable);
    });
}

bool PersonalSpaceUploader::isLastCopy(long id) const
{
    const auto contents = PersonalSpaceContents::personalContent(m_code);
    const UploadableItem uploadable = parseFiles(contents->item(id));
    bool last = true;
    for (const auto& [otherId, other] : contents->items()) {
        if (otherId != id && parseFiles(other) == uploadable)
            last = false;
    }
    return last;
}

void PersonalSpaceUploader::setUserPage(const UserPage& page, unsigned long code, const QString& error)
{
    if (!error.isEmpty())
        Bedrock::Trace::warning("PersonalSpaceUploader # Failed to fetch user's URL : %s", error.toUtf8().constData());
    PersonalSpaceContents::personalContent(code)->setUserPage(page);
}

void PersonalSpaceUploader::setContentStatus(ItemStatus status, unsigned long code, long id, const QString& error)
{
    if (!error.isEmpty())
        Bedrock::Trace::warning("PersonalSpaceUploader # Failed to upload user item : %s", error.toUtf8().constData());
    PersonalSpaceContents::personalContent(code)->setItemStatus(status, id);
}
}
