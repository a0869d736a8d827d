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
/// The marker service: knows which card belongs to whom.
class TAVOLA_EXPORT TesselServiceAPI
{
public:
    /// Who owns a card. All three empty: nothing is known.
    struct PersonalMarkerProperties
    {
        QString name;
        QString email;
        QByteArray contentKey; ///< non-empty when the service itself provides the owner's personal widget
    };

    /// What is known of a card.
    class TAVOLA_EXPORT MarkerProperties
    {
    public:
        /// Kinds that the table knows; a service may have others.
        static constexpr int kPersonal = 0;
        static constexpr int kUnregistered = 3;

        MarkerProperties() = default;
        MarkerProperties(int type, std::optional<PersonalMarkerProperties> personal)
            : m_type(type), m_personal(std::move(personal))
        {
        }
        [[nodiscard]] int type() const noexcept { return m_type; }
        /// Null where nobody owns the card. Belongs to this record.
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
    /// Enters the owner of a card. Blocks; any thread but the main one. False when the service refuses.
    [[nodiscard]] virtual bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) = 0;
    virtual ~TesselServiceAPI();
};
}
