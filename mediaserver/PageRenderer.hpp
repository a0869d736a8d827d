#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace MediaServer
{

struct Item;

/// An item and whether it can be opened at this moment: its file is in the content folder.
struct PageItem
{
    const Item* item;
    bool available;
};

/// The pages that people see, as complete HTML documents in UTF-8. They load nothing but pictures, and those from this
/// server by addresses relative to the page, so that the server may stand behind any path. Every text is escaped. Any thread.
class PageRenderer
{
public:
    PageRenderer();

    /// The person's page, to be served at "p/`token`".
    [[nodiscard]] QByteArray collection(const QString& token, const std::vector<PageItem>& items) const;

    /// A page that says one thing, for example that nothing is found.
    [[nodiscard]] QByteArray message(const QString& title, const QString& text) const;

    /// The Content-Security-Policy these pages need: their own style sheet and pictures of this server, no scripts.
    [[nodiscard]] QByteArray securityPolicy() const { return m_securityPolicy; }

private:
    QByteArray m_securityPolicy;
};

} // namespace MediaServer
