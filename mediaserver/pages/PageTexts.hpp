#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>

namespace MediaServer
{

/// The texts of pages in one language, UTF-8. "%1" stands for a number, a name or a date. A plain record.
struct PageTexts
{
    const char* language; ///< "en"
    const char* ownName;  ///< of the language, in itself
    const char* eyebrow;
    const char* title;
    const char* leadEmpty;
    const char* leadOne;
    const char* leadMany;
    const char* emptyTitle;
    const char* emptyText;
    const char* website;
    const char* picture;
    const char* document;
    const char* coming;
    const char* missing;
    const char* save;
    const char* remove;
    const char* removeAll;
    const char* saveAll;
    const char* takeTitle;
    const char* takeText;
    const char* qrText;
    const char* renew;
    const char* privacyTitle;
    const char* privacyText;
    const char* keptUntil;
    const char* languages;
    const char* imprint;
    const char* removeTitle;
    const char* removeText;
    const char* removeAllTitle;
    const char* removeAllText;
    const char* renewTitle;
    const char* renewText;
    const char* yesRemove;
    const char* yesRenew;
    const char* no;
    const char* noPageTitle;
    const char* noPageText;
    const char* nothingTitle;
    const char* nothingText;
    const char* laterTitle;
    const char* laterText;
    const char* tooMuchTitle;
    const char* tooMuchText;
    const char* oldFormTitle;
    const char* oldFormText;
    const char* const* months; ///< twelve
    const char* dateForm;      ///< "%1" the day, "%2" the month, "%3" the year

    /// A day as people of that language write it.
    [[nodiscard]] QString date(const QDate& day) const;

    /// The texts of a language; null for one that pages do not have. `language`: "de", also "de-CH".
    [[nodiscard]] static const PageTexts* find(const QByteArray& language);
    /// For a browser that asks in these languages (an Accept-Language header), or else those of `otherwise`, which pages have.
    [[nodiscard]] static const PageTexts& choose(const QByteArray& acceptLanguage, const QByteArray& otherwise);
    /// All languages, first English.
    [[nodiscard]] static const PageTexts* begin();
    [[nodiscard]] static const PageTexts* end();
};

}
