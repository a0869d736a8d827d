#pragma once

#include <QString>

namespace MediaServer
{

struct PageTexts;

/// Makes the addresses that visitors' devices open. A value; `base` ends with "/".
class PageAddresses
{
public:
    /// `publicUrl`: the address under which visitors reach this server, with or without a closing slash, for example
    /// "https://museum.example/table".
    explicit PageAddresses(const QString& publicUrl);

    /// `texts`: in whose language the page opens; null: in that of the browser.
    [[nodiscard]] QString page(const QString& token, const PageTexts* texts = nullptr) const;
    /// The picture shows the address of the page in the same language.
    [[nodiscard]] QString qrCode(const QString& token, const PageTexts* texts = nullptr) const;

private:
    QString m_base;
};

}
