#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>

#include <QByteArray>
#include <QString>

#include <boost/expected.hpp>

#include <optional>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// The marker service: the owners of cards.
class TAVOLA_EXPORT TesselServiceAPI
{
public:
    /// The owner of a card. All three are empty for a card without one.
    struct PersonalMarkerProperties
    {
        QString name;
        QString email;
        QByteArray contentKey; ///< non-empty when the service itself provides the owner's personal widget
    };

    /// The service's record of a card.
    class TAVOLA_EXPORT MarkerProperties
    {
    public:
        /// Kinds that the table distinguishes; a service may have others.
        static constexpr int kPersonal = 0;
        static constexpr int kUnregistered = 3;

        MarkerProperties() = default;
        MarkerProperties(int type, std::optional<PersonalMarkerProperties> personal)
            : m_type(type), m_personal(std::move(personal))
        {
        }
        [[nodiscard]] int type() const noexcept { return m_type; }
        /// Null for a card without an owner. Belongs to this record.
        [[nodiscard]] const PersonalMarkerProperties* personalProperties() const noexcept
        {
            return m_personal ? &*m_personal : nullptr;
        }

    private:
        int m_type = kUnregistered;
        std::optional<PersonalMarkerProperties> m_personal;
    };

    /// The personal widget that the service provides for a card with a content key, or why there is none. Main thread.
    [[nodiscard]] virtual boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString> personalWidget(unsigned long code) = 0;
    /// Stores the owner of a card. Blocks; any thread but the main one. False when the service refuses.
    [[nodiscard]] virtual bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) = 0;
    virtual ~TesselServiceAPI();
};
}
