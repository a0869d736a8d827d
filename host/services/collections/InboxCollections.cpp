#include "services/collections/InboxCollections.hpp"

#include "services/collections/CollectionService.hpp"

#include <Bedrock/Inbox.hpp>
#include <Tavola/CollectedFiles.hpp>
#include <Tavola/Tavola.hpp>

#include <QUuid>

#include <stdexcept>
#include <utility>

namespace Host
{
namespace
{
using Change = CollectionService::Change;

constexpr char kCollectionJob = 'c';
constexpr char kUnreadable[] = "!"; ///< in place of items, whose list begins otherwise
constexpr QLatin1Char kAfterRun('-');

/// What is uploaded later is sent to the media server from these files.
void announceFiles(const std::vector<CollectedItem>& items)
{
    const auto application = Tavola::Tavola::instance();
    for (const CollectedItem& item : items)
        if (application && !item.file.isEmpty())
            application->part<Tavola::CollectedFiles>().add(item.file);
}
}

InboxCollections::InboxCollections(std::shared_ptr<CollectionService> service)
    : m_service(std::move(service)), m_run(QUuid::createUuid().toString(QUuid::Id128).left(16))
{
}

QString InboxCollections::makeKey()
{
    return QString::number(++m_lastNumber);
}

QString InboxCollections::storedKey(const QString& key) const
{
    return key.contains(kAfterRun) ? key : m_run + kAfterRun + key;
}

folly::Future<std::vector<CollectedItem>> InboxCollections::items(unsigned long code)
{
    const auto promise = std::make_shared<folly::Promise<std::vector<CollectedItem>>>();
    Bedrock::Inbox::instance().ask(
        kCollectionJob,
        [&](Bedrock::BytesReply reply) {
            const auto shared = std::make_shared<Bedrock::BytesReply>(std::move(reply));
            m_service->read(code, [shared, own = m_run + kAfterRun](std::optional<std::vector<CollectedItem>> items) {
                if (!items) {
                    std::move(*shared).answer(kUnreadable);
                    return;
                }
                for (CollectedItem& item : *items)
                    if (item.key.startsWith(own))
                        item.key.remove(0, own.size());
                std::move(*shared).answer(formatItems(*items));
            });
        },
        [promise](const QByteArray& bytes) {
            if (const auto items = parseItems(bytes)) {
                announceFiles(*items);
                promise->setValue(*items);
            } else {
                promise->setException(std::runtime_error("The store of collections could not be read"));
            }
        });
    return promise->getFuture();
}

void InboxCollections::add(unsigned long code, const CollectedItem& item)
{
    change({Change::Kind::Add, code, item});
}

void InboxCollections::update(unsigned long code, const CollectedItem& item)
{
    change({Change::Kind::Update, code, item});
}

void InboxCollections::remove(unsigned long code, const QString& key)
{
    Change removal{Change::Kind::Remove, code, {}};
    removal.item.key = key;
    change(std::move(removal));
}

void InboxCollections::change(CollectionFile::Change change)
{
    if (!m_service)
        return;
    change.item.key = storedKey(change.item.key);
    m_service->change(std::move(change));
}
}
