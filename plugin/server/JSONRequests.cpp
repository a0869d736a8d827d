#include "server/JSONRequests.hpp"

#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <stdexcept>

namespace Tavola
{
folly::Future<QJsonObject> requestJSON(const QJsonObject& request)
{
    const std::shared_ptr<Tavola> application = Tavola::instance();
    const std::shared_ptr<ServiceInstance> service =
        application ? application->services()->service(QLatin1String("media-server-service"), QString()) : nullptr;
    auto* server = dynamic_cast<JSONServerServiceAPI*>(service.get());
    if (!server) {
        return folly::makeFuture<QJsonObject>(
            std::runtime_error("No service configured, please configure a Media server service to use this feature."));
    }
    return server->request(request);
}

QJsonValue tesselValue(unsigned long code)
{
    return QJsonValue(static_cast<qint64>(code));
}

folly::Future<QJsonObject> sendItemCommand(const char* command, unsigned long code, const UploadableItem& item)
{
    QJsonObject request;
    request.insert(QLatin1String("command"), QLatin1String(command));
    request.insert(QLatin1String("tessel"), tesselValue(code));
    request.insert(QLatin1String("systemname"), QLatin1String("Undefined"));
    request.insert(item.kind, item.value);
    if (QLatin1String(command) == QLatin1String("additem"))
        request.insert(QLatin1String("displayname"), item.displayName);
    return folly::makeFutureWith([&request] { return requestJSON(request); });
}

UploadableItem parseFiles(const PersonalSpaceContents::Item& item)
{
    UploadableItem result;
    result.value = item.files.sources.isEmpty() ? item.files.file : item.files.sources.first();
    result.displayName = item.files.displayName;

    const QFileInfo path(result.value);
    if (path.isRelative()) {
        const QString address = QUrl::fromUserInput(result.value).toString();
        if (!address.isEmpty())
            result.value = address;
        result.kind = QLatin1String("url");
    } else {
        result.value = path.fileName();
        result.kind = QLatin1String("filename");
    }
    return result;
}

bool isSuccess(const QJsonObject& answer)
{
    const QJsonValue success = answer.value(QLatin1String("success"));
    return success.toBool() || success.toString() == QLatin1String("true");
}

QString getErrorText(const QJsonObject& answer)
{
    QString text = answer.value(QLatin1String("error")).toString(QLatin1String("Unknown JSON"));
    text += QLatin1String("\nResponse was : ");
    text += QString::fromUtf8(QJsonDocument(answer).toJson(QJsonDocument::Compact));
    return text;
}
}
