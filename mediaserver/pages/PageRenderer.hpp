#pragma once

#include "SiteSettings.hpp"

#include <QByteArray>
#include <QDate>
#include <QString>

#include <functional>
#include <vector>

namespace MediaServer
{

struct Item;
struct PageTexts;

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

/// What a person's page shows. A plain record.
struct PageView
{
    QString token;
    const PageTexts* texts; ///< in the language of the page
    std::vector<PageItem> items;
    QDate keptUntil = {}; ///< invalid: no day is named
};

/// The form of a page that asks once more before something is done. A plain record.
struct Question
{
    QString title;
    QString text;
    QString yes;
    QByteArray key; ///< see FormKeys
    QString back;   ///< the person's page, relative to this one
};

/// A document with the headers that go with it.
struct Page
{
    QByteArray document;       ///< HTML, UTF-8
    QByteArray version;        ///< of the collection: equal for equal collections; empty on other pages
    QByteArray securityPolicy; ///< Content-Security-Policy: this page's style sheet and script, and pictures of this server
};

/// The visitors' pages, as complete HTML documents. They load only pictures, from this server and by addresses relative
/// to the page, so that a gateway may serve them below any path, and work without their script, which shows changes by itself.
/// Every text is escaped. Any thread.
class PageRenderer
{
public:
    explicit PageRenderer(const SiteSettings& settings = {});

    /// The person's page, to be served at "p/`view.token`".
    [[nodiscard]] Page collection(const PageView& view) const;

    /// A page with a single message, for example that the address is unknown.
    [[nodiscard]] Page message(const PageTexts& texts, const char* title, const char* text) const;

    /// A page with a form that is sent to its own address, and a way back.
    [[nodiscard]] Page question(const PageTexts& texts, const Question& question) const;

private:
    enum class Script { None, Refresh };
    [[nodiscard]] Page page(const PageTexts& texts, const QString& title, const QString& body, Script script) const;
    [[nodiscard]] QString heading(const PageTexts& texts, const QString& title, const QString& lead, const QString& logo) const;
    [[nodiscard]] QString footer(const PageView& view) const;

    SiteSettings m_settings;
    QByteArray m_style;
};

}
