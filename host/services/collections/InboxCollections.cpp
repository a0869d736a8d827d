#include "services/collections/InboxCollections.hpp"

#include "services/collections/CollectionService.hpp"

#include <Bedrock/Inbox.hpp>
#include <Tavola/CollectedFiles.hpp>
#include <Tavola/Tavola.hpp>

#include <QStringList>
#include <QUuid>

#include <stdexcept>
#include <utility>

namespace Host
{
namespace
{
using Change = CollectionService::Change;

constexpr char kCollectionJob = 'c';
constexpr char kChangeJob = 'o';
constexpr char kClaimJob = 'l';
constexpr char kUnreadable[] = "!"; ///< in place of items, whose list begins otherwise
constexpr QLatin1Char kAfterRun('-');
constexpr QLatin1Char kBetween(' ');

/// What is uploaded later is sent to the media server from these files.
void announceFiles(const std::vector<CollectedItem>& items)
{
    const auto application = Tavola::Tavola::instance();
    for (const CollectedItem& item : items)
        if (application && !item.file.isEmpty())
            application->part<Tavola::CollectedFiles>().add(item.file);
}
}

InboxCollections::InboxCollections(std::shared_ptr<CollectionService> service, Sharing sharing)
    : m_service(std::move(service)), m_run(QUuid::createUuid().toString(QUuid::Id128).left(16)), m_sharing(sharing)
{
}

InboxCollections::~InboxCollections() = default;

QString InboxCollections::makeKey()
{
    return QString::number(++m_lastNumber);
}

QString InboxCollections::lastingKey(const QString& key) const
{
    return key.contains(kAfterRun) ? key : ownPrefix() + key;
}

QStringList InboxCollections::lastingKeys(const QList<QString>& keys) const
{
    QStringList stored;
    for (const QString& key : keys)
        stored << lastingKey(key);
    return stored;
}

QString InboxCollections::ownPrefix() const
{
    return m_run + kAfterRun;
}

folly::Future<std::vector<CollectedItem>> InboxCollections::items(unsigned long code)
{
    const auto promise = std::make_shared<folly::Promise<std::vector<CollectedItem>>>();
    Bedrock::Inbox::instance().ask(
        kCollectionJob,
        [&](Bedrock::BytesReply reply) {
            const auto shared = std::make_shared<Bedrock::BytesReply>(std::move(reply));
            m_service->read(code, [shared, own = ownPrefix()](std::optional<std::vector<CollectedItem>> items) {
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

void InboxCollections::watch(unsigned long code, std::function<void()> changed)
{
    if (!isShared())
        return;
    if (m_watches.empty())
        askForChange();
    m_watches[code] = std::move(changed);
}

void InboxCollections::askForChange()
{
    Bedrock::Inbox::instance().ask(
        kChangeJob,
        [this](Bedrock::BytesReply reply) {
            const auto shared = std::make_shared<Bedrock::BytesReply>(std::move(reply));
            m_service->awaitChange([shared](const std::set<unsigned long>& codes) {
                QStringList numbers;
                for (const unsigned long code : codes)
                    numbers << QString::number(code);
                std::move(*shared).answer(numbers.join(kBetween).toLatin1());
            });
        },
        [this, alive = std::weak_ptr<bool>(m_alive)](const QByteArray& codes) {
            if (!alive.expired())
                tellWatches(codes);
        });
}

void InboxCollections::tellWatches(const QByteArray& codes)
{
    askForChange();
    for (const QString& number : QString::fromLatin1(codes).split(kBetween)) {
        const auto known = m_watches.find(number.toULongLong());
        if (known == m_watches.end())
            continue;
        const auto changed = known->second; // may watch anew
        changed();
    }
}

folly::Future<QList<QString>> InboxCollections::claim(const QList<QString>& keys)
{
    const auto promise = std::make_shared<folly::Promise<QList<QString>>>();
    const QStringList stored = lastingKeys(keys);
    Bedrock::Inbox::instance().ask(
        kClaimJob,
        [&](Bedrock::BytesReply reply) {
            const auto shared = std::make_shared<Bedrock::BytesReply>(std::move(reply));
            m_service->claim(stored, m_run, [shared, own = ownPrefix()](const std::optional<QStringList>& claimed) {
                QStringList known = claimed.value_or(QStringList());
                for (QString& key : known)
                    if (key.startsWith(own))
                        key.remove(0, own.size());
                std::move(*shared).answer(claimed ? known.join(kBetween).toUtf8() : QByteArray(kUnreadable));
            });
        },
        [promise](const QByteArray& bytes) {
            if (bytes == kUnreadable)
                promise->setException(std::runtime_error("The store of collections could not be asked"));
            else
                promise->setValue(QString::fromUtf8(bytes).split(kBetween, Qt::SkipEmptyParts));
        });
    return promise->getFuture();
}

void InboxCollections::release(const QList<QString>& keys)
{
    if (m_service)
        m_service->release(lastingKeys(keys), m_run);
}

void InboxCollections::change(CollectionDatabase::Change change)
{
    if (!m_service)
        return;
    change.item.key = lastingKey(change.item.key);
    m_service->change(std::move(change));
}
}
