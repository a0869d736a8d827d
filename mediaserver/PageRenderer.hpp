#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace MediaServer
{

struct Item;

/// An item, and what is there of its file at this moment.
struct PageItem
{
    enum class State {
        There,
        Coming, ///< a table sends it
        Missing
    };
    const Item* item;
    State state;
};

/// The visitors' pages, as complete HTML documents in UTF-8. They load only pictures, from this server and by addresses relative
/// to the page, so that a gateway may serve them below any path. Every text is escaped. Any thread.
class PageRenderer
{
public:
    PageRenderer();

    /// The person's page, to be served at "p/`token`".
    [[nodiscard]] QByteArray collection(const QString& token, const std::vector<PageItem>& items) const;

    /// A page with a single message, for example that the address is unknown.
    [[nodiscard]] QByteArray message(const QString& title, const QString& text) const;

    /// The Content-Security-Policy for these pages: their own style sheet and pictures of this server, no scripts.
    [[nodiscard]] QByteArray securityPolicy() const { return m_securityPolicy; }

private:
    QByteArray m_securityPolicy;
};

} // namespace MediaServer
