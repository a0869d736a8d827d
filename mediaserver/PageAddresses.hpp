#pragma once

#include <QString>

namespace MediaServer
{

/// Makes the addresses that visitors' devices open. A value; `base` ends with "/".
class PageAddresses
{
public:
    /// `publicUrl`: the address under which visitors reach this server, with or without a closing slash, for example
    /// "https://museum.example/table".
    explicit PageAddresses(const QString& publicUrl);

    [[nodiscard]] QString page(const QString& token) const;
    [[nodiscard]] QString qrCode(const QString& token) const;

private:
    QString m_base;
};

} // namespace MediaServer
