#pragma once

#include "network/NetworkAnswer.hpp"

#include <QNetworkReply>
#include <QTimer>

namespace Tavola
{
/// Ends a reply that takes too long or sends too much, by the limits of the time it is made. A child of the reply. Main thread
/// only.
class TransportGuard final : public QObject
{
public:
    explicit TransportGuard(QNetworkReply& transport);

    /// What came of the finished reply: an error when the guard has ended it, or when its body announces a picture beyond the
    /// limits. Such errors are logged.
    [[nodiscard]] NetworkAnswer answer() const;

private:
    void end(const QString& why);

    QNetworkReply& m_transport;
    QTimer m_timer;
    QString m_why; ///< it was ended; empty while it was not
};

/// The answer to a request that failed on this side, logged as a warning.
[[nodiscard]] NetworkAnswer refusedAnswer(const QUrl& url, QNetworkReply::NetworkError error, const QString& why);
}
