#include <Tavola/Component.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/Widget.hpp>

#include <optional>

/// The smallest plug-in there is: one component, registered by a static object.
namespace
{
class ThingWidget final : public Trellis::Widget
{
public:
    ThingWidget() { setCSSType("ThingWidget"); }
};

class Registrant
{
public:
    Registrant()
    {
        const auto application = Tavola::Tavola::weakInstance().lock();
        if (!application || !application->packageOfComponent(QStringLiteral("thing")))
            return;
        auto factory = std::make_shared<Tavola::ComponentFactory>();
        factory->create = [] {
            return std::make_shared<Tavola::WidgetComponent>(
                []() -> Bedrock::IntrusivePtr<Trellis::Widget> { return Bedrock::makeIntrusive<ThingWidget>(); });
        };
        factory->type = &typeid(Tavola::WidgetComponent);
        m_entry = application->registerFactory(QStringLiteral("thing"), factory);
    }
    ~Registrant()
    {
        const auto application = Tavola::Tavola::weakInstance().lock();
        if (application && m_entry)
            application->unregisterFactory(*m_entry);
    }

private:
    std::optional<Tavola::FactoryTable::iterator> m_entry;
};

const Registrant registrant;
}
