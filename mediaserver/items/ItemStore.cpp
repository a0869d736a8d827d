#include "ItemStore.hpp"

namespace MediaServer
{

namespace
{

constexpr int kTokenCharacters = 22;
constexpr int kMostTokens = 50000;
constexpr int kMostRemovedAtOnce = 200;

}

bool isTokenForm(const QString& text)
{
    if (text.size() != kTokenCharacters)
        return false;
    for (const QChar c : text) {
        const ushort u = c.unicode();
        const bool allowed = (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '-' || u == '_';
        if (!allowed)
            return false;
    }
    return true;
}

Result<std::unique_ptr<ItemStore>> ItemStore::open(const QString& database, std::chrono::milliseconds deadline)
{
    const auto refused = [&database](const QString& reason) {
        return tl::unexpected(QStringLiteral("The database \"%1\" cannot be used: %2").arg(database, reason));
    };
    const auto address = Storage::Address::parse(database);
    if (!address)
        return tl::unexpected(QStringLiteral("The database cannot be used: ") + address.error());
    Storage::Store::Settings settings;
    settings.deadline = deadline;
    std::unique_ptr<ItemStore> made(new ItemStore(deadline));
    settings.onEvent = [items = made.get()](Storage::Store::Event) { items->forgetTokens(); };
    auto store = Storage::Store::open(*address, Items::schema(), settings);
    if (!store)
        return refused(store.error());
    made->m_store = std::move(*store);
    return made;
}

ItemStore::~ItemStore() = default;

template <class Question>
auto ItemStore::ask(Kind kind, const Question& question) -> Result<decltype(question(std::declval<Items&>()))>
{
    decltype(question(std::declval<Items&>())) value{};
    const auto outcome = run(kind, [&](Storage::Transaction& transaction) {
        Items items(transaction);
        value = question(items);
        return bool(transaction);
    });
    if (!outcome)
        return tl::unexpected(outcome.error().text());
    return value;
}

Storage::Store::Outcome ItemStore::run(Kind kind, const Storage::Store::Job& job)
{
    using Clock = std::chrono::steady_clock;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (m_outage && Clock::now() < m_outage->until)
            return tl::unexpected(m_outage->failure);
    }
    const auto outcome = m_store->run(kind, job);
    const bool isAway = !outcome && outcome.error().kind == Storage::Failure::Kind::Away;
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_outage = isAway ? std::optional<Outage>({Clock::now() + m_deadline, outcome.error()}) : std::nullopt;
    return outcome;
}

Result<void> ItemStore::change(const std::function<void(Items&)>& change)
{
    const auto changed = ask(Kind::Write, [&change](Items& items) {
        change(items);
        return true;
    });
    return changed ? Result<void>() : tl::unexpected(changed.error());
}

void ItemStore::post(Kind kind, std::function<void(Items&)> job, std::function<void(const Result<void>&)> done)
{
    m_store->post(
        kind,
        [job = std::move(job)](Storage::Transaction& transaction) {
            Items items(transaction);
            job(items);
            return bool(transaction);
        },
        [done = std::move(done)](const Storage::Store::Outcome& outcome) {
            done(outcome ? Result<void>() : tl::unexpected(outcome.error().text()));
        });
}

Result<QString> ItemStore::tokenFor(qint64 tessel)
{
    // Most have one, and reading locks nothing.
    const auto known = ask(Kind::Read, [tessel](Items& items) { return items.knownToken(tessel); });
    if (!known || !known->isEmpty())
        return known;
    return ask(Kind::Write, [tessel](Items& items) { return items.tokenFor(tessel); });
}

void ItemStore::findToken(qint64 tessel, const std::function<void(const Result<QString>&)>& done)
{
    const auto token = std::make_shared<QString>();
    const auto finish = [token, done](const Result<void>& outcome) {
        done(outcome ? Result<QString>(*token) : tl::unexpected(outcome.error()));
    };
    // Most have one, and reading locks nothing. On the store's thread events come after this, so what is remembered is not older.
    post(
        Kind::Read, [token, tessel](Items& items) { *token = items.knownToken(tessel); },
        [this, token, tessel, finish](const Result<void>& outcome) {
            if (outcome && token->isEmpty())
                return post(
                    Kind::Write, [token, tessel](Items& items) { *token = items.tokenFor(tessel); }, finish);
            if (outcome) {
                const std::lock_guard<std::mutex> guard(m_mutex);
                if (m_tokens.size() >= kMostTokens)
                    m_tokens.clear();
                m_tokens.insert(tessel, *token);
            }
            finish(outcome);
        });
}

QString ItemStore::rememberedToken(qint64 tessel)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_tokens.value(tessel);
}

void ItemStore::forgetTokens()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_tokens.clear();
}

Result<QString> ItemStore::renewToken(qint64 tessel)
{
    const auto renewed = ask(Kind::Write, [tessel](Items& items) { return items.renewToken(tessel); });
    forgetTokens();
    return renewed;
}

Result<std::optional<qint64>> ItemStore::personOf(const QString& token)
{
    return ask(Kind::Read, [&token](Items& items) { return items.personOf(token); });
}

Result<void> ItemStore::add(qint64 tessel, const Item& item)
{
    return change([tessel, &item](Items& items) { items.add(tessel, item); });
}

Result<bool> ItemStore::hasRoom(qint64 tessel, const Item& item, int most)
{
    return ask(Kind::Read, [tessel, &item, most](Items& items) { return items.hasRoom(tessel, item, most); });
}

Result<bool> ItemStore::remove(qint64 tessel, ItemKind kind, const QString& value)
{
    return ask(Kind::Write, [&](Items& items) { return items.remove(tessel, kind, value); });
}

Result<void> ItemStore::remove(qint64 tessel, qint64 id)
{
    return change([tessel, id](Items& items) { items.remove(tessel, id); });
}

Result<void> ItemStore::removeAll(qint64 tessel)
{
    return change([tessel](Items& items) { items.removeAll(tessel); });
}

Result<std::vector<Item>> ItemStore::items(qint64 tessel)
{
    return ask(Kind::Read, [tessel](Items& items) { return items.items(tessel); });
}

Result<std::optional<Item>> ItemStore::item(qint64 tessel, qint64 id)
{
    return ask(Kind::Read, [tessel, id](Items& items) { return items.item(tessel, id); });
}

Result<bool> ItemStore::hasPeople()
{
    return ask(Kind::Read, [](Items& items) { return items.hasPeople(); });
}

Result<QDate> ItemStore::lastAddition(qint64 tessel)
{
    return ask(Kind::Read, [tessel](Items& items) { return items.lastAddition(tessel); });
}

Result<int> ItemStore::removeOlderThan(int days)
{
    int all = 0;
    for (;;) {
        const auto removed = ask(Kind::Write, [days](Items& items) { return items.removeOlderThan(days, kMostRemovedAtOnce); });
        if (!removed)
            return removed;
        all += *removed;
        forgetTokens();
        if (*removed < kMostRemovedAtOnce)
            return all;
    }
}

Result<bool> ItemStore::expect(const ExpectedFile& file)
{
    return ask(Kind::Write, [&file](Items& items) { return items.expect(file); });
}

Result<std::optional<ExpectedFile>> ItemStore::expected(const QString& name)
{
    return ask(Kind::Read, [&name](Items& items) { return items.expected(name); });
}

Result<void> ItemStore::forgetExpected(const QString& name)
{
    const auto known = expected(name);
    if (!known || !*known) // most often: nothing to write
        return known ? Result<void>() : tl::unexpected(known.error());
    return change([&name](Items& items) { items.forgetExpected(name); });
}

}
